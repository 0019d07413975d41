#include "line_server.h"

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <stddef.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <platform/devpath.h>
#include <platform/host/local_socket.h>
#include <platform/host/peer_check.h>

namespace orba::sim {
namespace {

using android::base::unique_fd;

constexpr size_t kMaxRequest = 64 * 1024;
// A client that connects and then sends nothing, or a byte now and then, must not hold the
// responder: its whole request is due within kRequestWithinMs.
constexpr int kIoTimeoutSeconds = 5;
constexpr int kRequestWithinMs = 5000;
// Connections being read at once; beyond that a new one is closed unread.
constexpr int kMaxConnections = 32;

bool SendAll(int fd, const std::string& data) {
  size_t off = 0;
  while (off < data.size()) {
    ssize_t n = send(fd, data.data() + off, data.size() - off, MSG_NOSIGNAL);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return false;
    off += static_cast<size_t>(n);
  }
  return true;
}

}  // namespace

LineServer::LineServer(std::string name, Framing framing, Handler handler)
    : name_(std::move(name)), framing_(framing), handler_(std::move(handler)) {}

LineServer::~LineServer() { Stop(); }

void LineServer::Launch(int delay_ms) {
  std::lock_guard<std::mutex> lifecycle(lifecycle_mu_);
  std::lock_guard<std::mutex> lock(mu_);
  if (running_) return;
  if (pipe2(wake_pipe_, O_CLOEXEC) != 0) {
    __android_log_print(ANDROID_LOG_ERROR, "orbaem-sim", "%s: pipe: %s", name_.c_str(),
                        strerror(errno));
    return;
  }
  running_ = true;
  stopping_ = false;
  // Without a delay the socket listens before Launch returns, so whoever started the app
  // can connect at once, as the app's own start-up would have finished by then.
  int listener = -1;
  if (delay_ms <= 0) {
    listener = Bind();
    listening_ = listener >= 0;
  }
  auto at = std::chrono::steady_clock::now() +
            std::chrono::milliseconds(delay_ms < 0 ? 0 : delay_ms);
  thread_ = std::thread(&LineServer::Run, this, at, listener);
}

void LineServer::Stop() {
  // Two apps stopping at once (two HAL calls) both get here; the second waits for the first.
  std::lock_guard<std::mutex> lifecycle(lifecycle_mu_);
  std::thread thread;
  {
    std::lock_guard<std::mutex> lock(mu_);
    if (!running_) return;
    stopping_ = true;
    char b = 0;
    while (write(wake_pipe_[1], &b, 1) < 0 && errno == EINTR) {
    }
    thread = std::move(thread_);
  }
  cv_.notify_all();
  thread.join();
  std::lock_guard<std::mutex> lock(mu_);
  close(wake_pipe_[0]);
  close(wake_pipe_[1]);
  wake_pipe_[0] = wake_pipe_[1] = -1;
  running_ = false;
  listening_ = false;
}

bool LineServer::Listening() const {
  std::lock_guard<std::mutex> lock(mu_);
  return listening_;
}

int LineServer::Bind() {
  unique_fd fd = orba::platform::ListenDeviceSocket(name_.c_str(), 16);
  if (fd.get() < 0) {
    __android_log_print(ANDROID_LOG_ERROR, "orbaem-sim", "%s: cannot listen: %s", name_.c_str(),
                        strerror(errno));
    return -1;
  }
  return fd.release();
}

void LineServer::Run(std::chrono::steady_clock::time_point listen_at, int bound) {
  unique_fd listener(bound);
  if (listener.get() < 0) {
    {
      std::unique_lock<std::mutex> lock(mu_);
      if (cv_.wait_until(lock, listen_at, [this] { return stopping_; })) return;
    }
    listener.reset(Bind());
    if (listener.get() < 0) return;
  }
  int wake;
  {
    std::lock_guard<std::mutex> lock(mu_);
    listening_ = true;
    wake = wake_pipe_[0];
  }
  for (;;) {
    pollfd fds[2] = {{listener.get(), POLLIN, 0}, {wake, POLLIN, 0}};
    if (poll(fds, 2, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    if (fds[1].revents != 0) break;
    if ((fds[0].revents & POLLIN) == 0) continue;
    unique_fd conn(accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (conn.get() < 0 || !orba::host::PeerAllowed(conn.get(), name_.c_str())) continue;
    {
      std::lock_guard<std::mutex> lock(mu_);
      if (connections_ >= kMaxConnections) continue;
      ++connections_;
    }
    std::thread([this, fd = conn.release(), wake] {
      Serve(fd, wake);
      close(fd);
      std::lock_guard<std::mutex> lock(mu_);
      --connections_;
      cv_.notify_all();
    }).detach();
  }
  // Stop closes the wake pipe once this returns: the connections still being served go first.
  std::unique_lock<std::mutex> lock(mu_);
  listening_ = false;
  cv_.wait(lock, [this] { return connections_ == 0; });
}

void LineServer::Serve(int fd, int wake) {
  timeval tv{kIoTimeoutSeconds, 0};
  setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof(tv));
  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::milliseconds(kRequestWithinMs);
  std::string request;
  bool received = false;
  char buf[4096];
  for (;;) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0) return;  // too slow: dropped unanswered
    pollfd fds[2] = {{fd, POLLIN, 0}, {wake, POLLIN, 0}};
    int ready = poll(fds, 2, static_cast<int>(left.count()));
    if (ready < 0 && errno == EINTR) continue;
    if (ready < 0 || fds[1].revents != 0) return;
    if (ready == 0) continue;
    ssize_t n = recv(fd, buf, sizeof(buf), 0);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    received = true;
    request.append(buf, static_cast<size_t>(n));
    if (framing_ == Framing::kSingleRead || request.size() >= kMaxRequest) break;
    size_t nl = request.find('\n');
    if (nl != std::string::npos) {
      request.resize(nl);
      break;
    }
  }
  // A connection that closes without a word is someone checking that the socket is up.
  if (!received) return;
  std::string reply;
  {
    std::lock_guard<std::mutex> serial(handler_mu_);
    reply = handler_(request);
  }
  SendAll(fd, reply);
}

}  // namespace orba::sim
