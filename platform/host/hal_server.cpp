#include <platform/host/hal_server.h>

#include <errno.h>
#include <fcntl.h>
#include <stddef.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include <android/log.h>
#include <platform/devpath.h>
#include <platform/host/local_socket.h>
#include <platform/host/peer_check.h>

namespace orba::hal {

// Shared by the server object and its workers; the last one out frees it, so a worker finishing
// a slow call after Stop() gave up waiting still has valid state.
struct HalServer::State {
  Handler handler;
  std::string name;
  orba::platform::AbstractAddress addr{};
  int listen_fd = -1;
  bool stopping = false;  // under mu
  std::mutex mu;
  std::condition_variable changed;
  int workers = 0;  // threads alive
  int idle = 0;     // threads waiting for a connection
  int busy = 0;     // calls in progress
};

namespace {

constexpr int kInitialWorkers = 4;
// Generous: a worker costs a thread, and requests are read by workers, so the pool bounds how
// many slow callers it takes (each for at most kRequestWithinMs) to keep the others waiting.
constexpr int kMaxWorkers = 256;
// A client that connects and then goes quiet must not pin a worker for ever, nor one that sends
// a byte now and then: its whole request must be in within kRequestWithinMs.
constexpr int kIoTimeoutSeconds = 5;
constexpr int kRequestWithinMs = 5000;

// The connection this thread is serving, for a handler that must notice its caller leaving.
thread_local int t_connection = -1;

void SendStatus(int fd, int32_t status) {
  WireWriter w;
  w.PutInt32(status);
  std::string framed;
  if (w.Finish(&framed)) WireSend(fd, framed);
}

void Serve(HalServer::State& s, int fd) {
  std::string body;
  // A connection that closes without a request is a registration probe; one that sends a
  // truncated or oversized frame is dropped. Either way nothing else is affected.
  if (!WireReceive(fd, &body, kRequestWithinMs)) return;
  WireReader args(body);
  uint32_t slot = 0;
  if (!args.GetUint32(&slot)) {
    SendStatus(fd, -EINVAL);
    return;
  }
  WireWriter results;
  t_connection = fd;
  int status = s.handler(slot, args, results);
  t_connection = -1;
  if (status != 0) {
    SendStatus(fd, status);
    return;
  }
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

void Worker(std::shared_ptr<HalServer::State> s);

void SpawnWorker(const std::shared_ptr<HalServer::State>& s) {
  // Counted by the spawner, under the lock, so the pool never overshoots.
  ++s->workers;
  ++s->idle;
  std::thread(Worker, s).detach();
}

// Leaves the pool; called with the lock held.
void Leave(HalServer::State& s) {
  --s.workers;
  s.changed.notify_all();
}

void Worker(std::shared_ptr<HalServer::State> s) {
  for (;;) {
    // Only idle workers wait here, and only while the server runs (see Stop). A blocking accept
    // lets the kernel wake exactly one waiting worker per connection.
    int fd = accept4(s->listen_fd, nullptr, nullptr, SOCK_CLOEXEC);
    int err = errno;
    {
      std::lock_guard<std::mutex> lock(s->mu);
      if (s->stopping || (fd < 0 && err != EINTR && err != ECONNABORTED)) {
        if (fd >= 0) close(fd);
        --s->idle;
        Leave(*s);
        return;
      }
      if (fd < 0) continue;
      --s->idle;
      ++s->busy;
      if (s->idle == 0 && s->workers < kMaxWorkers) SpawnWorker(s);
    }
    timeval tv{kIoTimeoutSeconds, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof(tv));
    setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof(tv));
    // Stop()'s wake-up connections come from this process, so they pass like any own caller.
    if (orba::host::PeerAllowed(fd, s->name.c_str())) Serve(*s, fd);
    close(fd);
    std::lock_guard<std::mutex> lock(s->mu);
    --s->busy;
    // A worker that finishes after Stop never waits in accept again: the socket may be gone.
    if (s->stopping) {
      Leave(*s);
      return;
    }
    ++s->idle;
    s->changed.notify_all();
  }
}

}  // namespace

int HalServer::CurrentConnection() { return t_connection; }

HalServer::HalServer(const char* descriptor, const char* instance, Handler handler)
    : name_(HalSocketName(descriptor, instance)), handler_(std::move(handler)) {}

HalServer::~HalServer() { Stop(); }

int HalServer::Start() {
  if (state_ != nullptr) return -EALREADY;
  auto s = std::make_shared<State>();
  if (!orba::platform::DeviceSocketAddress(name_.c_str(), &s->addr)) return -ENAMETOOLONG;
  s->handler = handler_;
  s->name = name_;
  android::base::unique_fd listener = orba::platform::ListenDeviceSocket(name_.c_str(), 128);
  if (listener.get() < 0) return -errno;
  s->listen_fd = listener.release();
  std::lock_guard<std::mutex> lock(s->mu);
  for (int i = 0; i < kInitialWorkers; ++i) SpawnWorker(s);
  state_ = std::move(s);
  return 0;
}

void HalServer::Stop(int drain_ms) {
  if (state_ == nullptr) return;
  std::shared_ptr<State> s = std::move(state_);
  std::unique_lock<std::mutex> lock(s->mu);
  s->stopping = true;
  // Idle workers wait in accept: one empty connection apiece wakes each so it can leave. Busy
  // ones see `stopping` when their call ends and leave without waiting again.
  while (s->idle > 0) {
    int waiting = s->idle;
    lock.unlock();
    for (int k = 0; k < waiting; ++k) {
      int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
      if (fd < 0) break;
      connect(fd, s->addr.get(), s->addr.size);
      close(fd);
    }
    lock.lock();
    s->changed.wait_for(lock, std::chrono::milliseconds(10), [&] { return s->idle == 0; });
  }
  // Nobody is in accept now, so closing releases the name: the service reads as absent.
  close(s->listen_fd);
  if (!s->changed.wait_for(lock, std::chrono::milliseconds(drain_ms),
                           [&] { return s->workers == 0; })) {
    __android_log_print(ANDROID_LOG_WARN, "orba_hal", "%s: %d call(s) still running at stop",
                        s->name.c_str(), s->busy);
  }
}

}  // namespace orba::hal
