#ifndef ORBA_PLATFORM_HOST_DEVICE_PROCESS_H
#define ORBA_PLATFORM_HOST_DEVICE_PROCESS_H

// Which host processes are a simulated device's. Its processes are real host processes started
// with ORBA_DEVICE_ROOT set to its root; but anyone can set that variable, so a process counts
// only when it also runs as the device's owner or as root. What the device's `ps` lists and what
// the library's killprocess may signal are decided here.

#include <sys/types.h>

#define ORBA_DEVICE_PROCESS_API __attribute__((visibility("default")))

namespace orba::platform {

// True when process `pid` belongs to the device at host path `root`: it carries that root in
// its environment and runs as the root's owner or as root.
ORBA_DEVICE_PROCESS_API bool ProcessOfDevice(pid_t pid, const char* root);
// The same, for a root that may be gone: `owner` stands for the owner it can no longer show.
ORBA_DEVICE_PROCESS_API bool ProcessOfDevice(pid_t pid, const char* root, uid_t owner);

}  // namespace orba::platform

#ifdef __cplusplus
extern "C" {
#endif
// ProcessOfDevice for the current device root: 1 or 0.
__attribute__((visibility("default"))) int orba_process_of_device(pid_t pid);
#ifdef __cplusplus
}
#endif

#undef ORBA_DEVICE_PROCESS_API

#endif
