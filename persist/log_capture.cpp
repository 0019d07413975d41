// The two factory log capture threads. They are fire-and-forget: the daemon starts them once per
// boot, and each ends on its own at its size cap or at the end of its input.

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <utility>

#include <android-base/unique_fd.h>

#include <orbafactory/persist.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "log_capture_files.h"

namespace orba::persist {

FILE* RecreateCaptureFile(const char* path) {
  remove(DevPath(path));
  return fopen(DevPath(path), "w+");
}

namespace {

// The log reader as a child whose output we read, like popen(path, "r"), but keeping its pid:
// logcat follows the log forever, so once the cap is reached it has to be told to stop, or
// reaping it would wait for a write that may never come.
class LogReaderChild {
 public:
  explicit LogReaderChild(const char* device_path) {
    DevPath program(device_path);
    int fds[2];
    if (!program.ok() || pipe2(fds, O_CLOEXEC) != 0) return;
    android::base::unique_fd read_end(fds[0]);
    android::base::unique_fd write_end(fds[1]);
    const pid_t parent = getpid();
    pid_t pid = fork();
    if (pid < 0) return;
    if (pid == 0) {
      // Only async-signal-safe calls between fork and exec: the parent has other threads.
      // The reader goes with the capture thread, so a daemon that exits mid-capture does not
      // leave a logcat following the log forever.
      if (prctl(PR_SET_PDEATHSIG, SIGTERM) != 0 || getppid() != parent) _exit(127);
      if (dup2(write_end.get(), STDOUT_FILENO) < 0) _exit(127);
      execl(program.c_str(), "logcat", static_cast<char*>(nullptr));
      _exit(127);
    }
    pid_ = pid;
    fd_ = std::move(read_end);
  }
  ~LogReaderChild() {
    if (pid_ <= 1) return;
    fd_.reset();
    kill(pid_, SIGTERM);
    int status = 0;
    while (waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
  }
  LogReaderChild(const LogReaderChild&) = delete;
  LogReaderChild& operator=(const LogReaderChild&) = delete;

  int fd() const { return fd_.get(); }

 private:
  pid_t pid_ = -1;
  android::base::unique_fd fd_;
};

}  // namespace

}  // namespace orba::persist

using namespace orba::persist;

extern "C" void* pthread_logcat(void* /*unused*/) {
  FILE* out = RecreateCaptureFile(kFactoryAdbLog);
  if (out == nullptr) {
    ORBA_LOGD("fopen %s, errno: %s", kFactoryAdbLog, strerror(errno));
    ORBA_LOGD("Exit");
    pthread_detach(pthread_self());
    return nullptr;
  }
  ORBA_LOGD("start logcat");
  LogReaderChild logcat(kLogcatPath);
  if (logcat.fd() < 0) {
    ORBA_LOGD("fopen /system/bin/logcat errno: %s", strerror(errno));
  } else {
    char chunk[kCaptureChunkSize];
    long total = 0;
    while (total < kAdbLogCap) {
      ssize_t n = read(logcat.fd(), chunk, sizeof(chunk));
      if (n <= 0) {
        ORBA_LOGD("read kernel %d error: '%s'", static_cast<int>(n), strerror(errno));
        break;
      }
      // Each chunk reaches the file at once: the line may pull it while the capture runs, and
      // a daemon killed mid-capture loses nothing it has read.
      fwrite(chunk, 1, static_cast<size_t>(n), out);
      fflush(out);
      total += n;
    }
    ORBA_LOGD("size:%d", static_cast<int>(total));
  }
  ORBA_LOGD("Exit");
  fflush(out);
  fclose(out);
  pthread_detach(pthread_self());
  return nullptr;
}

extern "C" void* pthread_kmsg(void* /*unused*/) {
  FILE* out = RecreateCaptureFile(kFactoryKernelLog);
  if (out == nullptr) {
    ORBA_LOGD("fopen %s, errno: %s", kFactoryKernelLog, strerror(errno));
    ORBA_LOGD("Exit");
    pthread_detach(pthread_self());
    return nullptr;
  }
  ORBA_LOGD("start record kmsg");
  android::base::unique_fd kmsg(open(DevPath(kKmsgPath), O_RDONLY | O_CLOEXEC));
  if (kmsg.get() < 0) {
    ORBA_LOGD("open %s failed: %s", kKmsgPath, strerror(errno));
  } else {
    char chunk[kCaptureChunkSize];
    long total = 0;
    while (total < kKernelLogCap) {
      // Each read of the kernel log device returns one record.
      ssize_t n = read(kmsg.get(), chunk, sizeof(chunk));
      if (n <= 0) {
        ORBA_LOGD("read kernel %d error: '%s'", static_cast<int>(n), strerror(errno));
        break;
      }
      fwrite(chunk, 1, static_cast<size_t>(n), out);
      fflush(out);
      total += n;
    }
    ORBA_LOGD("byteCount: %d", static_cast<int>(total));
  }
  ORBA_LOGD("Exit");
  fflush(out);
  fclose(out);
  pthread_detach(pthread_self());
  return nullptr;
}

extern "C" int open_factory_log(void) {
  ORBA_LOGI("start");
  pthread_t logcat_thread;
  int rc = pthread_create(&logcat_thread, nullptr, pthread_logcat, nullptr);
  if (rc != 0) {
    ORBA_LOGD("create logcat_thread fail: %s\r\n", strerror(rc));
    return -1;
  }
  pthread_t kmsg_thread;
  rc = pthread_create(&kmsg_thread, nullptr, pthread_kmsg, nullptr);
  if (rc != 0) {
    ORBA_LOGD("create kmsg_thread fail: %s\r\n", strerror(rc));
    return -1;
  }
  return 0;
}
