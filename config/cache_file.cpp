// Whole-file writes of regular files that may not exist yet (results under /cache and /data).

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <orbafactory/config.h>
#include <platform/devpath.h>
#include <platform/log.h>

extern "C" ORBA_EXPORT int write_cache_file(const char* path, const char* content) {
  if (path == nullptr || content == nullptr) return -1;
  FILE* fp = fopen(DevPath(path), "w+e");
  if (fp == nullptr) {
    int err = errno;
    ORBA_LOGD("write_file failed to open %s, errno: %s", path, strerror(err));
    return -err;
  }
  size_t length = strlen(content);
  // Empty content writes no item but is what the caller asked for: the file is now empty.
  size_t items = length == 0 ? 1 : fwrite(content, length, 1, fp);
  int err = errno;
  // A full disk shows only when the stream is flushed; the caller must hear about it.
  if (items == 1 && fflush(fp) != 0) {
    items = 0;
    err = errno;
  }
  if (fclose(fp) != 0 && items == 1) {
    items = 0;
    err = errno;
  }
  if (items != 1) {
    if (err == 0) err = EIO;
    ORBA_LOGD("fwrite ret:%d, errno:%s", static_cast<int>(items), strerror(err));
    return -err;
  }
  return 0;
}
