// The rotary model when the host does not run it in time: the model process is held stopped
// (SIGSTOP) while the library acts, as a loaded machine holds it, and let go afterwards.

#include <gtest/gtest.h>

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/inotify.h>
#include <sys/time.h>
#include <unistd.h>

#include <string>
#include <thread>

#include <android-base/unique_fd.h>

#include <orbafactory/camera.h>

#include "camera_device.h"

namespace orba::test {
namespace {

using android::base::unique_fd;

constexpr char kAngleTruth[] = "/data/sim/rotary_angle";
constexpr char kStops[] = "/data/sim/rotary_stops";
constexpr double kDegPerMs = 1.8e7 / (100.0 * 2112) / 1000;  // period 100
// How long the host keeps the model from running. The module covers 17 degrees meanwhile: a
// model that acts when it is let run, not as of the store, is far off.
constexpr useconds_t kStallUs = 200000;

long long WallUs() {
  timeval tv{};
  gettimeofday(&tv, nullptr);
  return static_cast<long long>(tv.tv_sec) * 1000000 + tv.tv_usec;
}

char ProcessState(pid_t pid) {
  char path[64];
  snprintf(path, sizeof(path), "/proc/%d/stat", static_cast<int>(pid));
  std::string stat;
  unique_fd fd(open(path, O_RDONLY | O_CLOEXEC));
  char buf[512];
  ssize_t n = fd.get() >= 0 ? read(fd.get(), buf, sizeof(buf)) : -1;
  if (n > 0) stat.assign(buf, static_cast<size_t>(n));
  size_t paren = stat.rfind(')');
  return paren != std::string::npos && paren + 2 < stat.size() ? stat[paren + 2] : '?';
}

class RotaryModelTimingTest : public CameraDeviceTest {
 protected:
  void SetUp() override {
    CameraDeviceTest::SetUp();
    StartDevice("rotary");  // at 120, stop at 300
    WriteDeviceFile("/sys/class/timed_output/motor5/period", "100");
    models_ = atoi(ReadDeviceFile("/data/sim/run/orba-hw-models.pid").c_str());
    ASSERT_GT(models_, 0);
    watch_.reset(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    ASSERT_GE(watch_.get(), 0);
    ASSERT_GE(inotify_add_watch(watch_.get(), HostPath("/data/sim").c_str(),
                                IN_MODIFY | IN_MOVED_TO),
              0);
    ASSERT_GE(inotify_add_watch(watch_.get(), HostPath("/sys/class/orba_hall/ak09970").c_str(),
                                IN_MOVED_TO),
              0);
  }
  void TearDown() override {
    if (frozen_) Thaw();
    CameraDeviceTest::TearDown();
  }

  // Blocks until the next change in a watched directory; true if `name` was among them.
  bool NextChange(const char* name) {
    pollfd p{watch_.get(), POLLIN, 0};
    if (poll(&p, 1, -1) != 1) return false;
    bool named = false;
    alignas(inotify_event) char buf[4096];
    for (ssize_t n; (n = read(watch_.get(), buf, sizeof(buf))) > 0;) {
      for (char* at = buf; at < buf + n;) {
        auto* ev = reinterpret_cast<inotify_event*>(at);
        at += sizeof(inotify_event) + ev->len;
        if (ev->len > 0 && strcmp(ev->name, name) == 0) named = true;
      }
    }
    return named;
  }

  // Turns the module up from 120 and returns once it is on its way.
  void StartLongTurn() {
    ASSERT_EQ(neg_rotate_camera(3000), 1);
    while (Truth(kAngleTruth) < 125) NextChange("rotary_angle");
  }

  void Freeze() {
    ASSERT_EQ(kill(models_, SIGSTOP), 0);
    frozen_ = true;
    while (ProcessState(models_) != 'T') sched_yield();
    // What the model did before it stopped is no change to wait for.
    alignas(inotify_event) char buf[4096];
    while (read(watch_.get(), buf, sizeof(buf)) > 0) {
    }
  }
  void Thaw() {
    kill(models_, SIGCONT);
    frozen_ = false;
  }

  pid_t models_ = -1;
  bool frozen_ = false;
  unique_fd watch_;
};

TEST_F(RotaryModelTimingTest, StopStoredWhileTheModelWaitsHaltsTheModuleAtTheStore) {
  StartLongTurn();
  Freeze();
  const double before = Truth(kAngleTruth);
  long long stored_from = WallUs();
  ASSERT_EQ(stop_motor_rotate(), 1);
  long long stored_by = WallUs();
  usleep(kStallUs);
  Thaw();
  // The model handles commands one after the other, logging each as it takes it: once a period
  // stored after the stop is logged, the stop is done with.
  WriteDeviceFile("/sys/class/timed_output/motor5/period", "101");
  while (ReadDeviceFile("/data/sim/motor_log").find(" period 101\n") == std::string::npos) {
    NextChange("motor_log");
  }

  const double after = Truth(kAngleTruth);
  EXPECT_LT(after - before, kDegPerMs * kStallUs / 1000 / 2)
      << "from " << before << " to " << after;
  long long halt_us = 0;
  char state[16] = {};
  ASSERT_EQ(sscanf(ReadDeviceFile(kStops).c_str(), "%lld %15s", &halt_us, state), 2);
  EXPECT_STREQ(state, "moving");
  // Halted as of the store (its time stamp may fall a clock tick early), not when let run.
  EXPECT_GE(halt_us, stored_from - 10000);
  EXPECT_LE(halt_us, stored_by + 1000) << "halted " << (halt_us - stored_by) / 1000.0
                                       << " ms after the store";
  EXPECT_NE(ReadDeviceFile("/data/sim/logcat")
                .find("took the store to /sys/class/timed_output/motor5/enable"),
            std::string::npos);
}

// Whether this host lets a process of this user take the real-time class: tried on a thread of
// the test's own, which ends with it.
bool HostGrantsRealTime() {
  bool granted = false;
  std::thread probe([&granted] {
    sched_param param{};
    param.sched_priority = sched_get_priority_min(SCHED_FIFO);
    granted = pthread_setschedparam(pthread_self(), SCHED_FIFO, &param) == 0;
  });
  probe.join();
  return granted;
}

// The models stand for hardware that does not wait for a busy CPU: where the host grants it,
// they run ahead of every ordinary process, and say which way it went.
TEST_F(RotaryModelTimingTest, ModelsRunInTheRealTimeClassWhereTheHostGrantsIt) {
  const bool granted = HostGrantsRealTime();
  const int policy = sched_getscheduler(models_);
  ASSERT_GE(policy, 0) << strerror(errno);
  EXPECT_EQ(policy & ~SCHED_RESET_ON_FORK, granted ? SCHED_FIFO : SCHED_OTHER);
  EXPECT_NE(ReadDeviceFile("/data/sim/logcat")
                .find(granted ? "running in the real-time class"
                              : "no real-time class for the models"),
            std::string::npos);
}

TEST_F(RotaryModelTimingTest, FirstReadingAfterTheWaitIsTheModuleNow) {
  StartLongTurn();
  Freeze();
  const double before = Truth(kAngleTruth);
  usleep(kStallUs);
  Thaw();
  // A publish after the wait: the module has moved on (the reading is replaced just before).
  double from = before;
  while ((from = Truth(kAngleTruth)) < before + kDegPerMs * kStallUs / 1000 / 2) {
    NextChange("rotary_angle");
  }
  double reading = get_current_angle();
  double to = Truth(kAngleTruth);
  // The chip's averaging keeps a reading about a millisecond behind the module; a reading
  // averaged with measurements from before the wait is degrees behind.
  EXPECT_GE(reading, from - 1.0) << "module from " << from << " to " << to;
  EXPECT_LE(reading, to + 1.0) << "module from " << from << " to " << to;
}

}  // namespace
}  // namespace orba::test
