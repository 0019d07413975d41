// Starting a program: what a child inherits, where its three descriptors come from, and how it
// ends with the thread that started it.

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <gtest/gtest.h>
#include <platform/spawn.h>

#include "support/subprocess.h"

namespace orba::test {
namespace {

using android::base::unique_fd;

struct Pipe {
  unique_fd read_end, write_end;
  Pipe() {
    int fds[2];
    if (pipe2(fds, O_CLOEXEC) == 0) {
      read_end.reset(fds[0]);
      write_end.reset(fds[1]);
    }
  }
};

TEST(StartChild, ChildStartsWithDefaultSignalsAndOnlyThreeDescriptors) {
  // What a daemon typically carries: SIGTERM blocked around its work, SIGPIPE ignored, and a
  // descriptor somebody opened without close-on-exec.
  sigset_t block, old_mask;
  sigemptyset(&block);
  sigaddset(&block, SIGTERM);
  sigaddset(&block, SIGHUP);
  ASSERT_EQ(pthread_sigmask(SIG_BLOCK, &block, &old_mask), 0);
  struct sigaction ignore {}, old_pipe{};
  ignore.sa_handler = SIG_IGN;
  ASSERT_EQ(sigaction(SIGPIPE, &ignore, &old_pipe), 0);
  unique_fd leaky(open("/dev/null", O_RDONLY));  // deliberately without O_CLOEXEC

  // The probe is the started program itself: a shell in between would report its own state,
  // and a shell waiting for a child of its own blocks every signal while it waits.
  Pipe out;
  platform::ChildOptions options;
  options.stdout_fd = out.write_end.get();
  pid_t pid = platform::StartChild(ORBA_CHILD_STATE_PROBE, {"child_state_probe"}, options);
  const int start_errno = errno;
  pthread_sigmask(SIG_SETMASK, &old_mask, nullptr);
  sigaction(SIGPIPE, &old_pipe, nullptr);
  ASSERT_GT(pid, 0) << strerror(start_errno);
  out.write_end.reset();
  std::string report;
  android::base::ReadFdToString(out.read_end, &report);
  int status = platform::WaitChild(pid);

  ASSERT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << report;
  EXPECT_EQ(report, "blocked:\nignored:\nfds: 0 1 2\n");
}

TEST(StartChild, StandardDescriptorsMayBeSwapped) {
  // A caller whose own 0 and 1 are to become the child's 1 and 0: placing one must not
  // overwrite the other. Done in a child of the test so the test's own descriptors stay put.
  Pipe in, out;
  ASSERT_TRUE(android::base::WriteStringToFd("ping", in.write_end));
  in.write_end.reset();
  pid_t tester = StartChild([&] {
    if (dup2(out.write_end.get(), 0) < 0 || dup2(in.read_end.get(), 1) < 0) return 10;
    platform::ChildOptions options;
    options.stdin_fd = 1;
    options.stdout_fd = 0;
    pid_t pid = platform::StartChild("/bin/cat", {"cat"}, options);
    if (pid < 0) return 11;
    int status = platform::WaitChild(pid);
    return WIFEXITED(status) ? WEXITSTATUS(status) : 12;
  });
  out.write_end.reset();
  in.read_end.reset();
  std::string copied;
  android::base::ReadFdToString(out.read_end, &copied);
  EXPECT_EQ(WaitChild(tester), 0);
  EXPECT_EQ(copied, "ping");
}

TEST(StartChild, WorkingDirectoryEnvironmentAndFailures) {
  struct Case {
    const char* what;
    const char* program;
    const char* cwd;
    std::vector<std::string> env;
    int exit_status;
    const char* output;
  };
  const Case cases[] = {
      {"cwd and env", "/bin/sh", "/", {"ORBA_SPAWN_PROBE=seen"}, 0, "/ seen\n"},
      {"missing program", "/nonexistent/orba-no-such-program", nullptr, {}, 127, ""},
      {"missing cwd", "/bin/sh", "/nonexistent/orba-no-such-dir", {}, 126, ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Pipe out;
    platform::ChildOptions options;
    options.stdout_fd = out.write_end.get();
    options.cwd = c.cwd;
    options.env = c.env;
    pid_t pid = platform::StartChild(
        c.program, {"sh", "-c", "echo \"$(pwd) ${ORBA_SPAWN_PROBE:-absent}\""}, options);
    ASSERT_GT(pid, 0);
    out.write_end.reset();
    std::string text;
    android::base::ReadFdToString(out.read_end, &text);
    int status = platform::WaitChild(pid);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), c.exit_status);
    EXPECT_EQ(text, c.output);
  }
}

TEST(StartChild, EnvironmentWithReplacesByName) {
  setenv("ORBA_SPAWN_A", "old", 1);
  setenv("ORBA_SPAWN_AB", "keep", 1);
  std::vector<std::string> env = platform::EnvironmentWith({"ORBA_SPAWN_A=new", "ORBA_SPAWN_C=1"});
  unsetenv("ORBA_SPAWN_A");
  unsetenv("ORBA_SPAWN_AB");
  auto count = [&](const std::string& entry) {
    int n = 0;
    for (const std::string& e : env) n += e == entry;
    return n;
  };
  EXPECT_EQ(count("ORBA_SPAWN_A=new"), 1);
  EXPECT_EQ(count("ORBA_SPAWN_A=old"), 0);
  EXPECT_EQ(count("ORBA_SPAWN_AB=keep"), 1);
  EXPECT_EQ(count("ORBA_SPAWN_C=1"), 1);
}

TEST(StartChild, EndsWithTheThreadThatStartedIt) {
  pid_t pid = -1;
  std::thread starter([&] {
    platform::ChildOptions options;
    options.end_with_parent = true;
    pid = platform::StartChild("/bin/sleep", {"sleep", "30"}, options);
  });
  starter.join();
  ASSERT_GT(pid, 0);
  int status = platform::WaitChild(pid);
  ASSERT_TRUE(WIFSIGNALED(status)) << status;
  EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST(StartChild, RefusesAnEmptyCommand) {
  errno = 0;
  EXPECT_EQ(platform::StartChild("/bin/true", {}, platform::ChildOptions()), -1);
  EXPECT_EQ(errno, EINVAL);
}

}  // namespace
}  // namespace orba::test
