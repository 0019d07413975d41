#include <gtest/gtest.h>
#include <stdio.h>
#include <stdlib.h>

#include <string>

#include <platform/devpath.h>
#include <platform/host/device_root.h>
#include "support/device_root.h"
#include "support/log_capture.h"

namespace {

using orba::test::LogCapture;

class DevPathTest : public orba::test::DeviceRootTest {};

TEST_F(DevPathTest, AbsolutePathsLandUnderTheRoot) {
  struct Case {
    const char* device;
    const char* under_root;  // "" when the path is left alone
  };
  const Case cases[] = {
      {"/cache/recovery/x.xml", "/cache/recovery/x.xml"},
      {"//dev///block/./by-name/backup", "/dev/block/by-name/backup"},
      {"/data/../etc/a", "/etc/a"},
      {"/../../../etc/passwd", "/etc/passwd"},  // ".." stops at the device's "/"
      {"/sys/class/", "/sys/class/"},
      {"/", "/"},
      {"/..", "/"},
  };
  for (const Case& c : cases) {
    DevPathText p(c.device);
    EXPECT_TRUE(p.ok());
    EXPECT_EQ(std::string(p), root() + c.under_root) << c.device;
  }
}

TEST_F(DevPathTest, RelativePathsAreLeftAlone) {
  DevPath p("some/relative/../file");
  EXPECT_TRUE(p.ok());
  EXPECT_STREQ(p, "some/relative/../file");
}

TEST_F(DevPathTest, OverlongPathsAreRefused) {
  LogCapture log;
  std::string deep = "/" + std::string(PATH_MAX, 'a');
  DevPath p(deep.c_str());
  EXPECT_FALSE(p.ok());
  EXPECT_STREQ(p, "");
}

TEST_F(DevPathTest, SystemCallsSeeTheDevice) {
  WriteDeviceFile("/etc/em_features.xml", "feature\n");
  FILE* f = fopen(DevPath("/etc/em_features.xml"), "r");
  ASSERT_NE(f, nullptr);
  char line[32] = {};
  ASSERT_NE(fgets(line, sizeof(line), f), nullptr);
  fclose(f);
  EXPECT_STREQ(line, "feature\n");
}

TEST_F(DevPathTest, SocketNamesDifferBetweenDevices) {
  std::string first(DevSocketName("CameraSocketService").c_str());
  EXPECT_NE(first.find("CameraSocketService"), std::string::npos);
  setenv(ORBA_DEVICE_ROOT_ENV, (root() + "/other").c_str(), 1);
  orba_device_root_reset();
  std::string second(DevSocketName("CameraSocketService").c_str());
  EXPECT_NE(first, second);
}

class NoRootTest : public orba::test::NoDeviceRootTest {};

TEST_F(NoRootTest, HostPathsAreNeverTouched) {
  LogCapture log;
  DevPath p("/etc/passwd");
  EXPECT_FALSE(p.ok());
  EXPECT_STREQ(p, "");
  EXPECT_EQ(fopen(p, "r"), nullptr);
  auto lines = log.Lines();
  ASSERT_EQ(lines.size(), 1u);
  EXPECT_EQ(lines[0].priority, ANDROID_LOG_ERROR);
  EXPECT_NE(lines[0].text.find("ORBA_DEVICE_ROOT"), std::string::npos) << lines[0].text;
  EXPECT_NE(lines[0].text.find("/etc/passwd"), std::string::npos) << lines[0].text;
}

}  // namespace
