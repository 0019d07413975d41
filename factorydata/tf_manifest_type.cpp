// Which manifest the device carries, and the list it gives.

#include <dirent.h>
#include <errno.h>
#include <string.h>
#include <strings.h>

#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "tf_list.h"

namespace orba::tfdata {

namespace {

// Manifests shorter than this are leftovers of a wiped storage, not inventories.
constexpr size_t kMinManifestLength = 10;
constexpr int kDetectReadMax = 5119;

bool ManifestPresent(const char* path) {
  char text[kDetectReadMax + 1] = {};
  if (orbaatcmd_fread_system_file(path, text, kDetectReadMax) != 0) return false;
  if (strlen(text) < kMinManifestLength) return false;
  ORBA_LOGD("path: %s", path);
  return true;
}

bool IsPackageArchive(const char* name) {
  static const char* const kPrefixes[] = {"oem_", "apps", "ogc_", "dyn_", "preload_"};
  size_t len = strlen(name);
  if (len < 4 || strcmp(name + len - 3, "zip") != 0) return false;
  for (const char* prefix : kPrefixes) {
    if (strncasecmp(name, prefix, strlen(prefix)) == 0) return true;
  }
  return false;
}

struct DirCloser {
  DIR* dir;
  ~DirCloser() { closedir(dir); }
};

}  // namespace

tf_data_list* ListForDevice(int type) {
  if (type == TF_DATA_TYPE_INI) return get_tf_data_from_ini();
  if (type == TF_DATA_TYPE_CFG) return ListFromCfg();
  return nullptr;
}

}  // namespace orba::tfdata

using namespace orba::tfdata;

extern "C" ORBA_EXPORT int get_tfdata_type(void) {
  if (ManifestPresent(kIniDetectPath)) return TF_DATA_TYPE_INI;
  if (ManifestPresent(kCfgDetectPath)) return TF_DATA_TYPE_CFG;
  return TF_DATA_TYPE_NONE;
}

extern "C" ORBA_EXPORT tf_data_list* get_tf_data_file_list(void) {
  return ListForDevice(get_tfdata_type());
}

extern "C" ORBA_EXPORT tf_data_list* get_tf_data_file_list_by_oem(const char* variant,
                                                                  int include_all) {
  int type = get_tfdata_type();
  if (type == TF_DATA_TYPE_INI) return ListFromIni(variant, (include_all & 1) != 0);
  if (type == TF_DATA_TYPE_CFG) return ListFromCfg();
  return nullptr;
}

extern "C" ORBA_EXPORT tf_data_list* get_tfdata_oem_app_list(int with_packages) {
  int type = get_tfdata_type();
  if (type == TF_DATA_TYPE_NONE) {
    ORBA_LOGD("Missing TF_Data!");
    return nullptr;
  }
  ListBuilder list;
  list.Adopt(ListForDevice(type));
  if (list.empty()) {
    ORBA_LOGD("TF_Data ERROR!");
    return nullptr;
  }
  if ((with_packages & 1) != 0) {
    DIR* dir = opendir(DevPath(kMediaDir));
    // Without the storage directory there are no packages to add; the list stands as it is.
    if (dir == nullptr) {
      ORBA_LOGD("opendir %s: %s, no packages added", kMediaDir, strerror(errno));
      return list.Release();
    }
    DirCloser closer{dir};
    while (const dirent* entry = readdir(dir)) {
      if (!IsPackageArchive(entry->d_name)) continue;
      ORBA_LOGD("d_name:%s", entry->d_name);
      list.AppendRelative(entry->d_name);
    }
  }
  return list.Release();
}
