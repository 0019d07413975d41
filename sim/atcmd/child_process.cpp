#include "child_process.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <platform/host/device_root.h>

extern char** environ;

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

int RunInDevice(const std::vector<std::string>& argv, std::string* output, size_t max_output) {
  if (argv.empty()) return -1;
  const std::string root = orba_device_root();
  if (root.empty()) return -1;

  // Everything the child needs is prepared here: between fork and exec a threaded process may
  // only make async-signal-safe calls.
  std::vector<std::string> env_strings;
  for (char** e = environ; *e != nullptr; ++e) {
    if (strncmp(*e, "PATH=", 5) != 0) env_strings.emplace_back(*e);
  }
  env_strings.push_back("PATH=" + DevicePathVariable(root));
  std::vector<char*> envp;
  for (std::string& s : env_strings) envp.push_back(s.data());
  envp.push_back(nullptr);
  std::vector<std::string> args(argv);
  std::vector<char*> argp;
  for (std::string& s : args) argp.push_back(s.data());
  argp.push_back(nullptr);
  // Programs are looked up on the device's PATH, as a shell there would.
  std::vector<std::string> candidates;
  if (args[0].find('/') != std::string::npos) {
    candidates.push_back(args[0]);
  } else {
    std::string path = DevicePathVariable(root);
    for (size_t start = 0; start <= path.size();) {
      size_t end = path.find(':', start);
      if (end == std::string::npos) end = path.size();
      if (end > start) candidates.push_back(path.substr(start, end - start) + "/" + args[0]);
      start = end + 1;
    }
  }

  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) return -1;
  android::base::unique_fd read_end(fds[0]);
  android::base::unique_fd write_end(fds[1]);
  pid_t pid = fork();
  if (pid < 0) return -1;
  if (pid == 0) {
    dup2(write_end.get(), STDOUT_FILENO);
    if (chdir(root.c_str()) != 0) _exit(126);  // host path: the device's "/"
    for (const std::string& c : candidates) {
      execve(c.c_str(), argp.data(), envp.data());  // host path: a program on the device PATH
    }
    _exit(127);
  }
  write_end.reset();
  output->clear();
  char buf[4096];
  for (;;) {
    ssize_t n = read(read_end.get(), buf, sizeof(buf));
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    size_t room = max_output - output->size();
    output->append(buf, static_cast<size_t>(n) < room ? static_cast<size_t>(n) : room);
  }
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace orba::sim
