// The rotary model driven in this process on a clock of the test's own: commands and ticks at
// chosen times, so what the magnetometer node shows can be checked exactly.

#include <gtest/gtest.h>

#include <math.h>
#include <stdlib.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>

#include "hw_model.h"
#include "rotary_geometry.h"
#include "support/device_root.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

using sim::hw::Clock;
using sim::hw::Store;

constexpr char kEnable[] = "/sys/class/timed_output/motor5/enable";
constexpr char kPeriod[] = "/sys/class/timed_output/motor5/period";
constexpr char kField[] = "/sys/class/orba_hall/ak09970/data";
constexpr char kTruth[] = "/data/sim/rotary_angle";

class RotaryModelTest : public DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    WriteDeviceFile(kPeriod, "100");
    WriteDeviceFile(kEnable, "0");
    model_ = sim::hw::CreateRotaryModel();
    model_->Start(t0_);
  }

  // Stores `command` at `t` and hands it over at once, as a service that keeps up would.
  void Command(const char* command, Clock::time_point t) {
    WriteDeviceFile(kEnable, command);
    model_->OnCommand(kEnable, Store{t, t, command});
    model_->Tick(t);
  }

  double Reading() const {
    double x = 0, y = 0;
    EXPECT_EQ(sscanf(ReadDeviceFile(kField).c_str(), "%lf %lf", &x, &y), 2);
    double a = atan2(y, x) * 180 / sim::hw::kPi;
    return a < 0 ? a + 360 : a;
  }

  const Clock::time_point t0_ = Clock::now();
  std::unique_ptr<sim::hw::HardwareModel> model_;
};

// The library's closing passes read the magnetometer and re-command the motor, over and over,
// faster than the chip measures: a command comes before every measurement. The node must follow
// the module all the same.
TEST_F(RotaryModelTest, ReadingsFollowAModuleReCommandedBeforeEveryMeasurement) {
  const auto pass = std::chrono::microseconds(300);
  Clock::time_point t = t0_;
  for (int i = 0; i < 100; ++i, t += pass) Command("50", t);  // 50 ms up from the stop, anew
  const double truth = atof(ReadDeviceFile(kTruth).c_str());
  EXPECT_NEAR(truth, sim::hw::DegreesPerMs(100) * 99 * 0.3, 0.01);
  // About a millisecond of travel behind (0.09 degrees), within the measurements' blur.
  EXPECT_NEAR(Reading(), truth - 0.09, 0.3);
}

// A tick the host ran late: the reading is the chip's now, not a mean with measurements from
// before the wait.
TEST_F(RotaryModelTest, ReadingAfterALateTickIsTheModuleNow) {
  Command("1000", t0_);
  Clock::time_point late = t0_ + std::chrono::milliseconds(200);
  LogCapture log;
  model_->Tick(late);
  const double truth = atof(ReadDeviceFile(kTruth).c_str());
  EXPECT_NEAR(truth, sim::hw::DegreesPerMs(100) * 200, 0.01);
  EXPECT_NEAR(Reading(), truth - 0.09, 0.3);
  // The wait is said, with its length: the reading stood from the command's measurement on.
  EXPECT_TRUE(log.Has(ANDROID_LOG_WARN,
                      "rotary: the magnetometer reading stood 200.00 ms while the module moved: "
                      "the host did not run the models; publishing the chip's reading now"))
      << log.Dump();
}

// A model that runs when it asked to says nothing, however long the turn.
TEST_F(RotaryModelTest, TicksOnTimeLeaveTheLogQuiet) {
  LogCapture log;
  std::optional<Clock::time_point> next = t0_;
  Command("100", t0_);
  for (int i = 0; i < 1000 && next; ++i) next = model_->Tick(*next);
  EXPECT_FALSE(next.has_value()) << "the module never came to rest";
  EXPECT_EQ(log.Dump(), "");
}

// A stop handed over late halts the module where it was at the store.
TEST_F(RotaryModelTest, StopActsAsOfItsStore) {
  Command("1000", t0_);
  Clock::time_point stored = t0_ + std::chrono::milliseconds(100);
  Clock::time_point seen = stored + std::chrono::milliseconds(50);
  WriteDeviceFile(kEnable, "0");
  model_->OnCommand(kEnable, Store{stored, seen, "0"});
  model_->Tick(seen);
  EXPECT_NEAR(atof(ReadDeviceFile(kTruth).c_str()), sim::hw::DegreesPerMs(100) * 100, 0.01);
}

}  // namespace
}  // namespace orba::test
