// Bounded whole-file reads of small text files: kernel attribute nodes and flag files.

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <cutils/properties.h>
#include <orbafactory/config.h>
#include <platform/devpath.h>
#include <platform/log.h>

namespace {

// `func` names the exported reader in the log, so both readers share one body.
int ReadPolicy(const char* func, bool log_content, const char* path, char* buf, int size) {
  if (buf == nullptr || size <= 0 || path == nullptr) {
    ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "null");
    return -1;
  }
  FILE* fp = fopen(DevPath(path), "re");
  if (fp == nullptr) {
    ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "get path: %s, error: %s", path, strerror(errno));
    return -1;
  }
  errno = 0;  // an empty file sets no error of its own
  size_t n = fread(buf, 1, static_cast<size_t>(size), fp);
  int err = errno;
  // A file that fills the buffer gives up its last byte so the text is always terminated.
  buf[size - 1] = '\0';
  if (n < 1) {
    fclose(fp);
    ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "fread path: %s, ret: %d, error: %s", path,
                static_cast<int>(n), strerror(err));
    return -1;
  }
  // Sysfs nodes end in a newline that callers compare without. A file holding only "\n" keeps it,
  // so such a file still reads as non-empty.
  if (n > 1 && buf[n - 1] == '\n') buf[n - 1] = '\0';
  if (log_content) {
    char mode[PROPERTY_VALUE_MAX] = {};
    property_get("persist.sys.factory.mode", mode, "no");
    if (strcmp(mode, "yes") == 0) {
      ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "fread ret:%d, buf: %s", static_cast<int>(n), buf);
    }
  }
  fclose(fp);
  return 0;
}

}  // namespace

extern "C" ORBA_EXPORT int read_policy_file(int /*flag*/, const char* path, char* buf, int size) {
  return ReadPolicy(__func__, true, path, buf, size);
}

extern "C" ORBA_EXPORT int no_log_read_policy_file(int /*flag*/, const char* path, char* buf,
                                                   int size) {
  return ReadPolicy(__func__, false, path, buf, size);
}
