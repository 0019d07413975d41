#ifndef ORBA_PLATFORM_HOST_DEVICE_OWNER_H
#define ORBA_PLATFORM_HOST_DEVICE_OWNER_H

// A device root belongs to one user. Its services run as root and execute what the root holds
// (its tools, its vendor libraries), so a root that another user could have made beforehand, or
// can write into, hands that user root. `orbafactory-sim init` takes a root only when nobody else
// could have prepared it; everything that uses one afterwards refuses it once its owner or mode
// has changed, with a sentence that names the fix.

#include <sys/types.h>

#include <string>

#define ORBA_DEVICE_OWNER_API __attribute__((visibility("default")))

namespace orba::platform {

// The modes a root may have: its owner alone writes it, and only its group may look inside.
constexpr mode_t kRootModeForbidden = 0027;

// Whether `root` may become a new device root for this process's user: absent (its parent then
// qualifies as below), or an empty directory of this user, not a link, that nobody else can
// write; and no directory above it writable by another user, unless sticky with the entry on
// the way ours or root's (as /tmp and /dev/shm are). False with a sentence in *why.
ORBA_DEVICE_OWNER_API bool MayTakeRoot(const std::string& root, std::string* why);

// Whether the open root directory `root_fd` (its path `root` for the message) is still fit for
// use by this process: a directory of the user recorded at init (the owner of its property
// area), in a mode of kRootModeForbidden's complement, used by that user or by root.
ORBA_DEVICE_OWNER_API bool RootStillOwned(int root_fd, const std::string& root, std::string* why);

// RootStillOwned for the current device root ($ORBA_DEVICE_ROOT), for the tools to say up front
// why they will not use it. True when there is no root or nothing at its path: the tools say so
// in their own words.
ORBA_DEVICE_OWNER_API bool CurrentRootUsable(std::string* why);

}  // namespace orba::platform

#endif
