// The INI manifest: one section per customer variant, "ALL" as the fallback, file1..fileN.

#include <cutils/properties.h>
#include <stdio.h>
#include <string.h>

#include <platform/log.h>

#include "../config/dictionary_store.h"
#include "../config/iniparser_load.h"
#include "../config/iniparser_query.h"
#include "tf_list.h"

namespace orba::tfdata {

namespace {

constexpr size_t kVariantMax = PROPERTY_VALUE_MAX - 1;
constexpr const char kFallbackSection[] = "ALL";

struct DictCloser {
  dictionary* d;
  ~DictCloser() { ini::DictDel(d); }
};

int SectionSize(const dictionary* d, const char* section) {
  char key[PROPERTY_VALUE_MAX + 8];
  snprintf(key, sizeof(key), "%s:size", section);
  int size = ini::IniGetInt(d, key, -1);
  ORBA_LOGI("%s = %d", key, size);
  return size;
}

}  // namespace

tf_data_list* ListFromIni(const char* section, bool allow_all) {
  if (section == nullptr || strlen(section) > kVariantMax) {
    ORBA_LOGE("variant name missing or longer than %zu characters", kVariantMax);
    return nullptr;
  }
  dictionary* d = ini::IniLoad(kIniManifest);
  if (d == nullptr) {
    ORBA_LOGI("cannot parse file: %s", kIniManifest);
    return nullptr;
  }
  DictCloser closer{d};

  const char* chosen = section;
  int size = SectionSize(d, chosen);
  if (size < 1) {
    if (!allow_all) {
      ORBA_LOGD("include N = false, don't get");
      return nullptr;
    }
    chosen = kFallbackSection;
    size = SectionSize(d, chosen);
    if (size < 1) {
      ORBA_LOGD("not found %s:size", chosen);
      return nullptr;
    }
  }

  ListBuilder list;
  char key[PROPERTY_VALUE_MAX + 32];
  for (int k = 1; k <= size; ++k) {
    snprintf(key, sizeof(key), "%s:file%d", chosen, k);
    const char* name = ini::IniGetString(d, key, nullptr);
    if (name == nullptr) {
      ORBA_LOGD("not found %s", key);
      return nullptr;
    }
    ORBA_LOGD("iniparser_getstring:%s", name);
    list.AppendRelative(name);
  }
  return list.Release();
}

}  // namespace orba::tfdata

extern "C" ORBA_EXPORT tf_data_list* get_tf_data_from_ini(void) {
  char variant[PROPERTY_VALUE_MAX] = {};
  property_get(orba::tfdata::kVariantProperty, variant, "N");
  return orba::tfdata::ListFromIni(variant, true);
}

extern "C" ORBA_EXPORT tf_data_list* get_tf_data_from_ini_by_oem(const char* variant,
                                                                 int include_all) {
  return orba::tfdata::ListFromIni(variant, (include_all & 1) != 0);
}
