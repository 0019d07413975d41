#ifndef ORBA_SIM_HW_NODE_IO_H
#define ORBA_SIM_HW_NODE_IO_H

// What the hardware models read and write, by device path.

#include <sys/stat.h>

#include <string>

#include "device_fs.h"

namespace orba::sim::hw {

// The whole text of a node; empty when it cannot be read.
std::string ReadNode(const std::string& device_path);
// Replaces a node whole: a temporary file beside it, renamed over it, so a reader sees the old
// reading or the new one and never half of either. Makes the directory when missing.
// `installed`: see ReplaceDeviceFile.
bool ReplaceNode(const std::string& device_path, const std::string& text,
                 InstalledFile* installed = nullptr);
// Replaces a sensor node with a reading as a sysfs attribute prints it: the text and its line
// end. Readers take the line end for the end of the reading (one that reads into a buffer it
// cleared once relies on it to end a shorter reading after a longer one), so a node without it
// is not what a phone shows them.
bool PublishReading(const std::string& device_path, const std::string& text,
                    InstalledFile* installed = nullptr);
// Same file, its content untouched between the two looks: a store into it in place changes its
// time stamp (and mostly its size), a replacement its inode. Time stamps are fine enough for
// that where the kernel stamps a file whose times were looked at since its last change finely,
// as it does on the filesystems the device roots live on.
inline bool SameFileUnchanged(const struct stat& a, const struct stat& b) {
  return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
         a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec;
}

// Appends one line to a record file under /data/sim.
void AppendRecord(const std::string& device_path, const std::string& line);

// A sim.* knob, or its default from the knob table when unset or not a number.
double Knob(const char* name);
// Whether the models may touch the device's nodes at all (sim.hw.enable).
bool HardwareEnabled();
// Whether /etc/em_features.xml gives the camera motor this exact type text.
bool CameraMotorTypeIs(const char* type);

// Milliseconds since the epoch, the clock the library's own time stamps use.
long long WallMs();
long long WallUs();

}  // namespace orba::sim::hw

#endif
