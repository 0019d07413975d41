#include "profile.h"

#include <algorithm>
#include <fstream>

namespace orba::sim {
namespace {

std::string Trim(const std::string& s) {
  size_t b = s.find_first_not_of(" \t\r");
  if (b == std::string::npos) return "";
  size_t e = s.find_last_not_of(" \t\r");
  return s.substr(b, e - b + 1);
}

// "\n" in a one-line value stands for a line break.
std::string Unescape(const std::string& s) {
  std::string out;
  for (size_t i = 0; i < s.size(); ++i) {
    if (s[i] == '\\' && i + 1 < s.size() && s[i + 1] == 'n') {
      out += '\n';
      ++i;
    } else {
      out += s[i];
    }
  }
  return out;
}

}  // namespace

std::string ProfilePath(const std::string& name) {
  if (name.find('/') != std::string::npos) return name;
  return std::string(ORBA_SIM_PROFILE_DIR) + "/" + name + ".profile";
}

bool LoadProfile(const std::string& path, Profile* profile, std::string* error) {
  std::ifstream in(path);  // a host file: profiles live in the source tree
  if (!in) {
    *error = "cannot read profile " + path;
    return false;
  }
  std::string section;
  std::string line;
  for (int n = 1; std::getline(in, line); ++n) {
    std::string t = Trim(line);
    if (t.empty() || t[0] == '#') continue;
    auto fail = [&](const std::string& why) {
      *error = path + ":" + std::to_string(n) + ": " + why;
      return false;
    };
    // A variant of another device starts from it: "include NAME" before any section.
    if (section.empty() && t.rfind("include ", 0) == 0) {
      if (!LoadProfile(ProfilePath(Trim(t.substr(8))), profile, error)) return false;
      continue;
    }
    if (t.front() == '[') {
      if (t.back() != ']') return fail("unterminated section header");
      section = t.substr(1, t.size() - 2);
      if (section != "properties" && section != "features" && section != "files" &&
          section != "present" && section != "absent") {
        return fail("unknown section [" + section + "]");
      }
      continue;
    }
    if (section.empty()) return fail("a setting before any section");
    if (section == "present") {
      if (t[0] != '/') return fail("a device path must be absolute");
      profile->present.push_back(t);
      continue;
    }
    if (section == "absent") {  // what an included device has and this one does not
      if (t[0] != '/') return fail("a device path must be absolute");
      auto& files = profile->files;
      files.erase(std::remove_if(files.begin(), files.end(),
                                 [&](const Setting& f) { return f.first == t; }),
                  files.end());
      auto& present = profile->present;
      present.erase(std::remove(present.begin(), present.end(), t), present.end());
      continue;
    }
    size_t eq = t.find('=');
    if (eq == std::string::npos) return fail("expected NAME = VALUE");
    std::string key = Trim(t.substr(0, eq));
    std::string value = Trim(t.substr(eq + 1));
    if (key.empty()) return fail("empty name");
    if (section == "properties") {
      profile->properties.emplace_back(key, value);
    } else if (section == "features") {
      profile->features.emplace_back(key, value);
    } else {
      if (key[0] != '/') return fail("a device path must be absolute");
      profile->files.emplace_back(key, Unescape(value));
    }
  }
  return true;
}

}  // namespace orba::sim
