#ifndef ORBA_PLATFORM_HOST_LOCAL_SOCKET_H
#define ORBA_PLATFORM_HOST_LOCAL_SOCKET_H

// Stream sockets of the simulated device in the abstract namespace. A device-side name (what the
// phone would call "CameraSocketService") goes through DevSocketName here, so every service and
// client of one device meets under the same address and two devices never meet at all.

#include <sys/socket.h>
#include <sys/un.h>

#include <android-base/unique_fd.h>

#define ORBA_LOCAL_SOCKET_API __attribute__((visibility("default")))

namespace orba::platform {

struct AbstractAddress {
  sockaddr_un addr;
  socklen_t size;
  const sockaddr* get() const { return reinterpret_cast<const sockaddr*>(&addr); }
};

// The address of `device_name` on the current device. False when the name does not fit.
ORBA_LOCAL_SOCKET_API bool DeviceSocketAddress(const char* device_name, AbstractAddress* out);

// A connected close-on-exec stream socket, or an invalid one with errno set (ECONNREFUSED:
// nobody listens there; EACCES: a process of another user does, and nothing was sent to it).
ORBA_LOCAL_SOCKET_API android::base::unique_fd ConnectDeviceSocket(const char* device_name);

// A close-on-exec socket bound to `device_name` and listening, or an invalid one with errno set
// (EADDRINUSE: somebody serves that name already).
ORBA_LOCAL_SOCKET_API android::base::unique_fd ListenDeviceSocket(const char* device_name,
                                                                  int backlog);

}  // namespace orba::platform

#endif
