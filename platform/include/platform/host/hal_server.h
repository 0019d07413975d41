#ifndef ORBA_PLATFORM_HOST_HAL_SERVER_H
#define ORBA_PLATFORM_HOST_HAL_SERVER_H

// The service side of the host HAL transport (hal_wire.h): registers a service instance by
// listening on its abstract socket and answers each connection's one request on its own thread.
// The simulated HAL daemons run one of these; tests may run one on a thread of their own.

#include <stdint.h>

#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include <platform/hal_wire.h>

namespace orba::hal {

class ORBA_HAL_API HalServer {
 public:
  // Reads the arguments of method `slot` from `args` and writes its results to `results`.
  // Returns 0, or a negative errno (-ENOSYS for an unknown slot, -EINVAL for malformed
  // arguments) which is sent back alone as the transport status.
  using Handler = std::function<int(uint32_t slot, WireReader& args, WireWriter& results)>;

  HalServer(const char* descriptor, const char* instance, Handler handler);
  ~HalServer();
  HalServer(const HalServer&) = delete;
  HalServer& operator=(const HalServer&) = delete;

  // Registers the instance (binds the socket under the current device root) and starts
  // accepting. 0, or a negative errno (-EADDRINUSE: the instance is already registered).
  int Start();
  // Unregisters and waits for the calls in progress (at most `drain_ms`, then gives up on
  // them: a hung command must not keep a stopping service alive).
  void Stop(int drain_ms = 5000);

 private:
  void AcceptLoop();
  void ServeConnection(int fd);

  std::string name_;
  Handler handler_;
  int listen_fd_ = -1;
  int wake_pipe_[2] = {-1, -1};
  std::thread acceptor_;
  std::mutex mu_;
  std::condition_variable idle_;
  int active_ = 0;
};

}  // namespace orba::hal

#endif
