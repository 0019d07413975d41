#ifndef ORBA_SIM_ATCID_STATION_PORT_H
#define ORBA_SIM_ATCID_STATION_PORT_H

// The phone's USB serial port as the simulated device has it: a pseudo-terminal whose master
// the daemon holds for its whole life, and whose other end (the station's) any serial program
// opens as it would /dev/ttyACM0. The daemon never keeps the station's end open itself: then the
// master reports a hangup exactly when the station has closed the port, and the daemon waits for
// the next open without reading a dead line.

#include <string>

#include <android-base/unique_fd.h>

namespace orba::at {

class StationPort {
 public:
  // Creates the pseudo-terminal, gives its station end to `owner_uid`/`owner_gid` with mode 0600
  // (the serial line's counterpart of the services' caller check), and puts it in raw mode.
  bool Open(uid_t owner_uid, gid_t owner_gid, std::string* error);

  int master() const { return master_.get(); }
  // The host path of the station's end (/dev/pts/N).
  const std::string& path() const { return path_; }
  // A descriptor that becomes readable when someone opens the station's end (drain it with
  // DrainOpens before looking at the line again).
  int open_events() const { return opens_.get(); }
  void DrainOpens() const;

  // True when a station holds the port open.
  bool StationPresent() const;
  // Raw mode on the station's end: no echo, no line editing, no CR/LF translation by the line
  // discipline. A station program may leave other settings behind when it closes; the next one
  // starts from raw again.
  bool MakeRaw(std::string* error) const;

 private:
  bool SetRaw(int slave, std::string* error) const;

  android::base::unique_fd master_;
  android::base::unique_fd opens_;
  std::string path_;
};

}  // namespace orba::at

#endif
