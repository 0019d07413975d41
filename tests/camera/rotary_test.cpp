// The rotary module's arithmetic, queries and calibration store against hand-written nodes.

#include <gtest/gtest.h>

#include <string.h>
#include <sys/system_properties.h>

#include <string>

#include <orbafactory/camera.h>
#include <orbafactory/persist.h>

#include "camera_fixture.h"

namespace orba::test {
namespace {

constexpr char kField[] = "/sys/class/orba_hall/ak09970/data";
constexpr char kRotary[] = "/sys/class/timed_output/motor5/enable";
constexpr char kPeriod[] = "/sys/class/timed_output/motor5/period";

std::string Prop(const char* name) {
  char value[PROP_VALUE_MAX] = {};
  __system_property_get(name, value);
  return value;
}

TEST_F(CameraNodeTest, AngleFromTheField) {
  struct Case {
    const char* reading;
    double angle;
  } cases[] = {
      {"0 -5 3", 270.0}, {"-5 0 3", 180.0}, {"1000 0 0", 0.0},
      {"0 1000 7", 90.0}, {"707 707 0", 45.0}, {"", 0.0},
  };
  for (const Case& c : cases) {
    WriteDeviceFile(kField, c.reading);
    EXPECT_NEAR(get_current_angle(), c.angle, 1e-6) << c.reading;
  }
  WriteDeviceFile(kField, "0 -5 3");
  EXPECT_NEAR(get_current_avr_angle(), 270.0, 1e-6);
}

TEST(RotaryArithmetic, RotatedAngleByDirection) {
  struct Case {
    int direction;
    double start, end, rotated;
  } cases[] = {
      {1, 30, 100, 290}, {1, 100, 30, 70}, {0, 30, 100, 70},
      {0, 100, 30, 290}, {3, 10, 10, 0},   {2, 10, 10, 360},
  };
  for (const Case& c : cases) {
    EXPECT_DOUBLE_EQ(calculate_rotated_angles(c.direction, c.start, c.end), c.rotated)
        << c.direction << " " << c.start << "->" << c.end;
  }
}

TEST_F(CameraNodeTest, SpeedAndTimeFromThePeriod) {
  struct Case {
    int speed;
    const char* period;
  } cases[] = {{0, "0"}, {10, "852"}, {170, "50"}, {-10, "-852"}};
  for (const Case& c : cases) {
    ASSERT_EQ(set_rotary_speed(c.speed), 1);
    EXPECT_EQ(Node(kPeriod), c.period) << c.speed;
  }
  WriteDeviceFile(kPeriod, "50");
  EXPECT_EQ(get_rotary_time_need(360), 2112);
  EXPECT_EQ(get_rotary_time_need(1), 5);  // 5.87, cut
  unlink(HostPath(kPeriod).c_str());
  EXPECT_EQ(get_rotary_time_need(360), 0);
  EXPECT_EQ(set_rotary_speed(10), 0);
}

TEST_F(CameraNodeTest, RotaryMotorCommands) {
  ASSERT_EQ(pos_rotate_camera(100), 1);
  EXPECT_EQ(Node(kRotary), "65636");
  ASSERT_EQ(neg_rotate_camera(100), 1);
  EXPECT_EQ(Node(kRotary), "100");
  ASSERT_EQ(stop_motor_rotate(), 1);
  EXPECT_EQ(Node(kRotary), "0");
}

TEST_F(CameraNodeTest, MagnetometerAxes) {
  WriteDeviceFile(kField, "-12 340 56");
  struct Case {
    const char* ask;
    int ret;
    const char* text;  // what inout holds afterwards
  } cases[] = {
      {"x_axis", 0, "-12"},     {"z_axis", 0, "56"},         {"y_axis_int", 340, "y_axis_int"},
      {"x_axis_int", -12, "x_axis_int"}, {"whole", 0, "-12 340 56"},
  };
  for (const Case& c : cases) {
    char inout[64] = {};
    strcpy(inout, c.ask);
    EXPECT_EQ(get_current_rotary_hall_data(inout), c.ret) << c.ask;
    EXPECT_STREQ(inout, c.text) << c.ask;
  }
  WriteDeviceFile(kField, "-12 340");
  char z[64] = "z_axis_int";
  EXPECT_EQ(get_current_rotary_hall_data(z), -99999);
  WriteDeviceFile(kField, "");
  char x[64] = "x_axis";
  EXPECT_EQ(get_current_rotary_hall_data(x), -99999);
}

TEST_F(CameraNodeTest, TuningFromFeatures) {
  SetFeatures("fully_auto_pop_rotate",
              "    <feature name=\"rotary_motor_parameters\">popTime[650];rotaryInterval[3];"
              "anglePrecision[0.5,9]</feature>\n"
              "    <feature name=\"rotary_motor_rotary_scope\">max_rotary_angle[12.5,347.5];"
              "deg_0_x[1,2];deg_0_z[5,6];deg_180_y[7,8]</feature>\n"
              "    <feature name=\"rotary_motor_pop_scope\">pop_up[900,1010]</feature>\n");
  RotaryUtil util;
  memset(&util, 0x5A, sizeof(util));
  init_rotary_util(&util);
  EXPECT_EQ(util.pop_time, 650);
  EXPECT_EQ(util.push_time, 800);  // default kept
  EXPECT_EQ(util.rotary_interval, 3);
  EXPECT_EQ(util.rotary_timeout, 3000);
  EXPECT_DOUBLE_EQ(util.angle_precision, 0.5);
  EXPECT_DOUBLE_EQ(util.max_rotary_angle[1], 347.5);
  EXPECT_EQ(util.deg_0_x[0], 5);  // deg_0_z lands here
  EXPECT_EQ(util.deg_0_z[0], 0);
  EXPECT_EQ(util.deg_180_y[1], 8);
  EXPECT_EQ(util.pop_up[0], 900);
  EXPECT_EQ(util.pop_half_up[0], 180);
  EXPECT_EQ(util.pop_half_up[1], 360);
}

TEST_F(CameraNodeTest, CalibrationPointsMustLieApart) {
  struct Case {
    const char* stored_180;  // "" for none
    bool accepted;
  } cases[] = {{"", true}, {"9 9 9 180", true}, {"9 9 9 45", false}, {"9 9 9", true}};
  for (const Case& c : cases) {
    SetProperty("sys.rotary_camera.cali_deg180", c.stored_180);
    SetProperty("sys.rotary_camera.cali_deg0", "");
    char msg[] = "set_ratary_camera_cali_data deg0_cali 1 2 3 10";
    EXPECT_EQ(set_ratary_camera_cali_data(msg), c.accepted ? 1 : 0) << c.stored_180;
    EXPECT_EQ(Prop("sys.rotary_camera.cali_deg0"), c.accepted ? "1 2 3 10" : "");
  }
  EXPECT_TRUE(log_.Has(ANDROID_LOG_ERROR, "angle_180=45.00, angle_0=10.00, error:out of scope!!"))
      << log_.Dump();
}

TEST_F(CameraNodeTest, CalibrationGoesToRecordPropertiesAndDriver) {
  char deg180[] = "set_ratary_camera_cali_data deg180_cali 11 22 33 210.5";
  ASSERT_EQ(set_ratary_camera_cali_data(deg180), 1) << log_.Dump();
  char half[] = "set_ratary_camera_cali_data half_pop_hall_cali_data 560 980";
  ASSERT_EQ(set_ratary_camera_cali_data(half), 1);
  char unreached[] = "set_ratary_camera_cali_data set_unreached_angle 300.25";
  ASSERT_EQ(set_ratary_camera_cali_data(unreached), 1);
  char again[] = "set_ratary_camera_cali_data half_pop_hall_cali_data 561 981";
  ASSERT_EQ(set_ratary_camera_cali_data(again), 1);

  uint8_t record[XOLE_NV_ITEM_SIZE] = {};
  ASSERT_EQ(get_XOLE_NV_item(record), 0);
  EXPECT_STREQ(reinterpret_cast<char*>(record + 868), "11 22 33 210.5");
  EXPECT_STREQ(reinterpret_cast<char*>(record + 932), "561 981");
  float u = 0;
  memcpy(&u, record + 800, sizeof(u));
  EXPECT_FLOAT_EQ(u, 300.25f);

  EXPECT_EQ(Prop("sys.rotary_camera.cali_deg180"), "11 22 33 210.5");
  EXPECT_EQ(Prop("persist.sys.rotary_camera_rotary_cali"), "1");
  EXPECT_EQ(Prop("sys.rotary_camera.half_pop_hall_cali_data"), "561 981");
  EXPECT_EQ(Prop("persist.sys.camera_pop_cali"), "1");
  EXPECT_EQ(Prop("persist.sys.hall_cal_flag"), "1");
  EXPECT_EQ(Prop("sys.rotary_camera.unreached_angle"), "300.25");
  // Each item's section is replaced, not appended twice.
  EXPECT_EQ(Node("/sys/class/timed_output/motor/cali_data"),
            "deg180_cali[11 22 33 210.5]unreached_angle[300.25]pop_half_cali_data[561 981]");

  EXPECT_DOUBLE_EQ(get_front_back_camera_angle(0), 210.5);
  EXPECT_DOUBLE_EQ(get_front_back_camera_angle(1), 0.0);  // no 0 degree point stored

  const char* refused[] = {"set_ratary_camera_cali_data spin 1 2",
                           "set_ratary_camera_cali_data pop_cali_data 1",
                           "set_rotary_camera_cali_data pop_cali_data 1 2"};
  for (const char* r : refused) {
    char msg[96] = {};
    strcpy(msg, r);
    EXPECT_EQ(set_ratary_camera_cali_data(msg), 0) << r;
  }
}

TEST_F(CameraNodeTest, MovesNeedCalibration) {
  WriteDeviceFile(kField, "1000 0 0");
  EXPECT_EQ(rotate_to_appointted_angles(2, 3000, 90.0, 0.2), -1);
  EXPECT_TRUE(log_.Has(ANDROID_LOG_ERROR,
                       "error: need to calibrate positive/negative maximum angle first!!"))
      << log_.Dump();
  EXPECT_EQ(Node(kRotary), "0");  // never moved
  EXPECT_EQ(rotate_to_front_camera(2, 3000, 0.2), -1);
  EXPECT_EQ(rotate_to_back_camera(2, 3000, 0.2), -1);
  EXPECT_DOUBLE_EQ(get_front_back_camera_angle(1), -999.0);
  char bad[] = "rotate_to_maximum_angles sideways";
  EXPECT_EQ(rotate_to_max_angles(bad), -1);
  EXPECT_TRUE(log_.Has(ANDROID_LOG_ERROR, "para error"));
  EXPECT_EQ(Node(kRotary), "0");
}

TEST_F(CameraNodeTest, RelativeTurnsAimTheSameWayForEitherSign) {
  char unreached[] = "set_ratary_camera_cali_data set_unreached_angle 300";
  ASSERT_EQ(set_ratary_camera_cali_data(unreached), 1);
  WriteDeviceFile(kField, "-174 985 0");  // 100.0 degrees
  for (double relative : {30.0, -30.0}) {
    log_.Clear();
    // No time to move: the first pass measures, commands and gives up.
    rotate_by_relative_angle(2, 0, relative, 0.2);
    bool aimed = false;
    for (const LogLine& l : log_.Lines()) {
      aimed |= l.text.find("dest angles=130.0") != std::string::npos;
    }
    EXPECT_TRUE(aimed) << relative << "\n" << log_.Dump();
  }
  EXPECT_EQ(Node(kRotary), "0");  // stopped on the way out
}

}  // namespace
}  // namespace orba::test
