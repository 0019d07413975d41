// The camera steps against the simulated device's motor, hall and magnetometer models.

#include <gtest/gtest.h>

#include <math.h>
#include <cutils/properties.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <string>
#include <thread>

#include <android-base/unique_fd.h>

#include <orbafactory/camera.h>

#include "camera_device.h"

namespace orba::test {
namespace {

constexpr char kPopTruth[] = "/data/sim/pop_position";
constexpr char kAngleTruth[] = "/data/sim/rotary_angle";
// A turn is judged within its precision on readings taken while the module still moves, so the
// latency between the last reading and the stop (a loaded machine's scheduling, a sanitizer)
// carries it a little further; the true angle is checked within this, at a step period that
// turns the module at 57 degrees a second.
constexpr double kLandingDeg = 2.0;
constexpr char kLandingPeriod[] = "150";

int EngineerPop(const char* message) {
  char msg[128] = {};
  strncpy(msg, message, sizeof(msg) - 1);
  return atoi(pop_up_camera_by_engineer_interface(msg));
}

int StoreCali(const std::string& text) {
  std::string msg = "set_ratary_camera_cali_data " + text;
  return set_ratary_camera_cali_data(msg.data());
}

TEST_F(CameraDeviceTest, HealthyPopModuleBlocksAfterItsTravel) {
  StartDevice("default");  // fully_auto_pop: the two halls' data nodes, no time limit
  int t = EngineerPop("pop_all 1500 30 1");
  // 800 ms of travel, then four steady readings 30 ms apart.
  EXPECT_GE(t, 800);
  EXPECT_LE(t, 1300);  // room for a loaded machine
  EXPECT_DOUBLE_EQ(Truth(kPopTruth), 1.0);
  EXPECT_EQ(ReadDeviceFile("/sys/class/timed_output/motor/enable"), "0");

  int back = EngineerPop("retract_all 67036 30 1");  // 1500 ms inwards
  EXPECT_GE(back, 800);
  EXPECT_LE(back, 1300);
  EXPECT_DOUBLE_EQ(Truth(kPopTruth), 0.0);
}

TEST_F(CameraDeviceTest, RotaryModulePopsOnItsSingleDataHalls) {
  StartDevice("rotary", {{"sim.motor.travel_ms", "600"}});
  int t = EngineerPop("pop_all 1500 30 2000");
  EXPECT_GE(t, 600);
  EXPECT_LE(t, 1100);
  EXPECT_DOUBLE_EQ(Truth(kPopTruth), 1.0);
}

// The single-hall loop reads into one buffer it clears once, so only the node's line end ends a
// shorter reading after a longer one. The down hall reads four digits in (1000) and three out
// (120): the pop starts once the loop has read the module in, and the readings it settles on
// must be the hall's own at the out stop, not three digits with a stale fourth.
TEST_F(CameraDeviceTest, SingleHallLoopReadsAShorterReadingAfterALongerOne) {
  StartDevice("rotary");
  const std::string hall = "/sys/class/orba_hall/down_hall/single_data";
  ASSERT_EQ(atoi(ReadDeviceFile(hall).c_str()) / 1000, 1);  // in: four digits
  android::base::unique_fd watch(inotify_init1(IN_CLOEXEC));
  ASSERT_GE(watch.get(), 0);
  std::string dir = HostPath(hall.substr(0, hall.rfind('/')));
  ASSERT_GE(inotify_add_watch(watch.get(), dir.c_str(), IN_CLOSE_NOWRITE), 0);
  std::thread starter([&] {
    alignas(inotify_event) char buf[4096];
    for (;;) {
      ssize_t n = read(watch.get(), buf, sizeof(buf));
      if (n <= 0) return;
      for (char* p = buf; p < buf + n;) {
        auto* ev = reinterpret_cast<inotify_event*>(p);
        p += sizeof(inotify_event) + ev->len;
        if (ev->len > 0 && strcmp(ev->name, "single_data") == 0) {
          pop_camera(1500);  // the loop has read the module at rest
          return;
        }
      }
    }
  });
  int t = get_appointted_pop_hall_blocked_time(hall.c_str(), 30, 3000);
  starter.join();
  EXPECT_DOUBLE_EQ(Truth(kPopTruth), 1.0);
  int settled = -1;
  for (const LogLine& l : log_.Lines()) {
    sscanf(l.text.c_str(), "motor is block success, state average: %d", &settled);
  }
  // Out, the down hall reads 120 and flickers by one count.
  EXPECT_GE(settled, 120) << "blocked after " << t << " ms\n" << log_.Dump();
  EXPECT_LE(settled, 121) << "blocked after " << t << " ms\n" << log_.Dump();
}

TEST_F(CameraDeviceTest, StuckModuleSettlesAtOnce) {
  StartDevice("rotary", {{"sim.motor.stuck", "1"}});
  int t = EngineerPop("pop_all 1500 30 2000");
  EXPECT_LT(t, 600);  // short of the 800 ms travel: the halls never moved
  EXPECT_DOUBLE_EQ(Truth(kPopTruth), 0.0);
}

TEST_F(CameraDeviceTest, HalfPopFindsTheMiddleHallPeak) {
  StartDevice("rotary");
  int t = camera_cali_half_pop(1500, 0);
  ASSERT_GT(t, 0) << log_.Dump();  // found before the motor's 1500 ms ran out
  // Stopped soon after half-way, where the middle hall peaks.
  EXPECT_NEAR(Truth(kPopTruth), 0.5, 0.25);
  char value[92] = {};
  property_get("sys.rotary_camera.half_pop_hall_cali_data", value, "");
  int up = 0, middle = 0;
  ASSERT_EQ(sscanf(value, "%d %d", &up, &middle), 2) << value;
  EXPECT_NEAR(middle, 1000, 80);  // the peak, far above the 200 at either end
}

TEST_F(CameraDeviceTest, RotateGoesTheLongWayAroundTheUnreachedAngle) {
  StartDevice("rotary");  // at 120, stop at 300
  WriteDeviceFile("/sys/class/timed_output/motor5/period", kLandingPeriod);
  ASSERT_EQ(StoreCali("set_unreached_angle 300"), 1);
  int t = rotate_to_appointted_angles(2, 10000, 330.0, 0.3);
  ASSERT_GE(t, 0) << log_.Dump();
  EXPECT_TRUE(LogHas("rotate_to_appointted_angles: success!"));
  EXPECT_TRUE(LogHas("positive rotate, and between rotary routeline"));
  EXPECT_NEAR(Truth(kAngleTruth), 330.0, kLandingDeg);
  // 150 degrees down through 0 at 57 degrees a second.
  EXPECT_GT(t, 2000);
}

TEST_F(CameraDeviceTest, FrontAndBackFromTheCalibration) {
  StartDevice("rotary");
  WriteDeviceFile("/sys/class/timed_output/motor5/period", kLandingPeriod);
  ASSERT_EQ(StoreCali("set_unreached_angle 300"), 1);
  ASSERT_EQ(StoreCali("deg0_cali 980 170 -3 30.0"), 1);
  ASSERT_GE(rotate_to_front_camera(2, 10000, 0.3), 0);
  EXPECT_NEAR(Truth(kAngleTruth), 210.0, kLandingDeg);  // found from the 0 degree point
  ASSERT_GE(rotate_to_back_camera(2, 10000, 0.3), 0);
  EXPECT_NEAR(Truth(kAngleTruth), 30.0, kLandingDeg);
  EXPECT_DOUBLE_EQ(get_front_back_camera_angle(1), 30.0);
}

TEST_F(CameraDeviceTest, EndStopsAreTheUnreachedAngle) {
  StartDevice("rotary");
  char msg[] = "rotate_to_maximum_angles negatively";
  int t = rotate_to_max_angles(msg);
  ASSERT_GE(t, 0);
  EXPECT_LT(t, 3700);
  EXPECT_NEAR(Truth(kAngleTruth), 300.0, 0.5);
  EXPECT_NEAR(get_current_avr_angle(), 300.0, 0.5);
}

}  // namespace
}  // namespace orba::test
