// Feature lines of /etc/em_features.xml, read through the running AT-command service, and the
// bracketed parameter lists inside feature values.

#include <android/log.h>
#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include <orbafactory/config.h>

#include "service_device.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

constexpr char kFeatures[] =
    "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
    "<features>\n"
    "    <feature name=\"camera_motor_type\">pop</feature>\n"
    "    <feature name=\"empty_feature\"></feature>\n"
    "    <feature name=\"rotary_motor_parameters\">deg0[10,20];deg180[170,190]</feature>\n"
    "    <feature name=\"unclosed\">value\n"
    "</features>\n";

class FeatureTest : public ServiceDeviceTest {};

TEST_F(FeatureTest, GetFeatureValue) {
  WriteDeviceFile("/etc/em_features.xml", kFeatures);
  struct Case {
    const char* feature;
    int dst_size;
    int ret;
    std::string value;  // the dst_size bytes of dst when ret is 0
  };
  const std::vector<Case> cases = {
      {"camera_motor_type", 16, 0, "pop"},
      {"rotary_motor_parameters", 63, 0, "deg0[10,20];deg180[170,190]"},
      {"rotary_motor_parameters", 4, 0, "deg0"},
      {"camera_motor", 16, 0, "pop"},  // the name is matched as a substring
      {"empty_feature", 16, -1, ""},
      {"laser_sensor", 16, -1, ""},
      // The '<' after the name is the next line's: "<" lies before ">", so nothing usable.
      {"unclosed", 16, 0, "value\n"},
  };
  for (const Case& c : cases) {
    char dst[64];
    memset(dst, 'Z', sizeof(dst));
    EXPECT_EQ(get_feature_value(c.feature, dst, c.dst_size), c.ret) << c.feature;
    if (c.ret == 0) {
      EXPECT_EQ(std::string(dst, strnlen(dst, c.dst_size)), c.value) << c.feature;
    }
    EXPECT_EQ(dst[c.dst_size], 'Z') << c.feature;  // never a byte past dst_size
  }
}

TEST_F(FeatureTest, FailuresAreLogged) {
  WriteDeviceFile("/etc/em_features.xml", kFeatures);
  LogCapture log;
  char dst[16] = {};
  EXPECT_EQ(get_feature_value("laser_sensor", dst, 15), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "not found /etc/em_features.xml : laser_sensor"))
      << log.Dump();
  EXPECT_EQ(get_feature_value("empty_feature", dst, 15), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "pars error /etc/em_features.xml:empty_feature"))
      << log.Dump();
  EXPECT_EQ(get_feature_value("camera_motor_type", dst, 15), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "find camera_motor_type:pop")) << log.Dump();
}

TEST_F(FeatureTest, UnreadableFileLeavesTheCallersDefault) {
  char dst[16] = "default";
  EXPECT_EQ(get_feature_value("camera_motor_type", dst, 15), 0);  // no file
  EXPECT_STREQ(dst, "default");
  WriteDeviceFile("/etc/em_features.xml", "<a>b</a>");  // under ten characters
  EXPECT_EQ(get_feature_value("a", dst, 15), 0);
  EXPECT_STREQ(dst, "default");
  StopService();
  WriteDeviceFile("/etc/em_features.xml", kFeatures);
  EXPECT_EQ(get_feature_value("camera_motor_type", dst, 15), 0);
  EXPECT_STREQ(dst, "default");
}

TEST(ParseParametersTest, Table) {
  struct Case {
    const char* text;
    const char* key;
    int size;
    int ret;
    std::string list;  // the `size` bytes of dst when ret is 0
  };
  const std::vector<Case> cases = {
      {"I[1,2];II[3]", "II", 16, 0, "3"},
      {"I[1,2];II[3]", "I", 16, 0, "1,2"},
      {"II[3];I[1,2]", "I", 16, 0, "3"},  // the key matches inside II
      {"front[]", "front", 16, -1, ""},
      {"front[1]", "rear", 16, -1, ""},
      {"front1]", "front", 16, -1, ""},
      {"front[1", "front", 16, -1, ""},
      {"front]x[1]", "front", 16, -1, ""},  // ']' before '['
      {"deg0[10,20];deg180[170,190]", "deg180", 16, 0, "170,190"},
      // A distance of 6 is not below 6: six characters fill dst, the ']' among them.
      {"front[1,2,3]", "front", 6, 0, "1,2,3]"},
      {"front[1,2,3]", "front", 7, 0, "1,2,3"},
      {"front[1,2,3]", "front", 3, 0, "1,2"},
  };
  for (const Case& c : cases) {
    std::string text = c.text;
    char dst[32];
    memset(dst, 'Z', sizeof(dst));
    EXPECT_EQ(parse_parameters(text.data(), c.key, dst, c.size), c.ret) << c.text << " " << c.key;
    if (c.ret == 0) {
      EXPECT_EQ(std::string(dst, strnlen(dst, c.size)), c.list) << c.text << " " << c.key;
    }
    EXPECT_EQ(dst[c.size], 'Z') << c.text << " " << c.key;
  }
}

TEST(ParseParametersTest, FailuresNameTheTextAndKey) {
  LogCapture log;
  char text[] = "front[]";
  char dst[8];
  EXPECT_EQ(parse_parameters(text, "front", dst, 8), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "pars error front[]:front")) << log.Dump();
  EXPECT_EQ(parse_parameters(text, "rear", dst, 8), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "not found front[]:rear")) << log.Dump();
}

}  // namespace
}  // namespace orba::test
