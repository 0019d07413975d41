// The state of a placed file: media owner and group, mode 0775, times from the build date.

#include "placed_file.h"

#include <cutils/properties.h>
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>
#include <utime.h>

#include <android-base/unique_fd.h>
#include <orbafactory/factorydata.h>
#include <platform/devpath.h>
#include <platform/log.h>

namespace orba::fbe {

void FinishPlacedFile(const char* path) {
  fbe_set_file_permission(path);
  fbe_set_build_date(path);
}

}  // namespace orba::fbe

extern "C" ORBA_EXPORT int fbe_set_file_permission(const char* path) {
  if (path == nullptr) return -1;
  if (chmod(DevPath(path), orba::fbe::kPlacedMode) != 0) {
    ORBA_LOGD("chmod %s Error:%s", path, strerror(errno));
  }
  int rc = chown(DevPath(path), orba::fbe::kMediaId, orba::fbe::kMediaId);
  if (rc != 0) ORBA_LOGD("chown %s Error:%s", path, strerror(errno));
  return rc;
}

extern "C" ORBA_EXPORT int fbe_set_build_date(const char* path) {
  ORBA_LOGD("entered!!  filePath = %s", path != nullptr ? path : "(null)");
  if (path == nullptr) return -1;
  char value[PROPERTY_VALUE_MAX] = {};
  property_get("ro.build.date.utc", value, "1384936600");
  time_t build = static_cast<time_t>(atol(value));
  // Reading the UTC fields back as local time is deliberate: placed files must carry the same
  // stamp as every other factory-placed file, and on a device not set to UTC that stamp is
  // shifted by the zone offset.
  struct tm fields;
  gmtime_r(&build, &fields);
  time_t stamp = mktime(&fields);
  struct utimbuf times = {stamp, stamp};
  if (utime(DevPath(path), &times) != 0) {
    ORBA_LOGD("utime %s Error:%s", path, strerror(errno));
    return -1;
  }
  return 0;
}

extern "C" ORBA_EXPORT long get_file_size(const char* path) {
  struct stat st;
  if (path == nullptr || stat(DevPath(path), &st) != 0) return 0;
  return static_cast<long>(st.st_size);
}

extern "C" ORBA_EXPORT int ckeck_zip_signature(const char* path) {
  if (path == nullptr) return -1;
  if (strstr(path, ".zip") == nullptr) return 0;
  // The check reads a file that was just stamped: leave its access time as placed where the
  // file system lets us.
  android::base::unique_fd fd(open(DevPath(path), O_RDONLY | O_CLOEXEC | O_NOATIME));
  if (fd.get() < 0 && errno == EPERM) fd.reset(open(DevPath(path), O_RDONLY | O_CLOEXEC));
  if (fd.get() < 0) {
    ORBA_LOGD("open %s, error:%s", path, strerror(errno));
    return -1;
  }
  unsigned char head[4] = {};
  ssize_t n = TEMP_FAILURE_RETRY(read(fd.get(), head, sizeof(head)));
  if (n <= 0) {
    ORBA_LOGD("read %s Error:%s", path, n == 0 ? "end of file" : strerror(errno));
    return -1;
  }
  uint32_t magic = static_cast<uint32_t>(head[0]) | static_cast<uint32_t>(head[1]) << 8 |
                   static_cast<uint32_t>(head[2]) << 16 | static_cast<uint32_t>(head[3]) << 24;
  if (magic != 0x04034b50u) {
    ORBA_LOGD("Not a Zip archive (found 0x%08x)", magic);
    return -1;
  }
  ORBA_LOGD("ok");
  return 0;
}
