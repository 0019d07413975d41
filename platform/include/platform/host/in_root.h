#ifndef ORBA_PLATFORM_HOST_IN_ROOT_H
#define ORBA_PLATFORM_HOST_IN_ROOT_H

// Path resolution inside a simulated device's root, for every process that touches the device's
// files on a host: the services, the vendor-library doubles, the library and the tools. A link
// is followed as the device would follow it: an absolute target is a path of the device, and
// ".." never climbs above the device's "/". What is checked and what is used are the same
// descriptor, so nothing planted between the two can redirect the work.
//
// The kernel resolves with openat2(RESOLVE_IN_ROOT) where it has it; elsewhere (older kernels,
// seccomp filters that do not know the call) an equivalent walk opens one component at a time
// with O_NOFOLLOW and follows each link itself.

#include <sys/types.h>

#include <string>
#include <string_view>

#include <android-base/unique_fd.h>

#define ORBA_IN_ROOT_API __attribute__((visibility("default")))

namespace orba::platform {

enum class Resolver {
  kBest,  // openat2 when the kernel offers it, else the walk
  kWalk,  // always the walk (the fallback, also for tests)
};

// Opens `path` beneath the directory `root_fd` as if that directory were "/". `flags` are
// open(2) flags (O_CLOEXEC is always added); O_NOFOLLOW keeps a final link from being followed
// (with O_PATH it opens the link itself). -1 with errno set on failure.
ORBA_IN_ROOT_API android::base::unique_fd OpenBeneath(int root_fd, std::string_view path,
                                                      int flags, mode_t mode = 0,
                                                      Resolver resolver = Resolver::kBest);

// The directory that holds the last component of `path` (beneath `root_fd`), and that component.
// Refuses (EINVAL) a path whose last component is "", "." or "..": the caller means to create,
// rename or remove that name, and those are not names of their own.
ORBA_IN_ROOT_API bool OpenParentBeneath(int root_fd, std::string_view path,
                                        android::base::unique_fd* dir, std::string* leaf);

// The current device root as a directory descriptor; -1 with errno set when there is none, or
// when it is not a directory of the user it belongs to (see device_owner.h).
ORBA_IN_ROOT_API android::base::unique_fd OpenDeviceRoot();

}  // namespace orba::platform

#endif
