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

// Resolves a device path inside the root, links included, for one system call made by a caller
// that knows only paths (DevPath). The object the path names is opened with O_PATH and `out`
// names it through that descriptor ("/proc/self/fd/N"), so the call reaches the very object
// resolved; a missing last component is named through its directory ("/proc/self/fd/N/name"),
// which a create or mkdir then makes inside the root. With `follow_last` 0 the last component is
// never followed, so remove, rename and lstat act on a link itself, as the device's own calls do.
// Returns the descriptor the caller closes once the call is made, or -1 when it holds none: a
// relative path is copied unchanged; a path that cannot be resolved gives "" (the call then fails
// with ENOENT). *ok is 0 when there is no device root or the path is too long.
__attribute__((visibility("default"))) int orba_confine_device_path(const char* path,
                                                                    int follow_last, char* out,
                                                                    size_t out_size, int* ok);

// The abstract-namespace socket name a device-side name maps to: a prefix derived from the
// root keeps two simulated devices from seeing each other's sockets.
__attribute__((visibility("default"))) void orba_device_socket_name(const char* name, char* out,
                                                                    size_t out_size);

// 1 when the listener at the other end of the connected socket `fd` runs as the device's owner
// or as root; else 0, with who it is logged against `name`.
__attribute__((visibility("default"))) int orba_device_socket_trusted(int fd, const char* name);

#ifdef __cplusplus
}
#endif

#endif
