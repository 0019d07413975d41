// The IMEI recovery flag file and the boot mode on the kernel command line.

#include <android/log.h>
#include <cutils/properties.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <orbafactory/config.h>

#include "service_device.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

constexpr char kFlag[] = "/data/vendor/engineermode/imei_recovery_flag";

class BootFlagsTest : public ServiceDeviceTest {};

TEST_F(BootFlagsTest, RecoveryFlagRoundTrip) {
  WriteDeviceFile("/data/vendor/engineermode/.keep", "");
  EXPECT_EQ(read_recovery_flag(), 0);  // no file yet
  EXPECT_EQ(write_recovery_flag(12345), 0);
  EXPECT_EQ(ReadDeviceFile(kFlag), "12345");
  EXPECT_EQ(read_recovery_flag(), 1);
  char value[PROPERTY_VALUE_MAX] = {};
  property_get("ro.imei_match.recovery", value, "");
  EXPECT_STREQ(value, "1");
  // The file is not truncated: a shorter value keeps the old tail, and only the first byte counts.
  EXPECT_EQ(write_recovery_flag(0), 0);
  EXPECT_EQ(ReadDeviceFile(kFlag), "02345");
  EXPECT_EQ(read_recovery_flag(), 0);
  EXPECT_EQ(write_recovery_flag(-1), 0);
  EXPECT_EQ(read_recovery_flag(), 0);
}

TEST_F(BootFlagsTest, RecoveryFlagWithoutItsDirectory) {
  LogCapture log;
  write_recovery_flag(1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG,
                      "create /data/vendor/engineermode/imei_recovery_flag error:No such file or "
                      "directory"))
      << log.Dump();
  EXPECT_EQ(read_recovery_flag(), 0);
}

TEST_F(BootFlagsTest, KernelCommandLine) {
  struct Case {
    const char* cmdline;  // null: no /proc/cmdline
    int factory_boot;
    int mindp;
  };
  const std::vector<Case> cases = {
      {"console=ttyMSM0 console-at=sendAT support_minidp=1", 1, 1},
      {"console-at=sendNormal androidboot.mode=normal", 1, 0},
      {"androidboot.mode=factory support_minidp=0", 0, 0},
      {"console-at=sendNone", 0, 0},
      {nullptr, 0, -1},
  };
  for (const Case& c : cases) {
    remove(HostPath("/proc/cmdline").c_str());
    if (c.cmdline != nullptr) WriteDeviceFile("/proc/cmdline", c.cmdline);
    EXPECT_EQ(is_factory_boot(), c.factory_boot) << (c.cmdline ? c.cmdline : "none");
    EXPECT_EQ(is_support_mindp(), c.mindp) << (c.cmdline ? c.cmdline : "none");
  }
}

TEST_F(BootFlagsTest, LongCommandLineIsReadUpTo4096Bytes) {
  std::string cmdline(4000, 'x');
  WriteDeviceFile("/proc/cmdline", cmdline + " console-at=sendAT");
  EXPECT_EQ(is_factory_boot(), 1);
  WriteDeviceFile("/proc/cmdline", std::string(4096, 'x') + " console-at=sendAT");
  EXPECT_EQ(is_factory_boot(), 0);
}

}  // namespace
}  // namespace orba::test
