#ifndef ORBA_SIM_DEVICE_PROFILE_CATALOG_H
#define ORBA_SIM_DEVICE_PROFILE_CATALOG_H

// The profiles the sim was built with (sim/profiles/NAME.profile), for `orbafactory-sim
// profiles` and for naming them when a profile name is not one of them.

#include <string>
#include <vector>

namespace orba::sim {

struct ProfileEntry {
  std::string name;     // NAME of NAME.profile, as --profile takes it
  std::string summary;  // the first clause of the file's leading comment
};

// Every profile in the profile directory, sorted by name.
std::vector<ProfileEntry> KnownProfiles();

// "NAME  SUMMARY" lines, names aligned.
std::string ProfileTable(const std::vector<ProfileEntry>& profiles);

// For a --profile that names no profile: the message that lists the known ones, or "" when
// the name is a path or a known profile.
std::string UnknownProfileMessage(const std::string& name);

}  // namespace orba::sim

#endif
