// The sensor, UWB and device families of orbafactory on a running simulated device: the
// hardware-model service answers the touch driver, the vendor-library doubles answer the laser
// and UWB calls, the profile provides storage nodes and thermistors.

#include <stdlib.h>

#include <string>

#include "support/sim_device.h"

namespace orba::test {
namespace {

using SensorsCliTest = SimDeviceTest;

TEST_F(SensorsCliTest, TouchSelfTestGetsTheDriversAnswer) {
  ASSERT_EQ(Sim({"setprop", "sim.touch.delay_ms", "200"}).status, 0);
  ASSERT_EQ(Sim({"setprop", "sim.touch.result", "FAIL: rx 3 open"}).status, 0);
  ProgramResult r = Cli({"touch", "test", "168", "1"});
  // The answer is shown, and a FAIL is the step's verdict.
  EXPECT_EQ(r.status, 1) << r.err;
  EXPECT_EQ(r.out, "FAIL: rx 3 open\n");
  EXPECT_NE(r.err.find("not a pass"), std::string::npos) << r.err;
  EXPECT_EQ(ReadDeviceFile("/data/engineermode/tp_at_sensor_test_back"), "FAIL: rx 3 open");
  EXPECT_NE(ReadDeviceFile("/data/sim/touch_tests").find(" 168\n"), std::string::npos);

  ProgramResult bad = Cli({"touch", "test", "170"});
  EXPECT_EQ(bad.status, 2);
  EXPECT_NE(bad.err.find("165..169"), std::string::npos) << bad.err;
}

TEST_F(SensorsCliTest, LaserFrozenCheckTellsLiveFromFrozen) {
  ProgramResult live = Cli({"laser", "detect", "1"});
  EXPECT_EQ(live.status, 0) << live.err;
  EXPECT_EQ(live.out, "success\n");
  ASSERT_EQ(Sim({"setprop", "sim.laser.words", ""}).status, 0);
  ProgramResult frozen = Cli({"laser", "detect", "1"});
  EXPECT_EQ(frozen.status, 1);
  EXPECT_EQ(frozen.out, "failed\n");
}

TEST_F(SensorsCliTest, LaserReadingsAndCalibrations) {
  ProgramResult read = Cli({"laser", "read-once"});
  EXPECT_EQ(read.status, 0) << read.err;
  EXPECT_EQ(read.out, "distance_mm=336 confidence=42\n");
  // One process holds the object from enable to get_result; alone, get_result has nothing.
  ProgramResult alone = Cli({"laser", "clock-cali", "get_result"});
  EXPECT_EQ(alone.status, 1);
  EXPECT_NE(alone.err.find("together"), std::string::npos) << alone.err;
  EXPECT_EQ(Cli({"laser", "clock-cali"}).status, 0);
  ASSERT_EQ(Sim({"setprop", "sim.laser.xtalk_ret", "6"}).status, 0);
  ProgramResult xtalk = Cli({"laser", "xtalk-cali"});
  EXPECT_EQ(xtalk.status, 1);
  EXPECT_NE(xtalk.err.find("crosstalk cali error!!"), std::string::npos) << xtalk.err;
}

TEST_F(SensorsCliTest, UwbReceiveTestPrintsTheNotification) {
  ASSERT_EQ(Sim({"setprop", "sim.uwb.rx_ntf",
                 "000000006400000060000000040000000200000060000000000000005e00000001000000"})
                .status,
            0);
  ProgramResult r = Cli({"uwb", "rx", "9", "1", "1"});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_NE(r.out.find(" attempts=100 "), std::string::npos) << r.out;
  EXPECT_NE(r.out.find(" sfd_found=94 "), std::string::npos) << r.out;
  ProgramResult refused = Cli({"uwb", "rx", "300", "1"});
  EXPECT_EQ(refused.status, 2);
}

TEST_F(SensorsCliTest, DeviceQueriesFromTheProfile) {
  struct Case {
    std::vector<std::string> args;
    std::string out;
  };
  const Case cases[] = {
      {{"storage", "maker"}, "Samsung\n"},
      {{"storage", "bom"}, "BOM-EMMC-S128G\n"},
      {{"storage", "secure-boot"}, "true\n"},
      {{"storage", "rpmb"}, "true\n"},
      {{"ntc"},
       "type=1 name=board_ntc celsius=36.5\ntype=1 name=pa_ntc celsius=41.2\n"
       "type=2 name=chg_ntc celsius=29.8\n"},
      {{"ntc", "2"}, "type=2 name=chg_ntc celsius=29.8\n"},
  };
  // The RPMB query runs the device's tlcrpmb_gp: the device's tools first, as after `env`.
  std::string path = getenv("PATH") != nullptr ? getenv("PATH") : "/usr/bin:/bin";
  setenv("PATH", (root() + "/system/bin:" + path).c_str(), 1);
  for (const Case& c : cases) {
    ProgramResult r = Cli(c.args);
    EXPECT_EQ(r.status, 0) << c.args[0] << " " << r.err;
    EXPECT_EQ(r.out, c.out) << c.args.back();
  }
  setenv("PATH", path.c_str(), 1);
}

}  // namespace
}  // namespace orba::test
