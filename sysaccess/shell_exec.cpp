// Running shell commands with the caller's own rights and capturing what they print.

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/log.h>
#include <platform/spawn.h>

#include "shell_metachars.h"

extern "C" ORBA_EXPORT int ext_system(const char* cmd, char* out, int len) {
  // A zero length has no room for the terminator written below, so it is refused as well.
  if (cmd == nullptr || out == nullptr || len < 1) {
    ORBA_LOGE("system paramer invalid!");
    return -1;
  }
  FILE* stream = popen(cmd, "r");
  if (stream == nullptr) {
    ORBA_LOGE("popen error:%s", strerror(errno));
    return -1;
  }
  memset(out, 0, static_cast<size_t>(len));
  // One item of len bytes: the count is 0 for shorter output, but the text is in `out`.
  (void)fread(out, static_cast<size_t>(len), 1, stream);
  out[len - 1] = '\0';
  pclose(stream);
  ORBA_LOGE("cmd:%s, response: %s", cmd, out);
  return 0;
}

namespace {

// A command whose output filled the caller's buffer may still be running. It is left to finish
// what it does (a provisioning tool must not be cut short), and a detached thread waits for it
// so that it does not stay behind as a zombie.
void* ReapChild(void* arg) {
  pid_t pid = static_cast<pid_t>(reinterpret_cast<intptr_t>(arg));
  while (waitpid(pid, nullptr, 0) < 0 && errno == EINTR) {
  }
  return nullptr;
}

void ReapLater(pid_t pid) {
  pthread_attr_t attr;
  pthread_attr_init(&attr);
  pthread_attr_setdetachstate(&attr, PTHREAD_CREATE_DETACHED);
  pthread_t thread;
  void* arg = reinterpret_cast<void*>(static_cast<intptr_t>(pid));
  if (pthread_create(&thread, &attr, ReapChild, arg) != 0) {
    ORBA_LOGE("cannot wait for pid %d: %s", static_cast<int>(pid), strerror(errno));
  }
  pthread_attr_destroy(&attr);
}

// Only these vendor tools may be run through exec_shell_vendor, matched by their beginning.
// The command still goes to "sh -c", so whatever follows the tool's name must not be able to
// start a second command, redirect, or substitute: a name is a prefix, not a licence. Arguments
// of these tools are plain words, so a correct caller never needs any of these characters.
// Returns the length of the whitelisted prefix, or 0.
size_t WhitelistedPrefix(const char* cmd) {
  if (strncmp(cmd, "/vendor/app/bRPMB-CMD", 21) == 0) return 21;
  if (strncmp(cmd, "tlcrpmb_gp getflag", 18) == 0) return 18;
  return 0;
}

}  // namespace

extern "C" ORBA_EXPORT int exec_shell_vendor(const char* cmd, char* out, int len) {
  if (cmd == nullptr || out == nullptr || len < 0) {
    ORBA_LOGE("system paramer invalid!");
    return -1;
  }
  const size_t prefix = WhitelistedPrefix(cmd);
  if (prefix == 0) {
    ORBA_LOGE("not support cmd!");
    return -1;
  }
  const size_t special = strcspn(cmd + prefix, orba::sysaccess::kShellMetacharacters);
  if (cmd[prefix + special] != '\0') {
    ORBA_LOGE("not support cmd! shell metacharacter at %zu: %s", prefix + special, cmd);
    return -1;
  }
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) {
    ORBA_LOGE("create pipe fail.");
    return -1;
  }
  android::base::unique_fd read_end(fds[0]);
  android::base::unique_fd write_end(fds[1]);
  DevPath shell("/vendor/bin/sh");
  orba::platform::ChildOptions options;
  options.stdout_fd = write_end.get();
  pid_t pid = orba::platform::StartChild(shell, {"sh", "-c", cmd}, options);
  if (pid < 0) {
    ORBA_LOGE("fork fail.");
    return -1;
  }
  write_end.reset();

  fcntl(read_end.get(), F_SETFL, fcntl(read_end.get(), F_GETFL) | O_NONBLOCK);
  int received = 0;
  bool child_done = false;
  do {
    int status = 0;
    pid_t w = waitpid(pid, &status, WNOHANG);
    if (w == pid) {
      ORBA_LOGE("son thread exit.");
      child_done = true;
    } else if (w < 0 && errno != EINTR) {
      ORBA_LOGE("wait pid error.");
      return -1;
    }
    ssize_t n = read(read_end.get(), out + received, static_cast<size_t>(len - received));
    if (n > 0) {
      received += static_cast<int>(n);
    } else if (n < 0 && errno != EAGAIN && errno != EINTR) {
      ORBA_LOGE("read with error. errno:%d", errno);
      ORBA_LOGE("cmd:%s response:%.*s", cmd, received, out);
      if (!child_done) ReapLater(pid);
      return 0;
    }
    usleep(1000);
  } while (received < len && !child_done);
  if (!child_done) ReapLater(pid);
  // The output is not terminated here; the log reads only what arrived.
  ORBA_LOGE("cmd:%s response:%.*s", cmd, received, out);
  return 0;
}
