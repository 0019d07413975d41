// The capture threads: what reaches the files, where they stop, and that they detach.

#include <dirent.h>
#include <errno.h>
#include <stdlib.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <future>
#include <iterator>
#include <string>
#include <thread>

#include <orbafactory/persist.h>

#include "support/device_root.h"
#include "support/log_capture.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

constexpr const char kAdbLog[] = "/data/vendor/engineermode/last_factory_adb.log";
constexpr const char kKernelLog[] = "/data/vendor/engineermode/last_factory_kernel.log";

// Runs a capture entry on a thread of its own and reports, once the entry has returned, whether
// the thread had detached itself by then.
class CaptureRun {
 public:
  explicit CaptureRun(void* (*entry)(void*)) {
    // The thread owns its half, so nothing it touches goes away under it.
    auto* shared = new Shared{entry, {}};
    result_ = shared->state.get_future();
    pthread_t thread;
    EXPECT_EQ(pthread_create(&thread, nullptr, &CaptureRun::Body, shared), 0);
  }
  // PTHREAD_CREATE_DETACHED or _JOINABLE; -1 when the entry did not return within a minute
  // (a hang guard, not a speed check).
  int Wait() {
    return result_.wait_for(std::chrono::seconds(60)) == std::future_status::ready ? result_.get()
                                                                                   : -1;
  }

 private:
  struct Shared {
    void* (*entry)(void*);
    std::promise<int> state;
  };

  static void* Body(void* arg) {
    auto* shared = static_cast<Shared*>(arg);
    shared->entry(nullptr);
    pthread_attr_t attr;
    int state = -1;
    if (pthread_getattr_np(pthread_self(), &attr) == 0) {
      pthread_attr_getdetachstate(&attr, &state);
      pthread_attr_destroy(&attr);
    }
    shared->state.set_value(state);
    delete shared;
    return nullptr;
  }

  std::future<int> result_;
};

class LogCaptureTest : public DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    WriteDeviceFile("/data/vendor/engineermode/.keep", "");
    WriteDeviceFile("/dev/.keep", "");
  }
  // A logcat that prints `text` and ends, unlike the device's own, which follows the log.
  void ShortLogcat(const std::string& text) {
    WriteDeviceFile("/data/sim/logcat.txt", text);
    WriteDeviceFile("/system/bin/logcat",
                    "#!/bin/sh\nexec cat '" + HostPath("/data/sim/logcat.txt") + "'\n");
    chmod(HostPath("/system/bin/logcat").c_str(), 0755);
  }
  off_t SizeOf(const char* device_path) {
    struct stat st;
    return stat(HostPath(device_path).c_str(), &st) == 0 ? st.st_size : -1;
  }
};

std::string Pattern(size_t size) {
  std::string s(size, '\0');
  for (size_t i = 0; i < size; ++i) s[i] = static_cast<char>('a' + (i * 7 + i / 1000) % 26);
  return s;
}

TEST_F(LogCaptureTest, CopiesTheWholeInputAndDetaches) {
  struct {
    const char* name;
    void* (*entry)(void*);
    const char* out;
    size_t size;
  } const cases[] = {
      {"logcat", pthread_logcat, kAdbLog, 0},
      {"logcat", pthread_logcat, kAdbLog, 1},
      {"logcat", pthread_logcat, kAdbLog, 300000},
      {"kmsg", pthread_kmsg, kKernelLog, 1023},
      {"kmsg", pthread_kmsg, kKernelLog, 250001},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.name) + " " + std::to_string(c.size));
    std::string text = Pattern(c.size);
    ShortLogcat(text);
    WriteDeviceFile("/dev/kmsg", text);
    WriteDeviceFile(c.out, "an older capture that must go\n");
    CaptureRun run(c.entry);
    EXPECT_EQ(run.Wait(), PTHREAD_CREATE_DETACHED);
    EXPECT_EQ(ReadDeviceFile(c.out), text);
  }
}

TEST_F(LogCaptureTest, KernelRecordsFromADeviceNode) {
  ASSERT_EQ(mkfifo(HostPath("/dev/kmsg").c_str(), 0600), 0);
  CaptureRun run(pthread_kmsg);
  std::string expected;
  {
    int fd = open(HostPath("/dev/kmsg").c_str(), O_WRONLY);
    ASSERT_GE(fd, 0);
    for (int i = 0; i < 200; ++i) {
      std::string record = "6," + std::to_string(i) + ",1000,-;record " + std::to_string(i) + "\n";
      ASSERT_EQ(write(fd, record.data(), record.size()), static_cast<ssize_t>(record.size()));
      expected += record;
    }
    close(fd);
  }
  EXPECT_EQ(run.Wait(), PTHREAD_CREATE_DETACHED);
  EXPECT_EQ(ReadDeviceFile(kKernelLog), expected);
}

TEST_F(LogCaptureTest, KernelCaptureStopsAtItsCap) {
  // A regular file reads in whole chunks, so the cut lands exactly on the cap.
  WriteDeviceFile("/dev/kmsg", Pattern(10485760 + 5000));
  LogCapture log;
  CaptureRun run(pthread_kmsg);
  EXPECT_EQ(run.Wait(), PTHREAD_CREATE_DETACHED);
  EXPECT_EQ(SizeOf(kKernelLog), 10485760);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "byteCount: 10485760")) << log.Dump();
}

