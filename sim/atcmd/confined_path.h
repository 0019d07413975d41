#ifndef ORBA_SIM_ATCMD_CONFINED_PATH_H
#define ORBA_SIM_ATCMD_CONFINED_PATH_H

#include <string>
#include <string_view>

namespace orba::sim {

// Resolves a device path a client sent into a host path inside the device root. Refuses
// (false, with errno set) relative paths, paths DevPath refuses, and paths whose existing part
// leads out of the root through a symbolic link. ".." never climbs above the device's "/".
bool ResolveConfined(std::string_view device_path, std::string* host_path);

}  // namespace orba::sim

#endif
