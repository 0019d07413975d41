// Moving staged trees into place, and placing one file under directories made on the way.

#include <dirent.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <orbafactory/factorydata.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "placed_file.h"

namespace {

constexpr size_t kPathBuffer = 256;

struct DirCloser {
  DIR* dir;
  ~DirCloser() { closedir(dir); }
};

bool IsDirectory(const char* path, const dirent* entry) {
  if (entry->d_type != DT_UNKNOWN) return entry->d_type == DT_DIR;
  struct stat st;
  return lstat(DevPathNoFollow(path), &st) == 0 && S_ISDIR(st.st_mode);
}

// Places one file of a tree; the source goes only once a good copy is in place.
void MoveFile(const char* src, const char* dst) {
  if (fbe_copy_file(src, dst) != 0) return;
  orba::fbe::FinishPlacedFile(dst);
  if (ckeck_zip_signature(dst) == 0) {
    remove(DevPathNoFollow(src));
    return;
  }
  remove(DevPathNoFollow(dst));
  int rc = fbe_copy_file(src, dst);
  orba::fbe::FinishPlacedFile(dst);
  if (rc == 0) remove(DevPathNoFollow(src));
}

}  // namespace

extern "C" ORBA_EXPORT int copy_file_loop(const char* src_dir, const char* dst_dir) {
  if (src_dir == nullptr || dst_dir == nullptr) return -1;
  ORBA_LOGD("debug_temp......src_dir=%s, des_dir=%s", src_dir, dst_dir);
  ORBA_LOGE("enter src_dir: %s", src_dir);
  if (access(DevPath(src_dir), F_OK) != 0) {
    ORBA_LOGD("access %s error:%s", src_dir, strerror(errno));
    return -1;
  }
  DIR* dir = opendir(DevPath(src_dir));
  if (dir == nullptr) {
    ORBA_LOGD("open %s error:%s", src_dir, strerror(errno));
    return -1;
  }
  int placed = 0;
  {
    DirCloser closer{dir};
    char src[kPathBuffer];
    char dst[kPathBuffer];
    while (const dirent* entry = readdir(dir)) {
      const char* name = entry->d_name;
      if (strcmp(name, ".") == 0 || strcmp(name, "..") == 0) continue;
      int ls = snprintf(src, sizeof(src), "%s/%s", src_dir, name);
      int ld = snprintf(dst, sizeof(dst), "%s/%s", dst_dir, name);
      if (ls < 0 || ld < 0 || static_cast<size_t>(ls) >= sizeof(src) ||
          static_cast<size_t>(ld) >= sizeof(dst)) {
        ORBA_LOGE("path too long, left in place: %s/%s", src_dir, name);
        continue;
      }
      if (IsDirectory(src, entry)) {
        ORBA_LOGD("mkdir %s", dst);
        mkdir(DevPath(dst), 0644);
        fbe_set_file_permission(dst);
        if (copy_file_loop(src, dst) == 0) ++placed;
        continue;
      }
      // A file counts as handled even when its copy failed: it stays in the source for the
      // next attempt, and the tree as a whole was not empty.
      MoveFile(src, dst);
      ++placed;
    }
  }
  // Succeeds only once everything inside has moved.
  remove(DevPathNoFollow(src_dir));
  if (placed == 0) {
    ORBA_LOGD("%s is empty", src_dir);
    return -1;
  }
  return 0;
}

extern "C" ORBA_EXPORT int copy_file_tranverse(const char* src, const char* dst, int remove_src) {
  int flag = remove_src & 1;
  if (src == nullptr || dst == nullptr || strlen(src) >= kPathBuffer ||
      strlen(dst) >= kPathBuffer || strchr(dst, '/') == nullptr) {
    ORBA_LOGD("src_path:%s, dest_path:%s, remove_src:%d, ret:%d", src != nullptr ? src : "(null)",
              dst != nullptr ? dst : "(null)", flag, -1);
    return -1;
  }
  char dest_path[kPathBuffer];
  snprintf(dest_path, sizeof(dest_path), "%s", dst);
  char sub_path[kPathBuffer];
  for (const char* p = strchr(dest_path, '/'); p != nullptr; p = strchr(p + 1, '/')) {
    size_t at = static_cast<size_t>(p - dest_path);
    if (at == 0) {
      ORBA_LOGD("parser begin, continue;");
      continue;
    }
    memcpy(sub_path, dest_path, at);
    sub_path[at] = '\0';
    ORBA_LOGD("p=%s, sub_path=%s", p, sub_path);
    if (access(DevPath(sub_path), F_OK) != 0) {
      mkdir(DevPath(sub_path), 0755);
      ORBA_LOGD("mkdir %s", sub_path);
      fbe_set_file_permission(sub_path);
    }
  }
  int rc = fbe_copy_file_and_check(src, dest_path, flag);
  ORBA_LOGD("src_path:%s, dest_path:%s, remove_src:%d, ret:%d", src, dest_path, flag, rc);
  return rc;
}
