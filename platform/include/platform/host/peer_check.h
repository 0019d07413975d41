#ifndef ORBA_PLATFORM_HOST_PEER_CHECK_H
#define ORBA_PLATFORM_HOST_PEER_CHECK_H

// Who may talk to a simulated service. Its sockets live in the abstract namespace, which has no
// file permissions: any local user could connect, and the services run as root on a developer's
// workstation. On the phone hwservicemanager and SELinux decide who calls; here the kernel's
// record of the connecting process (SO_PEERCRED) does.
//
// Every accept loop of the simulated device calls PeerAllowed on the new connection before it
// reads a byte, and closes the connection unread when it returns false:
//
//   unique_fd conn(accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
//   if (conn.get() < 0 || !orba::host::PeerAllowed(conn.get(), "CameraSocketService")) continue;

#include <sys/types.h>

#define ORBA_PEER_API __attribute__((visibility("default")))

namespace orba::host {

// True when the peer of the connected Unix socket `fd` runs as this process's effective user or
// as root. Otherwise (or when the kernel cannot say who it is) logs the refusal with the peer's
// pid and uid under `service` and returns false.
ORBA_PEER_API bool PeerAllowed(int fd, const char* service);

// The rule itself, for a peer already identified.
ORBA_PEER_API bool UidMayCall(uid_t peer_uid, uid_t service_uid);

// The other direction: a client checks who answers before it sends anything. Any local user can
// bind a device's socket name first, so the listener must be a process of the device's owner
// (the owner of its root) or of root; an impostor is logged with its pid and uid as the holder of
// `service` and false is returned. The caller closes the connection unused.
ORBA_PEER_API bool ServerTrusted(int fd, const char* service);

// Who listens at an abstract socket name (the credentials it had when it listened), without
// trusting it: for saying who holds a name a service needed. False when nobody listens there.
ORBA_PEER_API bool NameHolder(const char* socket_name, pid_t* pid, uid_t* uid);

}  // namespace orba::host

#undef ORBA_PEER_API

#endif
