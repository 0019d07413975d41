#include <platform/host/peer_check.h>

#include <errno.h>
#include <stdint.h>
#include <time.h>
#include <stddef.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <mutex>

#include <android/log.h>
#include <platform/host/device_root.h>

namespace orba::host {

bool UidMayCall(uid_t peer_uid, uid_t service_uid) {
  // Root may call a service of any user: it could read the service's memory anyway, and the
  // device's own tools (orbafactory-sim start/stop) run as root in CI.
  return peer_uid == 0 || peer_uid == service_uid;
}

namespace {

// Refusals are logged at most kRefusalsPerWindow per window of kRefusalWindowMs, the rest
// counted and reported with the next logged one: another user connecting in a loop would
// otherwise grow the device log without end.
constexpr int kRefusalsPerWindow = 20;
constexpr int64_t kRefusalWindowMs = 10000;

bool RefusalLogAllowed(uint64_t* unlogged_before) {
  static std::mutex mu;
  static int64_t window_start = -kRefusalWindowMs;
  static int logged = 0;
  static uint64_t dropped = 0;
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  const int64_t ms = static_cast<int64_t>(now.tv_sec) * 1000 + now.tv_nsec / 1000000;
  std::lock_guard<std::mutex> lock(mu);
  if (ms - window_start >= kRefusalWindowMs) {
    window_start = ms;
    logged = 0;
  }
  if (logged >= kRefusalsPerWindow) {
    ++dropped;
    return false;
  }
  ++logged;
  *unlogged_before = dropped;
  dropped = 0;
  return true;
}

}  // namespace

bool PeerAllowed(int fd, const char* service) {
  ucred peer{};
  socklen_t len = sizeof(peer);
  if (getsockopt(fd, SOL_SOCKET, SO_PEERCRED, &peer, &len) != 0 || len != sizeof(peer)) {
    __android_log_print(ANDROID_LOG_WARN, "orba_peer",
                        "%s: refused a caller it cannot identify: %s", service, strerror(errno));
    return false;
  }
  const uid_t own = geteuid();
  if (UidMayCall(peer.uid, own)) return true;
  uint64_t unlogged = 0;
  if (!RefusalLogAllowed(&unlogged)) return false;
  if (unlogged > 0) {
    __android_log_print(ANDROID_LOG_WARN, "orba_peer", "%s: %llu more caller(s) refused, not logged",
                        service, static_cast<unsigned long long>(unlogged));
  }
  if (own == 0) {
    __android_log_print(ANDROID_LOG_WARN, "orba_peer",
                        "%s: refused pid %d uid %u (serves root only)", service,
                        static_cast<int>(peer.pid), static_cast<unsigned>(peer.uid));
  } else {
    __android_log_print(ANDROID_LOG_WARN, "orba_peer",
                        "%s: refused pid %d uid %u (serves uid %u and root)", service,
                        static_cast<int>(peer.pid), static_cast<unsigned>(peer.uid),
                        static_cast<unsigned>(own));
  }
  return false;
}

namespace {

bool PeerOf(int fd, ucred* peer) {
  socklen_t len = sizeof(*peer);
  return getsockopt(fd, SOL_SOCKET, SO_PEERCRED, peer, &len) == 0 && len == sizeof(*peer);
}

// The user a device belongs to: the owner of its root, or this process's user when there is
// no root to ask.
uid_t DeviceOwner() {
  struct stat st;
  const char* root = orba_device_root();
  if (root[0] != '\0' && stat(root, &st) == 0) return st.st_uid;  // host path: the device root
  return geteuid();
}

}  // namespace

bool ServerTrusted(int fd, const char* service) {
  ucred peer{};
  if (!PeerOf(fd, &peer)) {
    __android_log_print(ANDROID_LOG_ERROR, "orba_peer",
                        "%s: cannot tell who answers (%s): not talking to it", service,
                        strerror(errno));
    return false;
  }
  const uid_t owner = DeviceOwner();
  if (peer.uid == 0 || peer.uid == owner) return true;
  __android_log_print(ANDROID_LOG_ERROR, "orba_peer",
                      "%s is held by pid %d uid %u, not by this device (uid %u, or root): not "
                      "talking to it; stop that process and restart the device",
                      service, static_cast<int>(peer.pid), static_cast<unsigned>(peer.uid),
                      static_cast<unsigned>(owner));
  errno = EACCES;
  return false;
}

bool NameHolder(const char* socket_name, pid_t* pid, uid_t* uid) {
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  size_t len = strlen(socket_name);
  if (len == 0 || len + 1 > sizeof(addr.sun_path)) return false;
  memcpy(addr.sun_path + 1, socket_name, len);
  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return false;
  ucred peer{};
  bool found = connect(fd, reinterpret_cast<sockaddr*>(&addr),
                       static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + len)) == 0 &&
               PeerOf(fd, &peer);
  close(fd);
  if (!found) return false;
  *pid = peer.pid;
  *uid = peer.uid;
  return true;
}

}  // namespace orba::host

extern "C" int orba_device_socket_trusted(int fd, const char* name) {
  return orba::host::ServerTrusted(fd, name != nullptr ? name : "") ? 1 : 0;
}
