// One command to the vendor AT-command daemon's local socket, one reply back.

#include <cutils/sockets.h>
#include <errno.h>
#include <string.h>
#include <sys/socket.h>

#include <android-base/unique_fd.h>
#include <orbafactory/engineer.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/log.h>

namespace {

// The reply lands in the exported command buffer, shared by every call: the AT-command thread is
// the only caller.
char* Fail() {
  strcpy(cmd_recv_buf, "error");
  return cmd_recv_buf;
}

}  // namespace

extern "C" ORBA_EXPORT char* atcmd_execute_vendor(const char* cmd) {
  if (cmd == nullptr) {
    ORBA_LOGE("cmd is null");
    return Fail();
  }
  android::base::unique_fd fd(socket_local_client(DevSocketName("atcid_vendor_socket"),
                                                  ANDROID_SOCKET_NAMESPACE_ABSTRACT,
                                                  SOCK_STREAM));
  if (fd.get() < 0) {
    ORBA_LOGE("socket_local_client err:%s", strerror(errno));
    return Fail();
  }
  if (!DevSocketPeerTrusted(fd.get(), "atcid_vendor_socket")) return Fail();
  ORBA_LOGE("sendmsg: %s to %d", cmd, fd.get());
  if (send(fd.get(), cmd, strlen(cmd), MSG_NOSIGNAL) < 0) {
    ORBA_LOGE("send err:%s", strerror(errno));
    return Fail();
  }
  ORBA_LOGE("ready to recv...");
  memset(cmd_recv_buf, 0, sizeof(cmd_recv_buf));
  // One byte short of the buffer so the reply always reads as a terminated string.
  ssize_t n = recv(fd.get(), cmd_recv_buf, sizeof(cmd_recv_buf) - 1, 0);
  if (n < 0) {
    ORBA_LOGE("recv err:%s", strerror(errno));
    return Fail();
  }
  return cmd_recv_buf;
}
