#include "child_process.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

#include <android-base/unique_fd.h>
#include <platform/host/device_root.h>
#include <platform/spawn.h>

namespace orba::sim {
namespace {

// The device's PATH: its own tools first, unless the environment already puts them first (the
// daemon started by orbafactory-sim), then the host's.
std::string DevicePathVariable(const std::string& root) {
  const char* current = getenv("PATH");
  std::string host = current != nullptr ? current : "/usr/bin:/bin";
  std::string device = root + "/system/bin:" + root + "/vendor/bin";
  if (host.compare(0, device.size(), device) == 0) return host;
  return device + ":" + host;
}

}  // namespace

int RunInDevice(const std::vector<std::string>& argv, std::string* output, size_t max_output,
                int client_fd, int time_limit_ms) {
  if (argv.empty()) return -1;
  const std::string root = orba_device_root();
  if (root.empty()) return -1;
  output->clear();
  // Programs are looked up on the device's PATH, as a shell there would.
  const std::string path = DevicePathVariable(root);
  std::string program;
  if (argv[0].find('/') != std::string::npos) {
    program = argv[0];
  } else {
    for (size_t start = 0; start <= path.size() && program.empty();) {
      size_t end = path.find(':', start);
      if (end == std::string::npos) end = path.size();
      std::string candidate = path.substr(start, end - start) + "/" + argv[0];
      if (end > start && access(candidate.c_str(), X_OK) == 0) program = candidate;  // host path
      start = end + 1;
    }
    if (program.empty()) return 127;  // what a shell answers for an unknown command
  }
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) return -1;
  android::base::unique_fd read_end(fds[0]);
  android::base::unique_fd write_end(fds[1]);
  orba::platform::ChildOptions options;
  options.stdout_fd = write_end.get();
  options.cwd = root.c_str();  // the device's "/"
  options.env = orba::platform::EnvironmentWith({"PATH=" + path});
  // A group of its own: what the command starts in turn goes with it when it is ended.
  options.new_session = true;
  pid_t pid = orba::platform::StartChild(program.c_str(), argv, options);
  if (pid < 0) return -1;
  write_end.reset();

  const auto deadline =
      std::chrono::steady_clock::now() + std::chrono::milliseconds(time_limit_ms);
  bool ended = false;
  char buf[4096];
  for (;;) {
    int wait_ms = -1;
    if (time_limit_ms >= 0) {
      auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
          deadline - std::chrono::steady_clock::now());
      wait_ms = left.count() > 0 ? static_cast<int>(left.count()) : 0;
    }
    // A hang-up is reported whatever is asked for; the caller's own requests are not read.
    pollfd p[2] = {{read_end.get(), POLLIN, 0}, {client_fd, 0, 0}};
    int n = poll(p, client_fd >= 0 ? 2 : 1, wait_ms);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 || n == 0 || (client_fd >= 0 && (p[1].revents & (POLLHUP | POLLERR)) != 0)) {
      kill(-pid, SIGKILL);
      ended = true;
      break;
    }
    if (p[0].revents == 0) continue;
    ssize_t got = read(read_end.get(), buf, sizeof(buf));
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) break;
    size_t room = max_output - output->size();
    output->append(buf, static_cast<size_t>(got) < room ? static_cast<size_t>(got) : room);
  }
  int status = orba::platform::WaitChild(pid);
  if (status < 0 || ended) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace orba::sim
