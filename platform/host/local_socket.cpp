#include <platform/host/local_socket.h>

#include <errno.h>
#include <stddef.h>
#include <string.h>

#include <platform/devpath.h>
#include <platform/host/peer_check.h>

namespace orba::platform {

using android::base::unique_fd;

bool DeviceSocketAddress(const char* device_name, AbstractAddress* out) {
  DevSocketName name(device_name);
  memset(&out->addr, 0, sizeof(out->addr));
  out->addr.sun_family = AF_UNIX;
  size_t len = strlen(name.c_str());
  // The leading NUL of sun_path is what makes the name abstract.
  if (len == 0 || len + 1 > sizeof(out->addr.sun_path)) return false;
  memcpy(out->addr.sun_path + 1, name.c_str(), len);
  out->size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + len);
  return true;
}

namespace {

// A fresh stream socket and the address it is to meet `device_name` at.
unique_fd SocketFor(const char* device_name, AbstractAddress* addr) {
  if (!DeviceSocketAddress(device_name, addr)) {
    errno = ENAMETOOLONG;
    return unique_fd();
  }
  return unique_fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
}

}  // namespace

unique_fd ConnectDeviceSocket(const char* device_name) {
  AbstractAddress addr;
  unique_fd fd = SocketFor(device_name, &addr);
  if (fd.get() < 0) return unique_fd();
  int rc;
  do {
    rc = connect(fd.get(), addr.get(), addr.size);
  } while (rc != 0 && errno == EINTR);
  if (rc != 0) return unique_fd();
  if (!orba::host::ServerTrusted(fd.get(), device_name)) return unique_fd();
  return fd;
}

unique_fd ListenDeviceSocket(const char* device_name, int backlog) {
  AbstractAddress addr;
  unique_fd fd = SocketFor(device_name, &addr);
  if (fd.get() < 0) return unique_fd();
  if (bind(fd.get(), addr.get(), addr.size) != 0 || listen(fd.get(), backlog) != 0) {
    return unique_fd();  // unique_fd keeps errno across the close
  }
  return fd;
}

}  // namespace orba::platform
