// bionic's and libcutils' property calls, over the simulated device's property area.

#include <cutils/properties.h>
#include <errno.h>
#include <string.h>
#include <sys/system_properties.h>

#include "property_area.h"

#define HOST_API __attribute__((visibility("default")))

using orba::host::PropertyArea;

namespace {

int GetValue(const char* name, char* value) {
  value[0] = '\0';
  if (name == nullptr) return 0;
  PropertyArea* area = PropertyArea::Get(false);
  const prop_info* pi = area != nullptr ? area->Find(name) : nullptr;
  if (pi == nullptr) return 0;
  PropertyArea::ReadValue(pi, value);
  return static_cast<int>(strlen(value));
}

int SetValue(const char* name, const char* value, bool from_init) {
  PropertyArea* area = PropertyArea::Get(true);
  if (area == nullptr) return -1;
  return area->Set(name, value, from_init);
}

}  // namespace

extern "C" {

HOST_API int __system_property_set(const char* name, const char* value) {
  return SetValue(name, value, false);
}

HOST_API const prop_info* __system_property_find(const char* name) {
  if (name == nullptr) return nullptr;
  PropertyArea* area = PropertyArea::Get(false);
  return area != nullptr ? area->Find(name) : nullptr;
}

HOST_API void __system_property_read_callback(
    const prop_info* pi,
    void (*callback)(void* cookie, const char* name, const char* value, uint32_t serial),
    void* cookie) {
  if (pi == nullptr || callback == nullptr) return;
  char value[PROP_VALUE_MAX];
  uint32_t serial = PropertyArea::ReadValue(pi, value);
  callback(cookie, pi->name, value, serial);
}

HOST_API int __system_property_foreach(void (*propfn)(const prop_info* pi, void* cookie),
                                       void* cookie) {
  if (propfn == nullptr) return -1;
  PropertyArea* area = PropertyArea::Get(false);
  if (area == nullptr) return 0;
  for (uint32_t i = 0; const prop_info* pi = area->At(i); ++i) propfn(pi, cookie);
  return 0;
}

HOST_API bool __system_property_wait(const prop_info* pi, uint32_t old_serial,
                                     uint32_t* new_serial_ptr,
                                     const struct timespec* relative_timeout) {
  // Waiting on the whole area needs one to exist even before the first property is set.
  PropertyArea* area = PropertyArea::Get(pi == nullptr);
  if (area == nullptr) return false;
  return area->Wait(pi, old_serial, new_serial_ptr, relative_timeout);
}

HOST_API int __system_property_get(const char* name, char* value) {
  return GetValue(name, value);
}

HOST_API uint32_t __system_property_serial(const prop_info* pi) {
  return pi != nullptr ? pi->serial.load(std::memory_order_acquire) : 0;
}

HOST_API uint32_t __system_property_area_serial(void) {
  PropertyArea* area = PropertyArea::Get(false);
  return area != nullptr ? area->Serial() : 0;
}

HOST_API int property_get(const char* key, char* value, const char* default_value) {
  int len = GetValue(key, value);
  if (len > 0) return len;
  if (default_value == nullptr) return 0;
  size_t n = strnlen(default_value, PROPERTY_VALUE_MAX - 1);
  memcpy(value, default_value, n);
  value[n] = '\0';
  return static_cast<int>(n);
}

HOST_API int property_set(const char* key, const char* value) {
  return SetValue(key, value, false);
}

HOST_API int orba_init_property_area(void) {
  return PropertyArea::Get(true) != nullptr ? 0 : -1;
}

HOST_API int orba_init_property_set(const char* name, const char* value) {
  return SetValue(name, value, true);
}

}  // extern "C"
