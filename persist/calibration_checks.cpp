// Whether an item applies to this device, and whether it has been calibrated by other signs
// than its state line.

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <cutils/properties.h>

#include <orbafactory/persist.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "calibration_files.h"

namespace orba::persist {

bool FeatureSupported(const char* quoted_name) { return is_calibrate_item_support(quoted_name) == 1; }

bool IsUdfpDevice(const char* func) {
  char fptype[PROPERTY_VALUE_MAX] = {};
  orbaatcmd_get_system_property("persist.sys.fptype", fptype, "");
  ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "property_fptype :%s", fptype);
  return strstr(fptype, "udfp") != nullptr;
}

}  // namespace orba::persist

using namespace orba::persist;

extern "C" int is_calibrate_item_support(const char* feature) {
  constexpr size_t kFeatureBufferSize = 4096;
  char text[kFeatureBufferSize] = {};
  if (feature == nullptr) return 0;
  if (orbaatcmd_fread_system_file(kFeaturePath, text, kFeatureBufferSize - 1) != 0 ||
      strlen(text) < 10) {
    return 0;
  }
  for (char* line = text; line != nullptr && *line != '\0';) {
    char* next = strchr(line, '\n');
    if (next != nullptr) *next++ = '\0';
    if (strstr(line, feature) != nullptr && strstr(line, "true") != nullptr) {
      ORBA_LOGD("find %s", feature);
      return 1;
    }
    line = next;
  }
  ORBA_LOGD("not found %s", feature);
  return 0;
}

extern "C" int is_exist_test_item(const char* item) {
  char text[kCaliFileBufferSize] = {};
  android::base::unique_fd fd(open(DevPath(kEngTestListPath), O_RDONLY | O_CLOEXEC));
  if (fd.get() < 0) {
    ORBA_LOGD("open last_EngTestList error:%s", strerror(errno));
    return 0;
  }
  ssize_t n = read(fd.get(), text, sizeof(text));
  if (n <= 0) {
    ORBA_LOGD("read last_EngTestList error:%s", n < 0 ? strerror(errno) : "empty");
    return 0;
  }
  // A full read has no room for a terminator: the last byte gives way to it.
  text[sizeof(text) - 1] = '\0';
  return item != nullptr && strstr(text, item) != nullptr ? 1 : 0;
}

extern "C" int is_calibrated_by_property(const char* property, const char* uncalibrated_value) {
  char value[PROPERTY_VALUE_MAX] = {};
  if (property == nullptr || uncalibrated_value == nullptr) return 0;
  property_get(property, value, uncalibrated_value);
  ORBA_LOGD("%s property_value : %s", property, value);
  return strcmp(value, uncalibrated_value) != 0 ? 1 : 0;
}

extern "C" int is_calibrated_by_last_xml(const char* item, const char* state) {
  char text[kCaliFileBufferSize];
  int len = ReadCaliFile(kCaliResultPath, text);
  if (len < 0) {
    ORBA_LOGD("read %s error:%s %d", kCaliResultPath, strerror(errno), len);
    return 0;
  }
  if (item == nullptr || state == nullptr || strstr(text, item) == nullptr) {
    ORBA_LOGD("can't find cali item!!");
    return 0;
  }
  char wanted[kCaliFileBufferSize];
  int n = snprintf(wanted, sizeof(wanted), "%s %s", item, state);
  if (n >= 0 && static_cast<size_t>(n) < sizeof(wanted) && strstr(text, wanted) != nullptr) {
    return 1;
  }
  ORBA_LOGD("find item, but no calibrated!");
  return 0;
}
