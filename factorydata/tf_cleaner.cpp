// Storage cleaning: everything on shared storage that the preload list does not name goes,
// except app data and the modem version marker, which the device needs after a wipe.

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <platform/devpath.h>
#include <platform/log.h>

#include "keep_set.h"
#include "tf_list.h"

namespace orba::tfdata {

namespace {

constexpr size_t kPathMax = 1024;
constexpr const char kAppData[] = "/sdcard/Android/data";
constexpr const char kModemVersion[] = "/sdcard/cache/modem_version";
constexpr const char kStorageRoot[] = "/sdcard";

struct DirCloser {
  DIR* dir;
  ~DirCloser() { closedir(dir); }
};

// The walk holds each directory open and acts on names inside it, never on a path: a directory
// swapped for a link while the walk is under way is opened with O_NOFOLLOW, fails, and is then
// removed as the link it has become. A symbolic link counts as a file: it is removed itself and
// never followed, so a link inside the storage can't lead the cleaner out of it.
bool IsDirectory(int dir_fd, const dirent* entry) {
  if (entry->d_type != DT_UNKNOWN) return entry->d_type == DT_DIR;
  struct stat st;
  return fstatat(dir_fd, entry->d_name, &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(st.st_mode);
}

// Cleans the directory open at `fd` (taken over), `dir` being its path for the keep list and
// the log. Returns whether `dir` may go once its walk is done.
bool Clean(int fd, const char* dir, const KeepSet& keep) {
  DIR* d = fdopendir(fd);
  if (d == nullptr) {
    ORBA_LOGD("Fail to read %s : %s\r\n", dir, strerror(errno));
    close(fd);
    return false;
  }
  DirCloser closer{d};
  const int dir_fd = dirfd(d);
  char path[kPathMax];
  while (const dirent* entry = readdir(d)) {
    const char* name = entry->d_name;
    if (strcmp(name, ".") == 0 || strcmp(name, "..") == 0) continue;
    int len = snprintf(path, sizeof(path), "%s/%s", dir, name);
    if (len < 0 || static_cast<size_t>(len) >= sizeof(path)) {
      ORBA_LOGE("path too long, left alone: %s/%s", dir, name);
      continue;
    }
    if (keep.Contains(path, static_cast<size_t>(len))) continue;
    if (IsDirectory(dir_fd, entry)) {
      int sub = openat(dir_fd, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
      if (sub >= 0) {
        if (Clean(sub, path, keep)) {
          // Fails while kept files remain inside, which is what keeps their directories.
          int rc = unlinkat(dir_fd, name, AT_REMOVEDIR);
          ORBA_LOGD("removeDir:%s:%d", path, rc);
        }
        continue;
      }
      if (errno != ELOOP && errno != ENOTDIR) {
        ORBA_LOGD("Fail to read %s : %s\r\n", path, strerror(errno));
        continue;
      }
    }
    if (strstr(path, kAppData) != nullptr || strcmp(path, kModemVersion) == 0) {
      ORBA_LOGD("reserve file:%s", path);
      continue;
    }
    int rc = unlinkat(dir_fd, name, 0);
    ORBA_LOGD("removeFile:%s:%d", path, rc);
  }
  if (strcasecmp(dir, kStorageRoot) == 0) return false;
  if (strstr(dir, kAppData) != nullptr) {
    ORBA_LOGD("reserve dir:%s", dir);
    return false;
  }
  return true;
}

// Copies a listed path for the substring tests, or refuses one too long for the copy.
bool CopyMediaPath(const char* path, char (&out)[128]) {
  size_t len = strlen(path);
  if (len >= sizeof(out)) return false;
  memcpy(out, path, len + 1);
  return true;
}

}  // namespace

}  // namespace orba::tfdata

extern "C" ORBA_EXPORT void delete_all_file_except_tfdata(const char* dir,
                                                         const tf_data_list* keep) {
  if (dir == nullptr) return;
  orba::tfdata::KeepSet set(keep);
  int fd = open(DevPath(dir), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) {
    ORBA_LOGD("Fail to read %s : %s\r\n", dir, strerror(errno));
    return;
  }
  if (orba::tfdata::Clean(fd, dir, set)) {
    int rc = remove(DevPathNoFollow(dir));
    ORBA_LOGD("removeDir:%s:%d", dir, rc);
  }
}

extern "C" ORBA_EXPORT void delete_foreign_extra_demovideo_by_oem(const char* variant) {
  ORBA_LOGD("oem_name = %s", variant != nullptr ? variant : "(null)");
  if (variant == nullptr) return;
  // The INI manifest is read for the device's own variant, not for the one given: the list says
  // what is installed, the argument says which demo videos belong.
  tf_data_list* list = orba::tfdata::ListForDevice(get_tfdata_type());
  for (const tf_data_list* node = list; node != nullptr; node = node->next) {
    char path[128];
    if (!orba::tfdata::CopyMediaPath(node->path, path)) {
      ORBA_LOGD("skip file: %s", node->path);
      continue;
    }
    if (strstr(path, ".mp4") == nullptr || strstr(path, "orbaDemoVideo") == nullptr ||
        strstr(path, variant) != nullptr) {
      continue;
    }
    remove(DevPathNoFollow(path));
    ORBA_LOGD("delete: %s", path);
  }
  if (list != nullptr) tf_data_list_free(list);
}
