#include "support/subprocess.h"

#include <errno.h>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <stdio.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include <android-base/unique_fd.h>
#include <platform/spawn.h>

#ifndef ORBA_BIN_DIR
#error "ORBA_BIN_DIR must name the build's bin directory"
#endif

namespace orba::test {
namespace {

std::string Slurp(int fd) {
  std::string out;
  char buf[4096];
  for (ssize_t n; (n = read(fd, buf, sizeof(buf))) > 0;) out.append(buf, static_cast<size_t>(n));
  return out;
}

}  // namespace

pid_t StartChild(const std::function<int()>& body) {
  fflush(nullptr);
  pid_t pid = fork();
  if (pid == 0) _exit(body());
  return pid;
}

int WaitChild(pid_t pid) {
  int status = 0;
  if (waitpid(pid, &status, 0) != pid || !WIFEXITED(status)) return -1;
  return WEXITSTATUS(status);
}

ProgramResult RunProgram(const std::vector<std::string>& argv) {
  ProgramResult result;
  int out[2];
  int err[2];
  if (pipe2(out, O_CLOEXEC) != 0) return result;
  android::base::unique_fd out_read(out[0]), out_write(out[1]);
  if (pipe2(err, O_CLOEXEC) != 0) return result;
  android::base::unique_fd err_read(err[0]), err_write(err[1]);
  platform::ChildOptions options;
  options.stdout_fd = out_write.get();
  options.stderr_fd = err_write.get();
  pid_t pid = platform::StartChild(argv[0].c_str(), argv, options);
  if (pid < 0) return result;
  out_write.reset();
  err_write.reset();
  // Both pipes at once: a program that fills one while we wait on the other would never end.
  pollfd fds[2] = {{out_read.get(), POLLIN, 0}, {err_read.get(), POLLIN, 0}};
  std::string* sinks[2] = {&result.out, &result.err};
  for (int open_pipes = 2; open_pipes > 0;) {
    if (poll(fds, 2, -1) < 0) {
      if (errno == EINTR) continue;
      break;
    }
    for (int i = 0; i < 2; ++i) {
      if (fds[i].fd < 0 || fds[i].revents == 0) continue;
      char buf[4096];
      ssize_t n = read(fds[i].fd, buf, sizeof(buf));
      if (n > 0) {
        sinks[i]->append(buf, static_cast<size_t>(n));
      } else if (n == 0 || errno != EINTR) {
        fds[i].fd = -1;
        --open_pipes;
      }
    }
  }
  result.status = WaitChild(pid);
  return result;
}

ProgramResult RunOnTerminal(const std::vector<std::string>& argv, unsigned short columns) {
  ProgramResult result;
  int master = -1;
  int slave = -1;
  winsize size{};
  size.ws_row = 24;
  size.ws_col = columns;
  if (openpty(&master, &slave, nullptr, nullptr, &size) != 0) return result;
  int err[2];
  if (pipe2(err, O_CLOEXEC) != 0) {
    close(master);
    close(slave);
    return result;
  }
  fflush(nullptr);
  pid_t pid = fork();
  if (pid == 0) {
    setsid();
    ioctl(slave, TIOCSCTTY, 0);
    dup2(slave, 1);
    dup2(err[1], 2);
    close(master);
    close(slave);
    std::vector<char*> args;
    for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
    args.push_back(nullptr);
    execv(args[0], args.data());
    _exit(127);
  }
  close(slave);
  close(err[1]);
  // The terminal must be drained while the program runs, or it blocks on a full buffer; the
  // read ends with EIO once the program (the last holder of the terminal) has exited.
  char buf[4096];
  for (;;) {
    ssize_t n = read(master, buf, sizeof(buf));
    if (n > 0) {
      result.out.append(buf, static_cast<size_t>(n));
    } else if (n < 0 && errno == EINTR) {
      continue;
    } else {
      break;
    }
  }
  close(master);
  result.err = Slurp(err[0]);
  close(err[0]);
  result.status = WaitChild(pid);
  return result;
}

std::string BinPath(const std::string& name) { return std::string(ORBA_BIN_DIR) + "/" + name; }

}  // namespace orba::test
