// Who closes which sensor object, with the interleavings forced: a close thread that starts
// late, a station opening the sensor right after the frozen-data verdict, a caller whose
// argument slot is reused, and calibration steps ending an object the library still streams to.

#include <pthread.h>
#include <string.h>

#include <atomic>
#include <string>

#include <android/log.h>

#include <orbafactory/sensors.h>

#include "laser_fixture.h"
#include "support/thread_start_gate.h"

namespace orba::test {
namespace {

constexpr const char* kCloseThread = "thread_close_laser_TMF8801";
constexpr int kLimitMs = 10000;

// The frozen-data check on a thread of the test's own, and when it has returned.
class DetectRun {
 public:
  explicit DetectRun(unsigned* seconds) : seconds_(seconds) {}
  bool Start() { return pthread_create(&thread_, nullptr, Body, this) == 0; }
  bool returned() const { return returned_.load(); }

 private:
  static void* Body(void* self) {
    auto* run = static_cast<DetectRun*>(self);
    laser_8801_detect_background_thread(run->seconds_);  // detaches this thread itself
    run->returned_.store(true);
    return nullptr;
  }
  unsigned* seconds_;
  pthread_t thread_{};
  std::atomic<bool> returned_{false};
};

class LaserLifetimeTest : public LaserTest {
 protected:
  void SetUp() override {
    LaserTest::SetUp();
    SetProp("sim.laser.words", "0x002A0150");
    SetProp("sim.laser.period_ms", "5");
  }
  std::string Verdict() { return GetProp("sys.orba.laser_8801_detect_ret"); }
  // The sensor is open and delivering: a reading finds the word the double sends.
  void ExpectStreaming() {
    char out[16] = "untouched";
    EXPECT_EQ(get_laser_data_TMF8801(out, "distance"), 1);
    EXPECT_STREQ(out, "336");
  }
};

TEST_F(LaserLifetimeTest, LateCloseThreadClosesTheObjectItWasAskedToClose) {
  ThreadStartGate gate;
  gate.Hold(kCloseThread);
  ASSERT_EQ(on_off_laser_TMF8801(true), 1);
  ASSERT_EQ(on_off_laser_TMF8801(false), 1);
  ASSERT_TRUE(gate.WaitStarted(1, kLimitMs));
  // The station opens again before the close thread has run.
  ASSERT_EQ(on_off_laser_TMF8801(true), 1);
  gate.Open();
  ASSERT_TRUE(gate.WaitFinished(1, kLimitMs));

  EXPECT_EQ(CountLaserCalls("sensor_laser_8801_deinit"), 1) << "the new object was closed";
  ExpectStreaming();
  EXPECT_EQ(on_off_laser_TMF8801(false), 1);
}

TEST_F(LaserLifetimeTest, DetectionClosesOnlyTheObjectItOpened) {
  ThreadStartGate gate;
  gate.Hold(kCloseThread);
  unsigned seconds = 0;
  DetectRun detect(&seconds);
  ASSERT_TRUE(detect.Start());
  ASSERT_TRUE(WaitUntil([&] { return Verdict() == "success"; }, kLimitMs)) << Verdict();
  // The station opens as soon as it has the verdict; the detection's own close is held back.
  ASSERT_EQ(on_off_laser_TMF8801(true), 1);
  ASSERT_TRUE(WaitUntil([&] { return detect.returned(); }, kLimitMs));
  gate.Open();
  ASSERT_TRUE(gate.WaitFinished(gate.started(), kLimitMs));

  EXPECT_EQ(CountLaserCalls("sensor_laser_8801_deinit"), 1) << "the station's object was closed";
  ExpectStreaming();
  EXPECT_EQ(on_off_laser_TMF8801(false), 1);
}

// Overwrites the detection's argument slot the moment the thread has started (its first log
// line), as a starter that returned and had its stack reused would.
std::atomic<unsigned*> g_slot{nullptr};

void OverwriteSlotOnBegin(const struct __android_logger_data* /*data*/, const char* message) {
  std::string text(message);
  if (text.find("laser_8801_detect_background_thread(): begin.") == std::string::npos) return;
  if (unsigned* slot = g_slot.exchange(nullptr)) *slot = 2;
}

TEST_F(LaserLifetimeTest, DetectionTakesItsArgumentAtEntry) {
  SetProp("sim.laser.words", "");  // a frozen sensor: zero seconds pass, two seconds fail
  unsigned seconds = 0;
  g_slot.store(&seconds);
  const int32_t old_priority = __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
  __android_log_set_logger(OverwriteSlotOnBegin);
  DetectRun detect(&seconds);
  ASSERT_TRUE(detect.Start());
  bool decided = WaitUntil(
      [&] {
        std::string v = Verdict();
        return v == "success" || v == "failed";
      },
      kLimitMs);
  ASSERT_TRUE(WaitUntil([&] { return detect.returned(); }, kLimitMs));
  __android_log_set_logger(__android_log_stderr_logger);
  __android_log_set_minimum_priority(old_priority);
  ASSERT_TRUE(decided);
  EXPECT_EQ(seconds, 2u) << "the slot was never overwritten: the test proved nothing";
  EXPECT_EQ(Verdict(), "success");
}

struct ClockEnd {
  const char* name;
  const char* msg;
  const char* knob;  // null: defaults
  const char* value;
  int ret;
};

class ClockEndTest : public LaserLifetimeTest, public ::testing::WithParamInterface<ClockEnd> {};

// A calibration step that ends the shared object while it streams closes it in the library:
// after it, and a close, nothing is delivered any more.
TEST_P(ClockEndTest, ClosesTheObjectInTheLibrary) {
  const ClockEnd& c = GetParam();
  if (c.knob != nullptr) SetProp(c.knob, c.value);
  ASSERT_EQ(on_off_laser_TMF8801(true), 1);
  ExpectStreaming();
  EXPECT_EQ(clock_cali_TMF8801(c.msg), c.ret);
  EXPECT_EQ(CountLaserCalls("sensor_laser_8801_deinit"), 1);
  EXPECT_EQ(on_off_laser_TMF8801(false), 1);
  char out[16] = "untouched";
  EXPECT_EQ(get_laser_data_TMF8801(out, "distance"), 0) << "still delivering: " << out;
  EXPECT_STREQ(out, "untouched");
}

INSTANTIATE_TEST_SUITE_P(
    Laser, ClockEndTest,
    ::testing::Values(ClockEnd{"Result", "get_result", nullptr, nullptr, 2},
                      ClockEnd{"ResultNotDone", "get_result", "sim.laser.trim_result", "1", 1},
                      ClockEnd{"UnknownStep", "restart", nullptr, nullptr, -1}),
    [](const ::testing::TestParamInfo<ClockEnd>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace orba::test
