// System properties through the AT-command service, falling back to the caller's own rights
// when the service is absent.

#include <cutils/properties.h>
#include <string.h>

#include <orbafactory/sysaccess.h>
#include <platform/log.h>

#include "atcmd_service_ref.h"

using orba::sysaccess::AtcmdPresentOrRestart;
using orba::sysaccess::GetAtcmd;
using orba::sysaccess::TextHolder;

namespace {

// Copies a terminated string into `value`, never past `len` bytes. Callers guarantee the text
// fits; the bound only protects against a default value longer than the buffer.
void CopyBounded(char* value, int len, const std::string& text) {
  size_t n = text.size();
  if (n > static_cast<size_t>(len) - 1) n = static_cast<size_t>(len) - 1;
  memcpy(value, text.data(), n);
  value[n] = '\0';
}

}  // namespace

extern "C" ORBA_EXPORT int orbaatcmd_get_system_property_with_len(const char* key, char* value,
                                                                  int len,
                                                                  const char* default_value) {
  ORBA_LOGD("use get system property with len.");
  if (len < 1 || key == nullptr || value == nullptr || default_value == nullptr) {
    ORBA_LOGE("value is null or len <= 0");
    return -1;
  }
  if (!AtcmdPresentOrRestart(__func__)) {
    return get_property_with_len(key, value, len, default_value);
  }
  auto service = GetAtcmd(__func__);
  if (service == nullptr) return -1;
  TextHolder holder;
  service->getSystemProperty(key, default_value, holder.Callback());
  if (holder.text.size() <= static_cast<size_t>(len) - 1) {
    CopyBounded(value, len, holder.text);
  } else {
    // An over-long value is dropped in favour of the default rather than cut.
    ORBA_LOGE("ret size:%d, buffer len:%d", static_cast<int>(holder.text.size()), len);
    CopyBounded(value, len, default_value);
  }
  return 0;
}

extern "C" ORBA_EXPORT int orbaatcmd_get_system_property(const char* key, char* value,
                                                         const char* default_value) {
  if (orbaatcmd_get_system_property_with_len(key, value, PROPERTY_VALUE_MAX, default_value) != 0) {
    return ORBA_LOGE("get system property fail.");
  }
  return 0;
}

extern "C" ORBA_EXPORT void orbaatcmd_set_system_property(const char* key, const char* value) {
  if (key == nullptr || value == nullptr) {
    ORBA_LOGE("key or value is null");
    return;
  }
  if (!AtcmdPresentOrRestart(__func__)) {
    property_set(key, value);
    return;
  }
  auto service = GetAtcmd(__func__);
  if (service != nullptr) service->setSystemProperty(key, value);
}
