#include <platform/host/peer_check.h>

#include <errno.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <android/log.h>

namespace orba::host {

bool UidMayCall(uid_t peer_uid, uid_t service_uid) {
  // Root may call a service of any user: it could read the service's memory anyway, and the
  // device's own tools (orbafactory-sim start/stop) run as root in CI.
  return peer_uid == 0 || peer_uid == service_uid;
}

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

}  // namespace orba::host
