#ifndef ORBA_SIM_DEVICE_DEVICE_FILES_H
#define ORBA_SIM_DEVICE_DEVICE_FILES_H

// File helpers for laying out a device root. Every path is a device path, resolved through
// DevPath against the root the sim works on.

#include <sys/types.h>

#include <string>

namespace orba::sim {

// mkdir -p of a device directory.
bool MakeDeviceDirs(const std::string& device_dir);
// Writes a whole file (making its directory), replacing what was there.
bool WriteDeviceFile(const std::string& device_path, const std::string& content,
                     mode_t mode = 0644);
// Fills a file with `size` bytes of `fill`.
bool WriteDeviceImage(const std::string& device_path, size_t size, unsigned char fill);
// A symbolic link at device_path whose target is relative, so it stays inside the root.
bool LinkInsideDevice(const std::string& device_path, const std::string& device_target);
// A symbolic link to a host file (the simulator's own programs).
bool LinkToHost(const std::string& device_path, const std::string& host_target);
bool ReadDeviceFile(const std::string& device_path, std::string* content);

}  // namespace orba::sim

#endif
