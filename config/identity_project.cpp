// Which phone project this is: the model code ("PD5202CMA", "PD5404F_EX", "TD1801") and the
// hardware name, and the project-bound fingerprint check.

#include <stdio.h>
#include <string.h>

#include <orbafactory/config.h>
#include <platform/log.h>

#include "identity_property.h"

namespace {

using orba::config::IdentityProperty;

void Model(char (&model)[PROPERTY_VALUE_MAX]) {
  IdentityProperty("ro.orba.product.model", model, "");
}

// Project codes of one generation have the same number of digits, so comparing bytes orders
// them; suffixes ("CMA", "F_EX") sort after the bare code, as variants of it.
int IsAboveProject(const char* family, unsigned number) {
  char model[PROPERTY_VALUE_MAX];
  Model(model);
  if (strncmp(model, family, 2) != 0) {
    ORBA_LOG_AS(ANDROID_LOG_DEBUG, family[0] == 'P' ? "is_above_PD_project" : "is_above_TD_project",
                "not PD project!!");
    return 0;
  }
  char code[PROPERTY_VALUE_MAX];
  snprintf(code, sizeof(code), "%s%u", family, number);
  return strcmp(model, code) >= 0 ? 1 : 0;
}

}  // namespace

extern "C" ORBA_EXPORT int is_project(const char* code) {
  if (code == nullptr) return 0;
  char model[PROPERTY_VALUE_MAX];
  Model(model);
  return strcmp(model, code) == 0 ? 1 : 0;
}

extern "C" ORBA_EXPORT int is_foreign_project(void) {
  char model[PROPERTY_VALUE_MAX];
  Model(model);
  return strstr(model, "F_EX") != nullptr ? 1 : 0;
}

extern "C" ORBA_EXPORT int is_hardware(const char* name) {
  if (name == nullptr) return 0;
  char hardware[PROPERTY_VALUE_MAX];
  IdentityProperty("ro.hardware.qzt", hardware, "");
  return strstr(hardware, name) != nullptr ? 1 : 0;
}

extern "C" ORBA_EXPORT int is_project_series(const char* series) {
  ORBA_LOGD("entered!! modle_series = %s", series != nullptr ? series : "(null)");
  if (series == nullptr) return 0;
  char model[PROPERTY_VALUE_MAX];
  Model(model);
  return strstr(model, series) != nullptr ? 1 : 0;
}

extern "C" ORBA_EXPORT int is_above_PD_project(unsigned number) {
  return IsAboveProject("PD", number);
}

extern "C" ORBA_EXPORT int is_above_TD_project(unsigned number) {
  return IsAboveProject("TD", number);
}

extern "C" ORBA_EXPORT int is_finger_support(void) {
  char platform[PROPERTY_VALUE_MAX];
  char model[PROPERTY_VALUE_MAX];
  char fingerprint[PROPERTY_VALUE_MAX];
  IdentityProperty("ro.orba.product.platform", platform, "0");
  IdentityProperty("ro.orba.product.model", model, "0");
  IdentityProperty("persist.sys.fptype", fingerprint, "0");
  ORBA_LOGD("platform: %s,  exist_fingerprint: %s", platform, fingerprint);
  // Only this project carries a fingerprint test; "0" or "default" types mean no sensor fitted.
  return strstr(model, "PD5101") != nullptr && strchr(fingerprint, '0') == nullptr &&
                 strstr(fingerprint, "default") == nullptr
             ? 1
             : 0;
}
