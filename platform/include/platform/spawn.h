#ifndef ORBA_PLATFORM_SPAWN_H
#define ORBA_PLATFORM_SPAWN_H

// The one way this tree starts a program, shared by the library and the simulated device.
//
// A child starts clean whatever its parent has set up: every signal at its default action and
// none blocked (a daemon that ignores SIGPIPE or blocks SIGTERM would otherwise hand that on, and
// its children could neither see a closed pipe nor be stopped), and only descriptors 0, 1 and 2
// open (nothing else the parent holds leaks into it, close-on-exec or not).

#include <sys/types.h>

#include <string>
#include <vector>

namespace orba::platform {

// Stands for the null device where a descriptor is expected.
constexpr int kNullDevice = -1;

struct ChildOptions {
  // Parent descriptors that become the child's 0, 1 and 2.
  int stdin_fd = kNullDevice;
  int stdout_fd = 1;
  int stderr_fd = 2;
  // Host path of the child's working directory; nullptr keeps the parent's. A child that
  // cannot enter it exits with status 126.
  const char* cwd = nullptr;
  // The child's whole environment ("NAME=value"); empty: this process's environment.
  std::vector<std::string> env;
  // The child leads a session of its own: a service that outlives the command starting it.
  bool new_session = false;
  // SIGTERM reaches the child when the thread that started it ends, so a reader started for a
  // task does not outlive the task.
  bool end_with_parent = false;
};

// This process's environment with `overrides` ("NAME=value") replacing or adding entries.
std::vector<std::string> EnvironmentWith(const std::vector<std::string>& overrides);

// Starts `program` (a host path, already resolved) with `argv` (argv[0] included). Returns the
// child's pid, or -1 with errno when no child could be made. A program that cannot be executed
// makes the child exit with status 127, as a shell's child would.
pid_t StartChild(const char* program, const std::vector<std::string>& argv,
                 const ChildOptions& options);

// Waits for `pid` through interruptions. Its wait status, or -1 with errno.
int WaitChild(pid_t pid);

}  // namespace orba::platform

#endif
