// Integers in sysfs-style attribute files.

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/log.h>

extern "C" ORBA_EXPORT int write_int(const char* path, int value) {
  ORBA_LOGE("write_int... path=%s, value=%d", path != nullptr ? path : "(null)", value);
  if (path == nullptr) return -1;
  // Attribute files exist or not; creating one would hide a missing driver.
  android::base::unique_fd fd(open(DevPath(path), O_RDWR | O_CLOEXEC));
  if (fd.get() < 0) {
    int err = errno;
    ORBA_LOGE("write_int failed to open %s, errno: %s\n", path, strerror(err));
    return -err;
  }
  char buffer[20];
  int len = snprintf(buffer, sizeof(buffer), "%d\n", value);
  ssize_t amt = write(fd.get(), buffer, static_cast<size_t>(len));
  int err = errno;
  ORBA_LOGE("write amt: %d\n", static_cast<int>(amt));
  if (amt == -1) {
    ORBA_LOGE("write_int failed, errno: %s\n", strerror(err));
    return -err;
  }
  return 0;
}

extern "C" ORBA_EXPORT int read_int(const char* path, int* value) {
  if (path == nullptr || value == nullptr) {
    ORBA_LOGE("path or value is null");
    return -1;
  }
  android::base::unique_fd fd(open(DevPath(path), O_RDWR | O_CLOEXEC));
  if (fd.get() < 0) {
    int err = errno;
    ORBA_LOGI("failed to open %s", path);
    return -err;
  }
  char buffer[11] = {};
  ssize_t ret = read(fd.get(), buffer, 10);
  int err = errno;
  ORBA_LOGI("read ret: %d", static_cast<int>(ret));
  if (ret < 0) return -err;
  sscanf(buffer, "%d", value);
  return 0;
}
