// The two factory log capture threads. They are fire-and-forget: the daemon starts them once per
// boot, and each ends on its own at its size cap or at the end of its input.

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include <android-base/unique_fd.h>

#include <orbafactory/persist.h>
#include <platform/devpath.h>
#include <platform/log.h>
#include <platform/spawn.h>

#include "log_capture_files.h"

namespace orba::persist {

FILE* RecreateCaptureFile(const char* path) {
  remove(DevPathNoFollow(path));
  // "e": the capture file must not leak into the logcat child or anything else started later.
  return fopen(DevPath(path), "w+e");
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
    orba::platform::ChildOptions options;
    options.stdout_fd = write_end.get();
    // The reader goes with the capture thread, so a daemon that exits mid-capture does not leave
    // a logcat following the log forever.
    options.end_with_parent = true;
    pid_t pid = orba::platform::StartChild(program.c_str(), {"logcat"}, options);
    if (pid < 0) return;
    pid_ = pid;
    fd_ = std::move(read_end);
  }
  ~LogReaderChild() {
    if (pid_ <= 1) return;
    fd_.reset();
    kill(pid_, SIGTERM);
    orba::platform::WaitChild(pid_);
  }
  LogReaderChild(const LogReaderChild&) = delete;
  LogReaderChild& operator=(const LogReaderChild&) = delete;

  int fd() const { return fd_.get(); }

 private:
  pid_t pid_ = -1;
  android::base::unique_fd fd_;
};

// Writes one piece to the capture file and pushes it out. False (logged) when the file took less
// than all of it: a full data partition ends the capture rather than leaving a silent gap.
bool Append(FILE* out, const char* data, size_t size, const char* thread) {
  if (fwrite(data, 1, size, out) != size || fflush(out) != 0) {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, thread, "write capture error: '%s'", strerror(errno));
    return false;
  }
  return true;
}

// Copies a log source into the capture file until the cap or the source's end. Each read
// reaches the file at once: the line may pull it while the capture runs, and a daemon killed
// mid-capture loses nothing it has read. Read failures are logged in the thread's name.
//
// The kernel log answers a read with one whole record, or EINVAL when the buffer is shorter than
// the record, so its reads take a buffer of the kernel's largest record; what is read goes to
// the file in chunks of at most kCaptureChunkSize. EPIPE means the kernel overwrote records
// before they were read: the loss is noted in the capture, which goes on with the next record.
long CopyCapped(int source, FILE* out, long cap, size_t read_size, const char* thread) {
  static constexpr char kOverrun[] = "\n--- kernel log overrun: records were lost here ---\n";
  char buf[kKmsgRecordMax];
  if (read_size > sizeof(buf)) read_size = sizeof(buf);
  long total = 0;
  while (total < cap) {
    ssize_t n = read(source, buf, read_size);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && errno == EPIPE) {
      if (!Append(out, kOverrun, sizeof(kOverrun) - 1, thread)) break;
      total += static_cast<long>(sizeof(kOverrun) - 1);
      continue;
    }
    if (n <= 0) {
      // The same words for both threads, though only one of them reads the kernel log.
      ORBA_LOG_AS(ANDROID_LOG_DEBUG, thread, "read kernel %d error: '%s'", static_cast<int>(n),
                  strerror(errno));
      break;
    }
    bool written = true;
    for (ssize_t off = 0; off < n && written; off += kCaptureChunkSize) {
      const size_t piece = std::min(static_cast<size_t>(n - off), kCaptureChunkSize);
      written = Append(out, buf + off, piece, thread);
    }
    if (!written) break;
    total += n;
  }
  return total;
}

// Every capture thread ends the same way, detached so nobody has to join it.
void* EndCapture(FILE* out, const char* thread) {
  ORBA_LOG_AS(ANDROID_LOG_DEBUG, thread, "Exit");
  if (out != nullptr) {
    fflush(out);
    fclose(out);
  }
  pthread_detach(pthread_self());
  return nullptr;
}

}  // namespace

}  // namespace orba::persist

using namespace orba::persist;

extern "C" void* pthread_logcat(void* /*unused*/) {
  FILE* out = RecreateCaptureFile(kFactoryAdbLog);
  if (out == nullptr) {
    ORBA_LOGD("fopen %s, errno: %s", kFactoryAdbLog, strerror(errno));
    return EndCapture(nullptr, __func__);
  }
  ORBA_LOGD("start logcat");
  LogReaderChild logcat(kLogcatPath);
  if (logcat.fd() < 0) {
    ORBA_LOGD("fopen /system/bin/logcat errno: %s", strerror(errno));
  } else {
    long total = CopyCapped(logcat.fd(), out, kAdbLogCap, kCaptureChunkSize, __func__);
    ORBA_LOGD("size:%d", static_cast<int>(total));
  }
  return EndCapture(out, __func__);
}

extern "C" void* pthread_kmsg(void* /*unused*/) {
  FILE* out = RecreateCaptureFile(kFactoryKernelLog);
  if (out == nullptr) {
    ORBA_LOGD("fopen %s, errno: %s", kFactoryKernelLog, strerror(errno));
    return EndCapture(nullptr, __func__);
  }
  ORBA_LOGD("start record kmsg");
  // Each read of the kernel log device returns one record.
  android::base::unique_fd kmsg(open(DevPath(kKmsgPath), O_RDONLY | O_CLOEXEC));
  if (kmsg.get() < 0) {
    ORBA_LOGD("open %s failed: %s", kKmsgPath, strerror(errno));
  } else {
    long total = CopyCapped(kmsg.get(), out, kKernelLogCap, kKmsgRecordMax, __func__);
    ORBA_LOGD("byteCount: %d", static_cast<int>(total));
  }
  return EndCapture(out, __func__);
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
