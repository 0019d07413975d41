// The kernel-log reader against a stand-in device that answers the way /dev/kmsg does when
// things go wrong: interrupted reads, an overrun (EPIPE), and a record longer than a small
// buffer (EINVAL unless the buffer holds it whole). This binary defines read() itself, so the
// library's reads of the stand-in come here; every other read goes to the kernel.

#include <errno.h>
#include <pthread.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <orbafactory/persist.h>

#include "support/device_root.h"
#include "support/log_capture.h"

namespace {

// What the stand-in answers, read by read: a record, or an error.
struct Answer {
  int error;
  std::string record;
};

std::atomic<bool> g_armed{false};
dev_t g_dev;
ino_t g_ino;
std::vector<Answer> g_script;
size_t g_next = 0;

ssize_t StandInRead(void* buf, size_t count) {
  if (g_next == g_script.size()) return 0;  // the end of the script ends the capture
  const Answer& a = g_script[g_next];
  if (a.error != 0) {
    ++g_next;
    errno = a.error;
    return -1;
  }
  if (count < a.record.size()) {
    errno = EINVAL;  // the record stays, as the kernel keeps it for a larger read
    return -1;
  }
  ++g_next;
  memcpy(buf, a.record.data(), a.record.size());
  return static_cast<ssize_t>(a.record.size());
}

}  // namespace

extern "C" __attribute__((visibility("default"))) ssize_t read(int fd, void* buf, size_t count) {
  struct stat st;
  if (g_armed.load() && fstat(fd, &st) == 0 && st.st_dev == g_dev && st.st_ino == g_ino) {
    return StandInRead(buf, count);
  }
  return syscall(SYS_read, fd, buf, count);
}

namespace orba::test {
namespace {

constexpr const char kKernelLog[] = "/data/vendor/engineermode/last_factory_kernel.log";

class KmsgReaderTest : public DeviceRootTest {
 protected:
  void TearDown() override {
    g_armed = false;
    DeviceRootTest::TearDown();
  }
};

TEST_F(KmsgReaderTest, InterruptionsOverrunsAndLongRecordsDoNotEndTheCapture) {
  WriteDeviceFile("/data/vendor/engineermode/.keep", "");
  WriteDeviceFile("/dev/kmsg", "");
  struct stat st;
  ASSERT_EQ(stat(HostPath("/dev/kmsg").c_str(), &st), 0);
  g_dev = st.st_dev;
  g_ino = st.st_ino;
  const std::string long_record = "6,2,300,-;" + std::string(3000, 'L') + "\n";
  g_script = {
      {EINTR, ""},
      {0, "6,0,100,-;first\n"},
      {EPIPE, ""},
      {0, long_record},
      {EINTR, ""},
      {0, "6,3,400,-;last\n"},
  };
  g_next = 0;
  g_armed = true;

  LogCapture log;
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, nullptr, pthread_kmsg, nullptr), 0);
  // The entry detaches itself; its end shows in the log.
  for (int i = 0; i < 6000 && !log.Has(ANDROID_LOG_DEBUG, "Exit"); ++i) usleep(10000);
  ASSERT_TRUE(log.Has(ANDROID_LOG_DEBUG, "Exit")) << log.Dump();
  g_armed = false;

  const std::string text = ReadDeviceFile(kKernelLog);
  const size_t first = text.find("first\n");
  const size_t lost = text.find("records were lost");
  const size_t whole = text.find(long_record);
  const size_t last = text.find("6,3,400,-;last\n");
  ASSERT_NE(first, std::string::npos) << text.substr(0, 200);
  ASSERT_NE(lost, std::string::npos) << text.substr(0, 200);
  ASSERT_NE(whole, std::string::npos) << text.substr(0, 200);
  ASSERT_NE(last, std::string::npos) << text.substr(0, 200);
  EXPECT_LT(first, lost);
  EXPECT_LT(lost, whole);
  EXPECT_LT(whole, last);
  EXPECT_EQ(g_next, g_script.size());
}

}  // namespace
}  // namespace orba::test
