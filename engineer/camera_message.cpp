// One request and one reply with the camera app's socket service, starting it if it does not
// answer.

#include <orbafactory/engineer.h>

#include <cutils/properties.h>
#include <cutils/sockets.h>
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <platform/devpath.h>
#include <platform/log.h>

namespace {

using android::base::unique_fd;

constexpr int kStartPasses = 4;
constexpr int kConnectTries = 20;
constexpr useconds_t kConnectWaitUs = 100000;
constexpr size_t kRequestSize = 1024;

// The connection helpers log as the exchange they serve, which is what log readers search for.
#define CAMERA_LOGD(...) ORBA_LOG_AS(ANDROID_LOG_DEBUG, "sendMessageToCamera", __VA_ARGS__)
#define CAMERA_LOGE(...) ORBA_LOG_AS(ANDROID_LOG_ERROR, "sendMessageToCamera", __VA_ARGS__)

unique_fd ConnectCamera() {
  unique_fd fd(socket_local_client(DevSocketName("CameraSocketService"),
                                   ANDROID_SOCKET_NAMESPACE_ABSTRACT, SOCK_STREAM));
  if (fd.get() >= 0 && !DevSocketPeerTrusted(fd.get(), "CameraSocketService")) fd.reset();
  return fd;
}

// The app needs a moment after being started before its socket listens; a start that found it
// already running is harmless, so each pass simply starts it again.
unique_fd ConnectStartingCamera() {
  unique_fd fd = ConnectCamera();
  if (fd.get() >= 0) return fd;
  // Someone we may not talk to holds the name: starting the app again cannot change that.
  if (errno == EACCES) {
    CAMERA_LOGE("the camera socket is not the camera app's, exit");
    return fd;
  }
  CAMERA_LOGE("connect to server failed, try to start...");
  for (int pass = 0; pass < kStartPasses; ++pass) {
    CAMERA_LOGE("still failed, try to start CameraSocketService");
    startCameraSocketService();
    for (int i = 0; i < kConnectTries; ++i) {
      usleep(kConnectWaitUs);
      fd = ConnectCamera();
      if (fd.get() >= 0) {
        CAMERA_LOGD("Now the server is ready.");
        return fd;
      }
      if (errno == EACCES) {
        CAMERA_LOGE("the camera socket is not the camera app's, exit");
        return fd;
      }
      CAMERA_LOGE("still failed, try again");
    }
  }
  CAMERA_LOGE("still failed, exit");
  return fd;
}

char* Fail() {
  strcpy(recv_buf, "error");
  return recv_buf;
}

}  // namespace

extern "C" ORBA_EXPORT char* sendMessageToCamera(const char* msg) {
  if (msg == nullptr) msg = "";
  char request[kRequestSize] = {};
  // The service reads up to the line feed, so a request cut short would be taken as a different,
  // shorter one: refuse it instead.
  int n = snprintf(request, sizeof(request), "%s\n", msg);
  if (n < 0 || static_cast<size_t>(n) >= sizeof(request)) {
    ORBA_LOGE("message too long: %zu bytes", strlen(msg));
    return Fail();
  }

  unique_fd fd = ConnectStartingCamera();
  if (fd.get() < 0) return Fail();

  ORBA_LOGD("send msg: %s", request);
  if (send(fd.get(), request, static_cast<size_t>(n), MSG_NOSIGNAL) < 0) {
    ORBA_LOGE("send message failed");
    return Fail();
  }
  property_set("sys.camera.socket_service", "on");

  memset(recv_buf, 0, sizeof(recv_buf));
  memset(camera_recv_buf, 0, sizeof(camera_recv_buf));
  ORBA_LOGD("ready to recv msg...");
  ssize_t got;
  do {
    got = recv(fd.get(), camera_recv_buf, sizeof(camera_recv_buf), 0);
  } while (got < 0 && errno == EINTR);
  if (got < 0) {
    ORBA_LOGE("receive message failed");
    return Fail();
  }
  fd.reset();
  // recv_buf is larger than any one receive, so the reply is terminated there.
  memcpy(recv_buf, camera_recv_buf, static_cast<size_t>(got));
  ORBA_LOGD("recv_buf: %s", recv_buf);
  return recv_buf;
}
