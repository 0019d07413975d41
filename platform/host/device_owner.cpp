#include <platform/host/device_owner.h>

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <android-base/stringprintf.h>
#include <android-base/unique_fd.h>
#include <platform/host/device_root.h>

using android::base::StringPrintf;

namespace orba::platform {
namespace {

std::string Mode(mode_t mode) { return StringPrintf("%04o", static_cast<unsigned>(mode & 07777)); }

bool OursOrRoot(uid_t uid) { return uid == 0 || uid == geteuid(); }

bool IsEmptyDirectory(const std::string& path) {
  DIR* d = opendir(path.c_str());  // host path: a root being taken
  if (d == nullptr) return false;
  bool empty = true;
  while (const dirent* e = readdir(d)) {
    if (strcmp(e->d_name, ".") != 0 && strcmp(e->d_name, "..") != 0) {
      empty = false;
      break;
    }
  }
  closedir(d);
  return empty;
}

// Every directory from "/" down to `dir` (resolved), checked as ssh checks a home directory:
// another user who can write one of them can replace what lies below it.
bool AncestorsSafe(const std::string& dir, std::string* why) {
  char real[PATH_MAX];
  if (realpath(dir.c_str(), real) == nullptr) {  // host path: a root being taken
    *why = "cannot resolve " + dir + ": " + strerror(errno);
    return false;
  }
  std::string path = real;
  for (;;) {
    struct stat st;
    if (stat(path.c_str(), &st) != 0) {  // host path: a root being taken
      *why = "cannot inspect " + path + ": " + strerror(errno);
      return false;
    }
    if (!OursOrRoot(st.st_uid)) {
      *why = StringPrintf("%s, above the device root, belongs to uid %u: make the root under a "
                          "directory of your own (or in /dev/shm)",
                          path.c_str(), static_cast<unsigned>(st.st_uid));
      return false;
    }
    if ((st.st_mode & 0022) != 0 && (st.st_mode & S_ISVTX) == 0) {
      *why = "another user can write " + path + " (mode " + Mode(st.st_mode) +
             "), above the device root: make the root under a directory only you can write";
      return false;
    }
    if (path == "/") return true;
    size_t slash = path.find_last_of('/');
    path = slash == 0 ? "/" : path.substr(0, slash);
  }
}

}  // namespace

bool MayTakeRoot(const std::string& root, std::string* why) {
  size_t slash = root.find_last_of('/');
  std::string parent = slash == std::string::npos || slash == 0 ? "/" : root.substr(0, slash);
  if (!AncestorsSafe(parent, why)) return false;
  struct stat st;
  if (lstat(root.c_str(), &st) != 0) {  // host path: a root being taken
    if (errno == ENOENT) return true;
    *why = "cannot inspect " + root + ": " + strerror(errno);
    return false;
  }
  if (S_ISLNK(st.st_mode)) {
    *why = root + " is a link: give the directory itself, or a new path, as the device root";
    return false;
  }
  if (!S_ISDIR(st.st_mode)) {
    *why = root + " is not a directory: choose a new path for the device root";
    return false;
  }
  if (st.st_uid != geteuid()) {
    *why = StringPrintf("%s belongs to uid %u, not to you (uid %u): another user may have "
                        "prepared it; choose a new path for the device root",
                        root.c_str(), static_cast<unsigned>(st.st_uid),
                        static_cast<unsigned>(geteuid()));
    return false;
  }
  if ((st.st_mode & 0022) != 0) {
    *why = "another user can write " + root + " (mode " + Mode(st.st_mode) +
           "): choose a new path for the device root";
    return false;
  }
  if (!IsEmptyDirectory(root)) {
    *why = "device root " + root + " is not empty: choose a new directory";
    return false;
  }
  return true;
}

bool RootStillOwned(int root_fd, const std::string& root, std::string* why) {
  struct stat st;
  if (fstat(root_fd, &st) != 0 || !S_ISDIR(st.st_mode)) {
    *why = "device root " + root + " is not a directory: make a new one with orbafactory-sim init";
    return false;
  }
  // The property area is made by init as the root's user and never handed to anyone else.
  struct stat area;
  if (fstatat(root_fd, "dev/__properties__", &area, AT_SYMLINK_NOFOLLOW) == 0 &&
      area.st_uid != st.st_uid) {
    *why = StringPrintf("device root %s now belongs to uid %u, but uid %u made it: give it back "
                        "(chown %u %s) or make a new one with orbafactory-sim init",
                        root.c_str(), static_cast<unsigned>(st.st_uid),
                        static_cast<unsigned>(area.st_uid), static_cast<unsigned>(area.st_uid),
                        root.c_str());
    return false;
  }
  if ((st.st_mode & kRootModeForbidden) != 0) {
    *why = "device root " + root + " has mode " + Mode(st.st_mode) +
           ", open to other users: restore it with chmod 700 " + root;
    return false;
  }
  if (st.st_uid != geteuid() && geteuid() != 0) {
    *why = StringPrintf("device root %s belongs to uid %u: use it as that user, or make your own "
                        "with orbafactory-sim init",
                        root.c_str(), static_cast<unsigned>(st.st_uid));
    return false;
  }
  return true;
}

bool CurrentRootUsable(std::string* why) {
  const char* root = orba_device_root();
  if (root[0] == '\0') return true;
  android::base::unique_fd fd(
      open(root, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));  // host path: the device root
  if (fd.get() < 0) {
    if (errno == ENOENT) return true;
    *why = std::string("device root ") + root + " cannot be used: " + strerror(errno) +
           (errno == ELOOP ? " (it is a link: give the directory itself)" : "");
    return false;
  }
  return RootStillOwned(fd.get(), root, why);
}

}  // namespace orba::platform
