#include <platform/host/hal_server.h>

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stddef.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <chrono>

#include <android/log.h>
#include <platform/devpath.h>

namespace orba::hal {
namespace {

// A client that connects and then goes quiet must not pin a connection thread for ever.
constexpr int kIoTimeoutSeconds = 5;

void SendStatus(int fd, int32_t status) {
  WireWriter w;
  w.PutInt32(status);
  std::string framed;
  if (w.Finish(&framed)) WireSend(fd, framed);
}

}  // namespace

HalServer::HalServer(const char* descriptor, const char* instance, Handler handler)
    : name_(HalSocketName(descriptor, instance)), handler_(std::move(handler)) {}

HalServer::~HalServer() { Stop(); }

int HalServer::Start() {
  if (listen_fd_ >= 0) return -EALREADY;
  DevSocketName dev(name_.c_str());
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  size_t len = strlen(dev.c_str());
  if (len + 1 > sizeof(addr.sun_path)) return -ENAMETOOLONG;
  memcpy(addr.sun_path + 1, dev.c_str(), len);
  socklen_t addr_len = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + len);

  int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (fd < 0) return -errno;
  if (bind(fd, reinterpret_cast<const sockaddr*>(&addr), addr_len) != 0 || listen(fd, 64) != 0) {
    int err = errno;
    close(fd);
    return -err;
  }
  if (pipe2(wake_pipe_, O_CLOEXEC) != 0) {
    int err = errno;
    close(fd);
    return -err;
  }
  listen_fd_ = fd;
  acceptor_ = std::thread(&HalServer::AcceptLoop, this);
  return 0;
}

void HalServer::Stop(int drain_ms) {
  if (listen_fd_ < 0) return;
  char b = 0;
  while (write(wake_pipe_[1], &b, 1) < 0 && errno == EINTR) {
  }
  acceptor_.join();
  close(listen_fd_);
  listen_fd_ = -1;
  close(wake_pipe_[0]);
  close(wake_pipe_[1]);
  wake_pipe_[0] = wake_pipe_[1] = -1;
  std::unique_lock<std::mutex> lock(mu_);
  if (!idle_.wait_for(lock, std::chrono::milliseconds(drain_ms), [this] { return active_ == 0; })) {
    __android_log_print(ANDROID_LOG_WARN, "orba_hal", "%s: %d call(s) still running at stop",
                        name_.c_str(), active_);
  }
}

void HalServer::AcceptLoop() {
  for (;;) {
    pollfd fds[2] = {{listen_fd_, POLLIN, 0}, {wake_pipe_[0], POLLIN, 0}};
    int n = poll(fds, 2, -1);
    if (n < 0) {
      if (errno == EINTR) continue;
      return;
    }
    if (fds[1].revents != 0) return;
    if ((fds[0].revents & POLLIN) == 0) continue;
    int fd = accept4(listen_fd_, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0) continue;
    timeval tv{kIoTimeoutSeconds, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof(tv));
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof(tv));
    {
      std::lock_guard<std::mutex> lock(mu_);
      ++active_;
    }
    std::thread(&HalServer::ServeConnection, this, fd).detach();
  }
}

void HalServer::ServeConnection(int fd) {
  std::string body;
  // A connection that closes without a request is a registration probe; one that sends a
  // truncated or oversized frame is dropped. Either way nothing else is affected.
  if (WireReceive(fd, &body)) {
    WireReader args(body);
    uint32_t slot = 0;
    if (!args.GetUint32(&slot)) {
      SendStatus(fd, -EINVAL);
    } else {
      WireWriter results;
      int status = handler_(slot, args, results);
      if (status != 0) {
        SendStatus(fd, status);
      } else {
        WireWriter reply;
        reply.PutInt32(0);
        reply.Append(results);
        std::string framed;
        if (reply.Finish(&framed)) {
          WireSend(fd, framed);
        } else {
          SendStatus(fd, -EMSGSIZE);
        }
      }
    }
  }
  close(fd);
  std::lock_guard<std::mutex> lock(mu_);
  if (--active_ == 0) idle_.notify_all();
}

}  // namespace orba::hal
