#include "station_port.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <string.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

namespace orba::at {

using android::base::unique_fd;

bool StationPort::Open(uid_t owner_uid, gid_t owner_gid, std::string* error) {
  master_.reset(posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
  if (master_ < 0 || grantpt(master_.get()) != 0 || unlockpt(master_.get()) != 0) {
    *error = std::string("cannot create the serial line: ") + strerror(errno);
    return false;
  }
  char name[128] = {};
  if (ptsname_r(master_.get(), name, sizeof(name)) != 0) {
    *error = std::string("ptsname: ") + strerror(errno);
    return false;
  }
  path_ = name;
  // The pseudo-terminal lives in the host's /dev/pts, not in the device root; everything after
  // the open works on the descriptor.
  unique_fd slave(open(path_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));  // host path
  struct stat st{};
  if (slave < 0 || fstat(slave.get(), &st) != 0) {
    *error = "cannot open " + path_ + ": " + strerror(errno);
    return false;
  }
  if (fchmod(slave.get(), 0600) != 0) {
    *error = "chmod " + path_ + ": " + strerror(errno);
    return false;
  }
  if ((st.st_uid != owner_uid || st.st_gid != owner_gid) &&
      fchown(slave.get(), owner_uid, owner_gid) != 0) {
    *error = "chown " + path_ + ": " + strerror(errno);
    return false;
  }
  opens_.reset(inotify_init1(IN_NONBLOCK | IN_CLOEXEC));
  if (opens_ < 0 || inotify_add_watch(opens_.get(), path_.c_str(), IN_OPEN) < 0) {
    *error = "cannot watch " + path_ + ": " + strerror(errno);
    return false;
  }
  return SetRaw(slave.get(), error);
}

void StationPort::DrainOpens() const {
  alignas(inotify_event) char buf[1024];
  while (read(opens_.get(), buf, sizeof(buf)) > 0) {
  }
}

bool StationPort::StationPresent() const {
  pollfd p{master_.get(), POLLIN, 0};
  return poll(&p, 1, 0) >= 0 && (p.revents & POLLHUP) == 0;
}

bool StationPort::SetRaw(int slave, std::string* error) const {
  termios tio{};
  if (tcgetattr(slave, &tio) != 0) {
    *error = "tcgetattr " + path_ + ": " + strerror(errno);
    return false;
  }
  cfmakeraw(&tio);
  cfsetspeed(&tio, B115200);
  if (tcsetattr(slave, TCSANOW, &tio) != 0) {
    *error = "cannot set " + path_ + " raw: " + strerror(errno);
    return false;
  }
  return true;
}

bool StationPort::MakeRaw(std::string* error) const {
  unique_fd slave(open(path_.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC));  // host path: /dev/pts
  if (slave < 0) {
    *error = "cannot open " + path_ + ": " + strerror(errno);
    return false;
  }
  return SetRaw(slave.get(), error);
}

}  // namespace orba::at
