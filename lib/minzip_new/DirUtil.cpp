// Creating and removing directory trees, with the device paths resolved at every system call.

#include <dirent.h>
#include <errno.h>
#include <orbafactory/minzip.h>
#include <platform/devpath.h>
#include <platform/log.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <string>

#include "Label.h"

namespace {

// Each of these resolves one path in its own frame, so the recursive walk below does not carry a
// resolved-path buffer per level of depth.
__attribute__((noinline)) int LstatAt(const std::string& path, struct stat* st) {
  return lstat(DevPathNoFollow(path.c_str()), st);
}
__attribute__((noinline)) int UnlinkAt(const std::string& path) {
  return unlink(DevPathNoFollow(path.c_str()));
}
__attribute__((noinline)) int RmdirAt(const std::string& path) {
  return rmdir(DevPathNoFollow(path.c_str()));
}
__attribute__((noinline)) DIR* OpendirAt(const std::string& path) {
  return opendir(DevPath(path.c_str()));
}

int UnlinkTree(const std::string& path) {
  struct stat st;
  if (LstatAt(path, &st) != 0) return -1;
  if (!S_ISDIR(st.st_mode)) return UnlinkAt(path);

  DIR* dir = OpendirAt(path);
  if (dir == nullptr) return -1;
  int rc = 0;
  while (struct dirent* de = readdir(dir)) {
    if (strcmp(de->d_name, ".") == 0 || strcmp(de->d_name, "..") == 0) continue;
    std::string child = path;
    if (child.back() != '/') child += '/';
    child += de->d_name;
    if (UnlinkTree(child) != 0) {
      rc = -1;
      break;
    }
  }
  const int saved_errno = errno;
  closedir(dir);
  if (rc != 0) {
    errno = saved_errno;
    return -1;
  }
  return RmdirAt(path);
}

// Makes one directory that stat found missing. Losing a race to another creator is success.
int MakeDirectory(const char* path, int mode, const struct utimbuf* timestamp,
                  struct selabel_handle* sehnd) {
  {
    orba::minzip::ScopedCreateLabel label(sehnd, path, S_IFDIR | mode);
    if (mkdir(DevPath(path), mode) != 0 && errno != EEXIST) return -1;
  }
  if (timestamp != nullptr && utime(DevPath(path), timestamp) != 0) return -1;
  return 0;
}

}  // namespace

extern "C" {

int dirCreateHierarchy(const char* path, int mode, const struct utimbuf* timestamp,
                       bool strip_file_name, struct selabel_handle* sehnd) {
  if (path == nullptr || path[0] == '\0') {
    errno = ENOENT;
    return -1;
  }
  std::string dir(path);
  if (strip_file_name) {
    const size_t slash = dir.rfind('/');
    if (slash == std::string::npos) {
      errno = ENOENT;
      return -1;
    }
    // "/name" lives in the root, which always exists.
    dir.resize(slash == 0 ? 1 : slash);
  }

  // Visit every prefix that ends a component, shortest first; repeated slashes add none.
  for (size_t end = 1; end <= dir.size(); ++end) {
    if (end < dir.size() && dir[end] != '/') continue;
    if (dir[end - 1] == '/') continue;
    const std::string prefix = dir.substr(0, end);
    struct stat st;
    if (stat(DevPath(prefix.c_str()), &st) == 0) {
      if (S_ISDIR(st.st_mode)) continue;
      errno = ENOTDIR;
      return -1;
    }
    if (errno != ENOENT) return -1;
    if (MakeDirectory(prefix.c_str(), mode, timestamp, sehnd) != 0) return -1;
  }
  return 0;
}

int dirUnlinkHierarchy(const char* path) {
  if (path == nullptr || path[0] == '\0') {
    errno = ENOENT;
    return -1;
  }
  return UnlinkTree(path);
}

}  // extern "C"
