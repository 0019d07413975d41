#ifndef ORBA_HOST_SYS_SYSTEM_PROPERTIES_H
#define ORBA_HOST_SYS_SYSTEM_PROPERTIES_H

// bionic's property API, as the phone declares it. On a host, libhostdevice.so implements it over
// the simulated device's shared property area.

#include <stdbool.h>
#include <stdint.h>
#include <time.h>

#ifdef __cplusplus
extern "C" {
#endif

#define PROP_VALUE_MAX 92
// Legacy bound kept for source compatibility, as bionic keeps it; names may be up to 127 bytes.
#define PROP_NAME_MAX 32

typedef struct prop_info prop_info;

#define ORBA_HOST_API __attribute__((visibility("default")))

ORBA_HOST_API int __system_property_set(const char* name, const char* value);
ORBA_HOST_API const prop_info* __system_property_find(const char* name);
ORBA_HOST_API void __system_property_read_callback(
    const prop_info* pi,
    void (*callback)(void* cookie, const char* name, const char* value, uint32_t serial),
    void* cookie);
ORBA_HOST_API int __system_property_foreach(void (*propfn)(const prop_info* pi, void* cookie),
                                            void* cookie);
ORBA_HOST_API bool __system_property_wait(const prop_info* pi, uint32_t old_serial,
                                          uint32_t* new_serial_ptr,
                                          const struct timespec* relative_timeout);
ORBA_HOST_API int __system_property_get(const char* name, char* value);
ORBA_HOST_API uint32_t __system_property_serial(const prop_info* pi);
ORBA_HOST_API uint32_t __system_property_area_serial(void);

#undef ORBA_HOST_API

#ifdef __cplusplus
}
#endif

#endif
