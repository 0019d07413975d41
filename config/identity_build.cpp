// What build runs on the phone: Android release and SDK level, upgrade level, build group, and
// whether the engineer-mode apps are part of it.

#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <unistd.h>

#include <orbafactory/config.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "identity_property.h"

namespace {

using orba::config::IdentityProperty;

int PropertyEqualsIgnoreCase(const char* key, const char* default_value, const char* expected) {
  char value[PROPERTY_VALUE_MAX];
  IdentityProperty(key, value, default_value);
  return strcasecmp(value, expected) == 0 ? 1 : 0;
}

}  // namespace

extern "C" ORBA_EXPORT int is_above_Ard_version(int version) {
  char release[PROPERTY_VALUE_MAX];
  IdentityProperty("ro.build.version.release", release, "");
  return atoi(release) >= version ? 1 : 0;
}

extern "C" ORBA_EXPORT int get_android_sdk_version(void) {
  char sdk[PROPERTY_VALUE_MAX];
  IdentityProperty("ro.build.version.sdk", sdk, "18");
  ORBA_LOGD("ro.build.version.sdk:%s", sdk);
  return atoi(sdk);
}

extern "C" ORBA_EXPORT int is_bsp_version(void) {
  static const char* const kEngineerApps[] = {
      "/system/app/orbaEngineerMode/orbaEngineerMode.apk",
      "/system/app/orbaUserEngineerMode/orbaUserEngineerMode.apk",
      "/factory/app/orbaEngineerMode/orbaEngineerMode.apk",
  };
  for (const char* app : kEngineerApps) {
    if (access(DevPath(app), F_OK) == 0) return 0;
  }
  // Without any engineer-mode app this is a bare board-support build.
  ORBA_LOGD("bsp_version!");
  return 1;
}

extern "C" ORBA_EXPORT int is_ogc_support(void) {
  return PropertyEqualsIgnoreCase("ro.product.upgrade.level", "N", "1.2");
}

extern "C" ORBA_EXPORT int is_dyn_support(void) {
  return PropertyEqualsIgnoreCase("ro.orba.dyn.support", "", "yes");
}

extern "C" ORBA_EXPORT int is_preload_support(void) {
  return PropertyEqualsIgnoreCase("ro.build.version.group", "N", "V2.0");
}

extern "C" ORBA_EXPORT int is_support_fuse_dp(void) {
  return access(DevPath("/proc/sec_oem_lcs"), F_OK) == 0 ? 1 : 0;
}
