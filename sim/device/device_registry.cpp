#include "device_registry.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <pwd.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>


#include "device_fs.h"

namespace orba::sim {
namespace {

constexpr char kSuffix[] = ".root";

std::string HomeDir() {
  const char* home = getenv("HOME");
  if (home != nullptr && home[0] == '/') return home;
  passwd* pw = getpwuid(getuid());
  return pw != nullptr && pw->pw_dir != nullptr ? pw->pw_dir : "";
}

// A root's entry name: a hash of its path, so one root has one entry however often it is
// registered. The entry holds the path itself; a hash collision reads as a different root.
std::string EntryName(const std::string& root) {
  uint64_t h = 1469598103934665603ull;  // FNV-1a
  for (unsigned char c : root) {
    h ^= c;
    h *= 1099511628211ull;
  }
  char name[32];
  snprintf(name, sizeof(name), "%016llx%s", static_cast<unsigned long long>(h), kSuffix);
  return name;
}

bool MakeDirs(const std::string& dir) {
  for (size_t slash = 1; slash != std::string::npos; slash = dir.find('/', slash + 1)) {
    std::string part = dir.substr(0, slash);
    if (mkdir(part.c_str(), 0700) != 0 && errno != EEXIST) return false;  // host path: registry
  }
  return mkdir(dir.c_str(), 0700) == 0 || errno == EEXIST;  // host path: registry
}

}  // namespace

std::string RegistryDir() {
  const char* state = getenv("XDG_STATE_HOME");
  if (state != nullptr && state[0] == '/') return std::string(state) + "/orbafactory-sim/devices";
  std::string home = HomeDir();
  return home.empty() ? "" : home + "/.local/state/orbafactory-sim/devices";
}

bool RegisterDevice(const std::string& root, std::string* error) {
  std::string dir = RegistryDir();
  if (dir.empty()) {
    *error = "no home directory to keep the device list in (set XDG_STATE_HOME)";
    return false;
  }
  if (!MakeDirs(dir)) {
    *error = "cannot create " + dir + ": " + strerror(errno);
    return false;
  }
  unique_fd dir_fd(open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));  // host path: registry
  std::string temp;
  unique_fd fd = dir_fd.get() >= 0 ? CreateTempFile(dir_fd.get(), ".new-", 0600, &temp)
                                   : unique_fd();
  std::string text = root + "\n";
  bool written = fd.get() >= 0 && WriteAll(fd.get(), text.data(), text.size());
  if (!written || renameat(dir_fd.get(), temp.c_str(), dir_fd.get(), EntryName(root).c_str()) != 0) {
    *error = "cannot record the device in " + dir + ": " + strerror(errno);
    if (!temp.empty()) unlinkat(dir_fd.get(), temp.c_str(), 0);
    return false;
  }
  return true;
}

bool HoldsDevice(const std::string& root) {
  struct stat st;
  std::string area = root + "/dev/__properties__";
  return stat(area.c_str(), &st) == 0 && S_ISREG(st.st_mode);  // host path: a registered root
}

std::vector<std::string> RegisteredDevices() {
  std::vector<std::string> roots;
  std::string dir = RegistryDir();
  if (dir.empty()) return roots;
  unique_fd dir_fd(open(dir.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));  // host path: registry
  if (dir_fd.get() < 0) return roots;
  std::vector<std::string> names;
  {
    // fdopendir takes the descriptor it is given: a duplicate, so dir_fd stays ours.
    DIR* listing = fdopendir(fcntl(dir_fd.get(), F_DUPFD_CLOEXEC, 0));
    if (listing == nullptr) return roots;
    while (dirent* e = readdir(listing)) names.push_back(e->d_name);
    closedir(listing);
  }
  for (const std::string& name : names) {
    if (name.size() <= strlen(kSuffix) || name.compare(name.size() - strlen(kSuffix),
                                                       std::string::npos, kSuffix) != 0) {
      continue;
    }
    unique_fd fd(openat(dir_fd.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    std::string text;
    if (fd.get() < 0 || !ReadAll(fd.get(), &text, 8192)) continue;
    while (!text.empty() && text.back() == '\n') text.pop_back();
    if (!text.empty() && text[0] == '/' && HoldsDevice(text)) {
      roots.push_back(text);
    } else {
      unlinkat(dir_fd.get(), name.c_str(), 0);
    }
  }
  std::sort(roots.begin(), roots.end());
  roots.erase(std::unique(roots.begin(), roots.end()), roots.end());
  return roots;
}

}  // namespace orba::sim
