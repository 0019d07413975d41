#include "profile_catalog.h"

#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "profile.h"

namespace orba::sim {
namespace {

constexpr char kExtension[] = ".profile";

// The leading comment up to its first ':' or '.', the profile's own one-line description.
std::string Summary(const std::string& path) {
  std::ifstream in(path);  // a host file: profiles live in the source tree
  std::string text;
  std::string line;
  while (std::getline(in, line) && line.rfind('#', 0) == 0) {
    std::string words = line.substr(line.find_first_not_of("# ") == std::string::npos
                                        ? line.size()
                                        : line.find_first_not_of("# "));
    if (words.empty()) break;  // the comment's first paragraph is the description
    text += (text.empty() ? "" : " ") + words;
  }
  size_t end = text.find_first_of(":.");
  return end == std::string::npos ? text : text.substr(0, end);
}

}  // namespace

std::vector<ProfileEntry> KnownProfiles() {
  std::vector<ProfileEntry> profiles;
  DIR* dir = opendir(ORBA_SIM_PROFILE_DIR);  // host path: the sim's profile directory
  if (dir == nullptr) return profiles;
  const size_t ext = sizeof(kExtension) - 1;
  while (dirent* e = readdir(dir)) {
    std::string file = e->d_name;
    if (file.size() <= ext || file.compare(file.size() - ext, ext, kExtension) != 0) continue;
    std::string name = file.substr(0, file.size() - ext);
    profiles.push_back({name, Summary(ProfilePath(name))});
  }
  closedir(dir);
  std::sort(profiles.begin(), profiles.end(),
            [](const ProfileEntry& a, const ProfileEntry& b) { return a.name < b.name; });
  return profiles;
}

std::string ProfileTable(const std::vector<ProfileEntry>& profiles) {
  size_t width = 0;
  for (const ProfileEntry& p : profiles) width = std::max(width, p.name.size());
  std::string out;
  for (const ProfileEntry& p : profiles) {
    std::string name = p.name;
    name.resize(width, ' ');
    out += name + "  " + p.summary + "\n";
  }
  return out;
}

std::string UnknownProfileMessage(const std::string& name) {
  if (name.find('/') != std::string::npos) return "";
  std::vector<ProfileEntry> known = KnownProfiles();
  for (const ProfileEntry& p : known) {
    if (p.name == name) return "";
  }
  std::string list;
  for (const ProfileEntry& p : known) list += (list.empty() ? "" : ", ") + p.name;
  return "no profile named '" + name + "'; the profiles are: " +
         (list.empty() ? std::string("(none in " ORBA_SIM_PROFILE_DIR ")") : list);
}

}  // namespace orba::sim
