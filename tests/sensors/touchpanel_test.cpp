// The touch self-test: the driver node written, the refresh rate switched through the
// engineer-mode app and restored by the collecting thread, the result file filled.

#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <string>

#include <orbafactory/sensors.h>

#include "em_fixture.h"

namespace orba::test {
namespace {

constexpr char kNode[] = "/sys/touchscreen/at_sensor_test";
constexpr char kTestResult[] = "/data/engineermode/tp_at_sensor_test";

class TouchTest : public EmTest {
 protected:
  void SetUp() override {
    EmTest::SetUp();
    InstallEngineerMode();
    StartEm();
    SetProp("sim.em.refresh_rate", "120");
    SetProp("sim.em.refresh_rate.current", "60");
    WriteDeviceFile(kNode, "");
    WriteDeviceFile("/data/engineermode/.keep", "");
  }

  bool Exists(const char* path) const {
    struct stat st;
    return stat(HostPath(path).c_str(), &st) == 0;
  }

  // Polls a device file until it holds something other than `not_this`.
  std::string WaitForChange(const char* path, const std::string& not_this, int timeout_ms) {
    std::string text;
    for (int waited = 0; waited <= timeout_ms; waited += 20) {
      if (Exists(path)) {
        text = ReadDeviceFile(path);
        if (text != not_this) return text;
      }
      usleep(20 * 1000);
    }
    return text;
  }
};

TEST_F(TouchTest, RunsAtTheMaximumRateAndRestoresTheFormer) {
  ASSERT_EQ(touchpanel_sensor_test(1, "166", 0), 0);
  EXPECT_EQ(ReadDeviceFile(kNode), "166");
  EXPECT_EQ(ReadDeviceFile(kTestResult), "testing");
  EXPECT_EQ(GetProp("sim.em.refresh_rate.current"), "120") << "switched to the maximum";
  WriteDeviceFile(kNode, "166 PASS");  // the driver's answer, before the second is up
  EXPECT_EQ(WaitForChange(kTestResult, "testing", 3000), "166 PASS");
  // The rate is restored before the result file is written.
  EXPECT_EQ(GetProp("sim.em.refresh_rate.current"), "60");
}

TEST_F(TouchTest, GivenRateIsUsedAndAnUnchangedRateIsNotSet) {
  SetProp("sim.em.refresh_rate.current", "90");
  ASSERT_EQ(touchpanel_sensor_test(0, "165", 90), 0);
  EXPECT_EQ(WaitForChange("/data/engineermode/tp_at_sensor_cali", "testing", 2000), "165");
  int sets = 0;
  for (const std::string& call : Calls()) {
    sets += call.find("\tset_lcm_refreshrate ") != std::string::npos;
  }
  EXPECT_EQ(sets, 1) << "only the restore: the rate matched";
}

TEST_F(TouchTest, UnknownValueReachesTheDriverButNoResultFile) {
  EXPECT_EQ(touchpanel_sensor_test(1, "170", 0), -1);
  EXPECT_EQ(ReadDeviceFile(kNode), "170");
  for (const char* f : {"tp_at_sensor_cali", "tp_at_sensor_test", "tp_at_sensor_cali_back",
                        "tp_at_sensor_test_back", "tp_at_sensor_cali_sepcial"}) {
    EXPECT_FALSE(Exists((std::string("/data/engineermode/") + f).c_str())) << f;
  }
  EXPECT_EQ(touchpanel_sensor_test(1, nullptr, 0), -1);
}

TEST_F(TouchTest, UnreadableNodeKeepsTestingAndStillRestoresTheRate) {
  ASSERT_EQ(touchpanel_sensor_test(1, "168", 0), 0);
  ASSERT_EQ(unlink(HostPath(kNode).c_str()), 0);  // the driver went away
  for (int waited = 0; waited < 3000 && GetProp("sim.em.refresh_rate.current") != "60";
       waited += 20) {
    usleep(20 * 1000);
  }
  EXPECT_EQ(GetProp("sim.em.refresh_rate.current"), "60");
  EXPECT_EQ(ReadDeviceFile("/data/engineermode/tp_at_sensor_test_back"), "testing");
}

TEST_F(TouchTest, MissingDriverNodeIsTheWriteError) {
  ASSERT_EQ(unlink(HostPath(kNode).c_str()), 0);
  ASSERT_EQ(rmdir(HostPath("/sys/touchscreen").c_str()), 0);
  EXPECT_EQ(touchpanel_sensor_test(1, "166", 0), -2);  // -ENOENT
  EXPECT_FALSE(Exists(kTestResult));
}

}  // namespace
}  // namespace orba::test
