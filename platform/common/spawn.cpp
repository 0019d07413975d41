#include <platform/spawn.h>

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <pthread.h>
#include <signal.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <android-base/unique_fd.h>

extern char** environ;

namespace orba::platform {
namespace {

struct LinuxDirent64 {
  uint64_t d_ino;
  int64_t d_off;
  unsigned short d_reclen;
  unsigned char d_type;
  char d_name[];
};

// Closes every descriptor above 2. Runs between fork and exec, so only system calls: the kernel's
// close_range where it has one, else the process's own descriptor list, else every number up to
// the limit the parent read before forking.
void CloseDescriptorsAbove2(int fd_limit) {
#ifdef __NR_close_range
  if (syscall(__NR_close_range, 3U, ~0U, 0U) == 0) return;
#endif
  int dir = static_cast<int>(syscall(__NR_openat, AT_FDCWD, "/proc/self/fd",
                                     O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (dir >= 0) {
    alignas(LinuxDirent64) char buf[1024];
    for (;;) {
      long n = syscall(__NR_getdents64, dir, buf, sizeof(buf));
      if (n <= 0) break;
      for (long off = 0; off < n;) {
        const LinuxDirent64* d = reinterpret_cast<const LinuxDirent64*>(buf + off);
        off += d->d_reclen;
        int fd = 0;
        const char* p = d->d_name;
        if (*p < '0' || *p > '9') continue;
        for (; *p >= '0' && *p <= '9'; ++p) fd = fd * 10 + (*p - '0');
        if (fd > 2 && fd != dir) close(fd);
      }
    }
    close(dir);
    return;
  }
  for (int fd = 3; fd < fd_limit; ++fd) close(fd);
}

// What the child does between fork and exec; async-signal-safe calls only, since the parent may
// have other threads whose locks were copied mid-use.
[[noreturn]] void BecomeChild(const char* program, char* const* argv, char* const* envp,
                              const ChildOptions& options, const int stdio[3], pid_t parent,
                              int fd_limit) {
  // Every signal to its default before anything is unblocked, so no handler of the parent's
  // can run in the child.
  struct sigaction dfl;
  memset(&dfl, 0, sizeof(dfl));
  dfl.sa_handler = SIG_DFL;
  sigemptyset(&dfl.sa_mask);
  for (int sig = 1; sig < NSIG; ++sig) sigaction(sig, &dfl, nullptr);  // KILL/STOP refuse: fine

  if (options.end_with_parent) {
    // The parent may have ended before the request took hold.
    if (prctl(PR_SET_PDEATHSIG, SIGTERM) != 0 || getppid() != parent) _exit(127);
  }
  if (options.new_session && setsid() < 0) _exit(127);

  // Lift the three sources above 2 first: placing one must not overwrite another (a caller may
  // hand its stdout as the child's stdin and the other way round).
  int lifted[3];
  for (int i = 0; i < 3; ++i) {
    lifted[i] = fcntl(stdio[i], F_DUPFD_CLOEXEC, 3);
    if (lifted[i] < 0) _exit(127);
  }
  for (int i = 0; i < 3; ++i) {
    if (dup2(lifted[i], i) < 0) _exit(127);  // the copy at i is not close-on-exec
  }
  CloseDescriptorsAbove2(fd_limit);
  if (options.cwd != nullptr && chdir(options.cwd) != 0) _exit(126);

  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  execve(program, argv, envp);
  _exit(127);
}

std::vector<char*> Pointers(std::vector<std::string>& strings) {
  std::vector<char*> out;
  out.reserve(strings.size() + 1);
  for (std::string& s : strings) out.push_back(s.data());
  out.push_back(nullptr);
  return out;
}

// A program named through a descriptor of this process (DevPath on a host names what it resolved
// inside the device root so) is executed by the name the kernel keeps for that descriptor: the
// child closes every inherited descriptor before exec, and a script's interpreter opens the
// script by name after exec in any case.
std::string ExecutableName(const char* program) {
  static constexpr char kFdDir[] = "/proc/self/fd/";
  if (strncmp(program, kFdDir, sizeof(kFdDir) - 1) != 0) return program;
  const char* number = program + sizeof(kFdDir) - 1;
  const char* rest = strchr(number, '/');
  std::string link(program, rest != nullptr ? static_cast<size_t>(rest - program) : strlen(program));
  char target[PATH_MAX];
  ssize_t n = readlink(link.c_str(), target, sizeof(target) - 1);  // host path: our own fd table
  if (n <= 0 || target[0] != '/') return program;
  return std::string(target, static_cast<size_t>(n)) + (rest != nullptr ? rest : "");
}

}  // namespace

std::vector<std::string> EnvironmentWith(const std::vector<std::string>& overrides) {
  std::vector<std::string> env;
  for (char** e = environ; e != nullptr && *e != nullptr; ++e) {
    const char* eq = strchr(*e, '=');
    size_t name_len = eq != nullptr ? static_cast<size_t>(eq - *e) : strlen(*e);
    bool replaced = false;
    for (const std::string& o : overrides) {
      if (o.size() > name_len && o[name_len] == '=' && o.compare(0, name_len, *e, name_len) == 0) {
        replaced = true;
        break;
      }
    }
    if (!replaced) env.emplace_back(*e);
  }
  env.insert(env.end(), overrides.begin(), overrides.end());
  return env;
}

pid_t StartChild(const char* program, const std::vector<std::string>& argv,
                 const ChildOptions& options) {
  if (program == nullptr || argv.empty()) {
    errno = EINVAL;
    return -1;
  }
  // Everything the child needs is made here, before fork.
  const std::string executable = ExecutableName(program);
  program = executable.c_str();
  std::vector<std::string> args(argv);
  std::vector<char*> argp = Pointers(args);
  std::vector<std::string> env = options.env.empty() ? EnvironmentWith({}) : options.env;
  std::vector<char*> envp = Pointers(env);

  android::base::unique_fd null_fd;
  int stdio[3] = {options.stdin_fd, options.stdout_fd, options.stderr_fd};
  for (int& fd : stdio) {
    if (fd != kNullDevice) continue;
    if (null_fd.get() < 0) {
      null_fd.reset(open("/dev/null", O_RDWR | O_CLOEXEC));
      if (null_fd.get() < 0) return -1;
    }
    fd = null_fd.get();
  }
  rlimit nofile{};
  int fd_limit = getrlimit(RLIMIT_NOFILE, &nofile) == 0 && nofile.rlim_cur < 65536
                     ? static_cast<int>(nofile.rlim_cur)
                     : 65536;
  const pid_t parent = getpid();

  // Blocked across fork so that a signal cannot reach the child before its dispositions are
  // reset; the parent's own mask comes back right after.
  // The child holds the write end of `settled` until it has asked for its parent-death signal
  // and closed what it inherits: a caller whose thread ends right after we return (the signal
  // follows the thread that forked) must not outrun that request.
  int settled[2];
  if (pipe2(settled, O_CLOEXEC) != 0) return -1;
  sigset_t all, old;
  sigfillset(&all);
  pthread_sigmask(SIG_SETMASK, &all, &old);
  pid_t pid = fork();
  if (pid == 0) BecomeChild(program, argp.data(), envp.data(), options, stdio, parent, fd_limit);
  int saved = errno;
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
  close(settled[1]);
  if (pid > 0) {
    char byte;
    while (read(settled[0], &byte, 1) < 0 && errno == EINTR) {
    }
  }
  close(settled[0]);
  errno = saved;
  return pid;
}

int WaitChild(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return status;
}

}  // namespace orba::platform
