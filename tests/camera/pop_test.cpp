// The pop-up module's steps against hand-written nodes.

#include <gtest/gtest.h>

#include <string.h>

#include <string>
#include <vector>

#include <orbafactory/camera.h>

#include "camera_fixture.h"

namespace orba::test {
namespace {

constexpr char kMotor[] = "/sys/class/timed_output/motor/enable";

TEST_F(CameraNodeTest, MotorTypeIsTheWholeFeatureText) {
  struct Case {
    const char* feature;
    int type;
  } cases[] = {
      {"fully_auto_pop", 1},        {"fully_auto_pop_rotate", 2}, {"semi_auto_pop", 3},
      {"fully_manual_pop", 4},      {"fully_manual_pop_v2", 0},   {"pop", 0},
  };
  for (const Case& c : cases) {
    SetFeatures(c.feature);
    EXPECT_EQ(get_camera_motor_type(), c.type) << c.feature;
  }
  WriteDeviceFile("/etc/em_features.xml", "<features>\n</features>\n");
  EXPECT_EQ(get_camera_motor_type(), 0);
}

TEST_F(CameraNodeTest, NewCameraInterfaceByEitherMark) {
  EXPECT_EQ(is_support_new_camera_interface(), 0);
  WriteDeviceFile("/vendor/etc/camera/camera_config.xml", "<config/>");
  EXPECT_EQ(is_support_new_camera_interface(), 1);
  unlink(HostPath("/vendor/etc/camera/camera_config.xml").c_str());
  WriteDeviceFile("/mnt/vendor/nvcfg/camera/rear_camera_main_sn", "41");
  EXPECT_EQ(is_support_new_camera_interface(), 1);
}

TEST_F(CameraNodeTest, MotorCommandsCarryTheDirectionInBit16) {
  ASSERT_EQ(retract_camera(300), 1);
  EXPECT_EQ(Node(kMotor), "65836");
  ASSERT_EQ(pop_camera(300), 1);
  EXPECT_EQ(Node(kMotor), "300");  // nothing left of the longer command before it
  ASSERT_EQ(stop_motor_pop(), 1);
  EXPECT_EQ(Node(kMotor), "0");
  unlink(HostPath(kMotor).c_str());
  EXPECT_EQ(pop_camera(300), 0);  // a driver node is never created
  EXPECT_EQ(stop_motor_pop(), 0);
  EXPECT_EQ(access(HostPath(kMotor).c_str(), F_OK), -1);
}

TEST_F(CameraNodeTest, ParameterPairs) {
  char text[] = "12,-7";
  int a = 0, b = 0;
  EXPECT_EQ(get_parameters(text, &a, &b), 0);
  EXPECT_EQ(a, 12);
  EXPECT_EQ(b, -7);
  char one[] = "5";
  EXPECT_EQ(get_parameters(one, &a, nullptr), 0);
  EXPECT_EQ(a, 5);
  char d[] = "1.5,2.25";
  double x = 0, y = 0;
  EXPECT_EQ(get_parameters_double(d, &x, &y), 0);
  EXPECT_DOUBLE_EQ(x, 1.5);
  EXPECT_DOUBLE_EQ(y, 2.25);
  EXPECT_EQ(get_parameters(nullptr, &a, &b), -1);
  EXPECT_EQ(get_parameters(text, nullptr, &b), -1);
}

TEST_F(CameraNodeTest, CurrentHallReadings) {
  WriteDeviceFile("/sys/class/orba_hall/up_hall/single_data", "812\n");
  WriteDeviceFile("/sys/class/orba_hall/middle_hall/single_data", "-45\n");
  WriteDeviceFile("/sys/class/orba_hall/down_hall/single_data", "230\n");
  struct Case {
    const char* ask;
    const char* answer;
  } cases[] = {{"up_hall", "812"}, {"down_hall", "230"}, {"all", "812 -45 230"}};
  for (const Case& c : cases) {
    char inout[64] = {};
    strcpy(inout, c.ask);
    EXPECT_EQ(get_current_pop_hall_data(inout), 0) << c.ask;
    EXPECT_STREQ(inout, c.answer);
  }
  unlink(HostPath("/sys/class/orba_hall/middle_hall/single_data").c_str());
  char inout[64] = "all";
  EXPECT_EQ(get_current_pop_hall_data(inout), -1);
  EXPECT_STREQ(inout, "all");
  EXPECT_TRUE(log_.Has(ANDROID_LOG_ERROR, "goto error")) << log_.Dump();
}

TEST(BlockRule, IntegerAverageAndTolerance) {
  struct Case {
    std::vector<int> samples;
    int tolerance;  // -1: the default rule
    int blocked;
  } cases[] = {
      {{10, 12, 8, 10}, -1, 1}, {{10, 13, 10, 10}, -1, 0}, {{}, -1, 1},
      {{1, 2}, -1, 1},          {{-3, -1, -2, -4}, -1, 1}, {{10, 15, 10, 10}, 3, 0},
      {{10, 13, 10, 10}, 3, 1}, {{0, 9999, 0, 0}, 2, 0},
  };
  for (const Case& c : cases) {
    int n = static_cast<int>(c.samples.size());
    int got = c.tolerance < 0 ? is_motor_block(c.samples.data(), n)
                              : is_motor_block_precision(c.samples.data(), n, c.tolerance);
    EXPECT_EQ(got, c.blocked) << ::testing::PrintToString(c.samples) << " tol " << c.tolerance;
  }
}

TEST(BlockRule, DoubleAverageAndSuccessLine) {
  LogCapture log;
  double settled[] = {1.0, 1.5, 2.0, 1.5};
  EXPECT_EQ(is_motor_block_double(settled, 4), 1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_INFO, "hall is stable success, hall average: 1.500000"))
      << log.Dump();
  double spread[] = {0.0, 2.1, 1.0, 1.0};  // average 1.025: 2.1 is off by more than 1
  EXPECT_EQ(is_motor_block_double(spread, 4), 0);
  EXPECT_EQ(is_motor_block_double_precision(spread, 4, 1.1), 1);
  EXPECT_EQ(is_motor_block_double_precision(spread, 4, 0.5), 0);
}

TEST(SpeedStable, WindowsAndEndpoints) {
  LogCapture log;
  // 14 samples: a module that has come to rest, a fast one, and one at rest but whose first
  // and last samples lie a unit apart.
  std::vector<double> rest(14, 120.0);
  std::vector<double> moving;
  for (int i = 0; i < 14; ++i) moving.push_back(100.0 + 5 * i);
  std::vector<double> drifted(14, 50.0);
  drifted[13] = 51.0;
  struct Case {
    const std::vector<double>* positions;
    int avr, begin, end;
    double speed;
    int stable;
  } cases[] = {
      {&rest, 4, 1, 11, 10.0, 1},    {&moving, 4, 1, 11, 10.0, 0},
      {&moving, 4, 1, 11, 1000, 0},  // fast enough, but first and last far apart
      {&drifted, 4, 1, 11, 1000, 0}, {&rest, 0, 1, 11, 10.0, 0},
      {&rest, 4, 11, 1, 10.0, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(is_speed_stable(c.positions->data(), 14, c.avr, c.begin, c.end, 0.02, c.speed),
              c.stable)
        << "avr " << c.avr << " begin " << c.begin << " end " << c.end;
  }
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "para error")) << log.Dump();
}

