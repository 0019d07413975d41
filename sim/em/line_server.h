#ifndef ORBA_SIM_EM_LINE_SERVER_H
#define ORBA_SIM_EM_LINE_SERVER_H

// A responder behind a local stream socket in the abstract namespace (through DevSocketName):
// each connection carries one request and gets one reply, then it is closed. A request must be
// in within a few seconds of the connection, or it is dropped unanswered. Listening can
// begin after a delay, as an app's socket comes up a while after the app is started; until
// then (and after Stop) a connect is refused, exactly as on the phone.

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace orba::sim {

class LineServer {
 public:
  enum class Framing {
    kLine,        // the request ends at its first line feed (or when the client stops sending)
    kSingleRead,  // the request is what one read delivers
  };
  using Handler = std::function<std::string(const std::string& request)>;

  LineServer(std::string name, Framing framing, Handler handler);
  ~LineServer();
  LineServer(const LineServer&) = delete;
  LineServer& operator=(const LineServer&) = delete;

  // Starts listening `delay_ms` from now (with no delay, before returning). A server already
  // started (or starting) is left as it is. A socket that cannot be bound is only logged: the
  // app's socket simply never appears.
  void Launch(int delay_ms);
  // Stops listening at once (a pending launch is cancelled) and waits for the request in
  // progress, if any.
  void Stop();
  // True while the socket listens.
  bool Listening() const;

 private:
  // `bound`: the listening socket when Launch bound it already, else -1.
  void Run(std::chrono::steady_clock::time_point listen_at, int bound);
  int Bind();
  // Reads one request from `fd` (by a deadline, or until Stop) and answers it.
  void Serve(int fd, int wake);

  const std::string name_;
  const Framing framing_;
  const Handler handler_;

  std::mutex lifecycle_mu_;  // one Launch or Stop at a time
  mutable std::mutex mu_;
  std::condition_variable cv_;
  std::thread thread_;
  bool running_ = false;   // a thread is launched
  bool stopping_ = false;  // Stop asked it to end
  bool listening_ = false;
  int connections_ = 0;  // being read or answered, each on a thread of its own
  int wake_pipe_[2] = {-1, -1};
  // Requests are read side by side, so one caller trickling its request holds up nobody, and
  // answered one at a time, as the app's single socket thread answers them.
  std::mutex handler_mu_;
};

}  // namespace orba::sim

#endif
