#ifndef ORBA_PLATFORM_HOST_HAL_SERVER_H
#define ORBA_PLATFORM_HOST_HAL_SERVER_H

// The service side of the host HAL transport (hal_wire.h): registers a service instance by
// listening on its abstract socket and answers each connection's one request. Workers wait in
// accept ahead of time (a call costs no thread start), and the pool grows while every worker is
// busy, so a long command never holds up the calls behind it. The simulated HAL daemons run one
// of these; tests may run one on a thread of their own.

#include <stdint.h>

#include <functional>
#include <memory>
#include <string>

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
  // Unregisters at once, then waits up to `drain_ms` for the calls in progress. A call still
  // running after that finishes on its own; it never touches this object again.
  void Stop(int drain_ms = 5000);

  // The connection of the call this thread is handling (-1 outside a handler): a handler that
  // runs long watches it to stop once its caller has gone.
  static int CurrentConnection();

  struct State;

 private:
  std::string name_;
  Handler handler_;
  std::shared_ptr<State> state_;
};

}  // namespace orba::hal

#endif