TEST_F(CameraNodeTest, MultiHallBlockedTimeWithoutTimeoutOnlyStops) {
  WriteDeviceFile(kMotor, "800");
  const char* halls[] = {"/sys/class/orba_hall/up_hall/single_data"};
  EXPECT_EQ(get_appointted_pop_halls_blocked_time(halls, 1, 10, -1), 0);
  EXPECT_EQ(Node(kMotor), "0");
  for (const LogLine& l : log_.Lines()) EXPECT_EQ(l.text.find("sample["), std::string::npos);
}

TEST_F(CameraNodeTest, MultiHallBlockedTimeOnSettledHalls) {
  WriteDeviceFile("/sys/class/orba_hall/up_hall/single_data", "900");
  const char* halls[] = {"/sys/class/orba_hall/up_hall/single_data",
                         "/sys/class/orba_hall/missing/single_data"};
  WriteDeviceFile(kMotor, "800");
  // A missing hall reads as 999, steady too: both settle in the fourth pass.
  int t = get_appointted_pop_halls_blocked_time(halls, 2, 5, 5000);
  EXPECT_GE(t, 20);
  EXPECT_LT(t, 2000);
  EXPECT_TRUE(log_.Has(ANDROID_LOG_DEBUG, "all halls are blocked!!")) << log_.Dump();
  EXPECT_TRUE(log_.Has(ANDROID_LOG_DEBUG, "sample[1][0] = 999")) << log_.Dump();
  EXPECT_EQ(Node(kMotor), "0");
}

TEST_F(CameraNodeTest, SingleHallBlockedTimeCountsIntervalsAndStopsThroughTheHall) {
  const char* hall = "/sys/class/orba_hall/up_hall/data";
  WriteDeviceFile(hall, "512");
  WriteDeviceFile(kMotor, "800");
  EXPECT_EQ(get_appointted_pop_hall_blocked_time(hall, 5, 1000), 20);  // four passes
  EXPECT_TRUE(log_.Has(ANDROID_LOG_DEBUG, "hall is already stable!")) << log_.Dump();
  EXPECT_EQ(Node(hall), "0");
  EXPECT_EQ(Node(kMotor), "800");  // the motor node is left alone
  EXPECT_EQ(get_appointted_pop_hall_blocked_time(hall, 5, -1), 0);
}

TEST_F(CameraNodeTest, EngineerPopRefusesBadMessages) {
  SetFeatures("fully_auto_pop_rotate");
  const char* bad[] = {"pop_all 300 10", "spin 300 10 100", ""};
  for (const char* m : bad) {
    char msg[64] = {};
    strcpy(msg, m);
    EXPECT_STREQ(pop_up_camera_by_engineer_interface(msg), "-1") << m;
  }
  EXPECT_EQ(Node(kMotor), "0");
  SetFeatures("semi_auto_pop");
  char msg[] = "pop_all 300 10 100";
  EXPECT_STREQ(pop_up_camera_by_engineer_interface(msg), "-1");
  EXPECT_EQ(Node(kMotor), "300");  // written before the type is asked
}

TEST_F(CameraNodeTest, SystemPopByMotorType) {
  SetFeatures("semi_auto_pop");
  EXPECT_STREQ(pop_up_camera_by_system_interface("pop"), "-1#0");
  SetFeatures("fully_auto_pop_rotate");
  EXPECT_STREQ(pop_up_camera_by_system_interface("pop"), "-1#0");  // an empty answer
}

}  // namespace
}  // namespace orba::test
