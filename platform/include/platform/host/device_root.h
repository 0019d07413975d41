#ifndef ORBA_PLATFORM_HOST_DEVICE_ROOT_H
#define ORBA_PLATFORM_HOST_DEVICE_ROOT_H

// The simulated device's root directory, shared by every library of a host process
// (libhostdevice.so owns it, so liborbafactory.so and the property shims agree on one root).

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#define ORBA_DEVICE_ROOT_ENV "ORBA_DEVICE_ROOT"

// The root without a trailing slash, or "" when ORBA_DEVICE_ROOT is unset or empty.
// Read from the environment once per process (and again after orba_device_root_reset).
__attribute__((visibility("default"))) const char* orba_device_root(void);

// Bumped by every reset: lets callers cache things derived from the root.
__attribute__((visibility("default"))) uint32_t orba_device_root_generation(void);

// Forgets the cached root so the next call reads ORBA_DEVICE_ROOT again. For tests that give
// each case a fresh device.
__attribute__((visibility("default"))) void orba_device_root_reset(void);

// Resolves a device path into out. Absolute paths are normalised ("." and ".." cannot climb
// above the device's "/", exactly as on the phone) and placed under the root; relative paths
// are copied unchanged. Returns 0, or -1 with out set to "" (no root, path too long, null).
__attribute__((visibility("default"))) int orba_resolve_device_path(const char* path, char* out,
                                                                    size_t out_size);

// The abstract-namespace socket name a device-side name maps to: a prefix derived from the
// root keeps two simulated devices from seeing each other's sockets.
__attribute__((visibility("default"))) void orba_device_socket_name(const char* name, char* out,
                                                                    size_t out_size);

#ifdef __cplusplus
}
#endif

#endif
