#ifndef ORBA_SIM_DEVICE_PROFILE_H
#define ORBA_SIM_DEVICE_PROFILE_H

#include <string>
#include <utility>
#include <vector>

namespace orba::sim {

using Setting = std::pair<std::string, std::string>;

// A device description (sim/profiles/NAME.profile): what the device's init sets up.
struct Profile {
  std::vector<Setting> properties;  // set by init, ro.* included
  std::vector<Setting> features;    // lines of /etc/em_features.xml
  std::vector<Setting> files;       // device path -> content
  std::vector<std::string> present; // device paths that exist as empty files
};

// Reads a profile (adding to what `profile` already holds: "include NAME" builds on another,
// and its [absent] section removes files and present paths of what it included). On failure returns false with a message naming the file and line.
bool LoadProfile(const std::string& path, Profile* profile, std::string* error);

// The file of a profile name: a path when it contains '/', else NAME.profile in the profile
// directory the sim was built with.
std::string ProfilePath(const std::string& name);

}  // namespace orba::sim

#endif
