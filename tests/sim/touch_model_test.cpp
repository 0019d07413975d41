// The touch model of a running simulated device: a test number written to the driver's test node
// is one test, however the verdict that answers it reads.

#include <gtest/gtest.h>

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <sstream>
#include <string>
#include <vector>

#include <android-base/unique_fd.h>

#include "support/sim_device.h"

namespace orba::test {
namespace {

using android::base::unique_fd;

constexpr char kTestNode[] = "/sys/touchscreen/at_sensor_test";
constexpr char kPopMotor[] = "/sys/class/timed_output/motor/enable";
constexpr char kMotorLog[] = "/data/sim/motor_log";
constexpr char kTouchTests[] = "/data/sim/touch_tests";

// Changes to the files of a few directories, waited for one at a time.
class DirWatch {
 public:
  DirWatch() : fd_(inotify_init1(IN_CLOEXEC)) {}
  void Add(const std::string& host_dir) {
    ASSERT_GE(inotify_add_watch(fd_.get(), host_dir.c_str(), IN_MODIFY | IN_MOVED_TO), 0)
        << host_dir << ": " << strerror(errno);
  }
  // Blocks until any watched file changes.
  bool Next() {
    alignas(inotify_event) char buf[4096];
    ssize_t n = read(fd_.get(), buf, sizeof(buf));
    return n > 0;
  }

 private:
  unique_fd fd_;
};

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

class TouchModelTest : public SimDeviceTest {
 protected:
  void SetUp() override {
    SimDeviceTest::SetUp();
    ASSERT_EQ(Sim({"setprop", "sim.touch.result", "1"}).status, 0);
    ASSERT_EQ(Sim({"setprop", "sim.touch.delay_ms", "20"}).status, 0);
    watch_.Add(HostPath("/sys/touchscreen"));
    watch_.Add(HostPath("/data/sim"));
  }

  // As the library stores a test number: the node opened in place, truncated and written.
  void StoreInPlace(const char* text) {
    unique_fd fd(open(HostPath(kTestNode).c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    ASSERT_GE(fd.get(), 0) << strerror(errno);
    ASSERT_EQ(write(fd.get(), text, strlen(text)), static_cast<ssize_t>(strlen(text)));
  }
  // As a test lays a node: a new file renamed over it.
  void StoreByRename(const char* text) {
    std::string tmp = HostPath("/sys/touchscreen/.at_sensor_test.new");
    WriteDeviceFile("/sys/touchscreen/.at_sensor_test.new", text);
    ASSERT_EQ(rename(tmp.c_str(), HostPath(kTestNode).c_str()), 0) << strerror(errno);
  }

  // The verdict "1" is the model's alone: the tests store three-digit numbers.
  void WaitForVerdict() {
    while (ReadDeviceFile(kTestNode) != "1\n") ASSERT_TRUE(watch_.Next());
  }

  // Every event the model service had queued before this point has been handled once the pop
  // model logs the stop stored here: one service thread takes the events in their order.
  void DrainModelEvents() {
    ++gates_;
    StoreStop();
    for (;;) {
      int stops = 0;
      for (const std::string& l : Lines(ReadDeviceFile(kMotorLog))) {
        if (l.size() > 8 && l.compare(l.size() - 8, 8, " motor 0") == 0) ++stops;
      }
      if (stops >= gates_) return;
      ASSERT_TRUE(watch_.Next());
    }
  }

  std::vector<std::string> RecordedTests() {
    std::vector<std::string> numbers;
    for (const std::string& l : Lines(ReadDeviceFile(kTouchTests))) {
      numbers.push_back(l.substr(l.find(' ') + 1));
    }
    return numbers;
  }

 private:
  void StoreStop() {
    unique_fd fd(open(HostPath(kPopMotor).c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    ASSERT_GE(fd.get(), 0) << strerror(errno);
    ASSERT_EQ(write(fd.get(), "0", 1), 1);
  }

  DirWatch watch_;
  int gates_ = 0;
};

TEST_F(TouchModelTest, AVerdictOfDigitsIsNoNewTest) {
  StoreInPlace("166");
  WaitForVerdict();
  DrainModelEvents();
  EXPECT_EQ(RecordedTests(), std::vector<std::string>{"166"});
  EXPECT_EQ(ReadDeviceFile(kTestNode), "1\n");  // answered once, as a sysfs attribute prints it
}

// The model's own answer is told by its file, not its text: a store into the file of the
// verdict, or a new file in its place, is a test again, even of the same number.
TEST_F(TouchModelTest, EveryStoreAfterTheVerdictIsANewTest) {
  struct Case {
    const char* how;
    bool by_rename;
  };
  const Case cases[] = {{"in place", false}, {"by rename", true}};
  StoreInPlace("166");
  WaitForVerdict();
  size_t expected = 1;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.how);
    if (c.by_rename) {
      StoreByRename("166");
    } else {
      StoreInPlace("166");
    }
    WaitForVerdict();
    DrainModelEvents();
    ++expected;
    EXPECT_EQ(RecordedTests(), std::vector<std::string>(expected, "166"));
  }
}

}  // namespace
}  // namespace orba::test