TEST_F(LogCaptureTest, LogcatCaptureStopsAtItsCapAndEndsTheFollowingReader) {
  // The simulated device's own logcat: init wants an empty root.
  ASSERT_EQ(system(("rm -rf '" + root() + "'/*").c_str()), 0);
  auto init = RunProgram({BinPath("orbafactory-sim"), "init", "--root", root()});
  ASSERT_EQ(init.status, 0) << init.err;
  // The device's logcat prints the log and then follows it, so only the cap ends this capture.
  WriteDeviceFile("/data/sim/logcat", Pattern(20971520 + 300000));
  CaptureRun run(pthread_logcat);
  EXPECT_EQ(run.Wait(), PTHREAD_CREATE_DETACHED);
  off_t size = SizeOf(kAdbLog);
  EXPECT_GE(size, 20971520);
  EXPECT_LT(size, 20971520 + 1024);
  EXPECT_EQ(ReadDeviceFile(kAdbLog), Pattern(20971520 + 300000).substr(0, size));
  // The reader child was stopped and reaped: this process has no child left.
  errno = 0;
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);
}

// Processes whose command line mentions `text`; with `stop`, they are also sent SIGTERM (the
// text names this test's own device root, so only what the test started is stopped).
int ProcessesMentioning(const std::string& text, bool stop = false) {
  int n = 0;
  DIR* proc = opendir("/proc");
  if (proc == nullptr) return -1;
  while (dirent* e = readdir(proc)) {
    if (e->d_name[0] < '0' || e->d_name[0] > '9') continue;
    std::ifstream in(std::string("/proc/") + e->d_name + "/cmdline", std::ios::binary);
    std::string cmdline((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (cmdline.find(text) == std::string::npos) continue;
    ++n;
    pid_t pid = static_cast<pid_t>(atoi(e->d_name));
    if (stop && pid > 1) kill(pid, SIGTERM);
  }
  closedir(proc);
  return n;
}

TEST_F(LogCaptureTest, TheReaderEndsWithAProcessKilledMidCapture) {
  // A reader that, like the phone's logcat, waits for more log without noticing that nobody
  // reads its output any more. Its program path names this device root, to find it afterwards.
  const std::string follower = HostPath("/system/bin/logcat-follower");
  WriteDeviceFile("/system/bin/.keep", "");
  ASSERT_EQ(symlink("/bin/sleep", follower.c_str()), 0);
  WriteDeviceFile("/system/bin/logcat",
                  "#!/bin/sh\necho first line\nexec '" + follower + "' 60\n");
  chmod(HostPath("/system/bin/logcat").c_str(), 0755);
  const std::string capture = HostPath(kAdbLog);
  pid_t daemon = StartChild([&] {
    if (open_factory_log() != 0) return 1;
    for (int i = 0; i < 1000; ++i) {
      struct stat st;
      if (stat(capture.c_str(), &st) == 0 && st.st_size > 0) raise(SIGKILL);
      usleep(10000);
    }
    return 2;
  });
  EXPECT_EQ(WaitChild(daemon), -1);  // killed, as planned, once the capture had data
  EXPECT_EQ(ReadDeviceFile(kAdbLog), "first line\n");
  int left = -1;
  for (int i = 0; i < 500 && (left = ProcessesMentioning(follower)) != 0; ++i) usleep(10000);
  EXPECT_EQ(left, 0);
  if (left != 0) ProcessesMentioning(follower, true);
}

TEST_F(LogCaptureTest, FailuresAreLoggedAndTheThreadStillDetaches) {
  LogCapture log;
  // No kernel log device: the fresh file stays empty.
  CaptureRun kmsg(pthread_kmsg);
  EXPECT_EQ(kmsg.Wait(), PTHREAD_CREATE_DETACHED);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "open /dev/kmsg failed: No such file or directory"))
      << log.Dump();
  EXPECT_EQ(SizeOf(kKernelLog), 0);

  // No directory for the capture file.
  ASSERT_EQ(system(("rm -rf '" + HostPath("/data/vendor/engineermode") + "'").c_str()), 0);
  CaptureRun logcat(pthread_logcat);
  EXPECT_EQ(logcat.Wait(), PTHREAD_CREATE_DETACHED);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, std::string("fopen ") + kAdbLog +
                                             ", errno: No such file or directory"));
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "Exit"));
}

TEST_F(LogCaptureTest, OpenFactoryLogStartsBothCaptures) {
  ShortLogcat("logcat line 1\nlogcat line 2\n");
  WriteDeviceFile("/dev/kmsg", "6,1,1,-;kernel line\n");
  LogCapture log;
  ASSERT_EQ(open_factory_log(), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_INFO, "start"));
  // Both threads end at the end of their input; wait for their last words.
  for (int i = 0; i < 6000; ++i) {
    int exits = 0;
    for (const LogLine& line : log.Lines()) exits += line.text == "Exit" ? 1 : 0;
    if (exits == 2) break;
    usleep(10000);
  }
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "size:28")) << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "byteCount: 20"));
  EXPECT_EQ(ReadDeviceFile(kAdbLog), "logcat line 1\nlogcat line 2\n");
  EXPECT_EQ(ReadDeviceFile(kKernelLog), "6,1,1,-;kernel line\n");
}

}  // namespace
}  // namespace orba::test
