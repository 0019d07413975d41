// orbafactory nv, sn, pcb, em-flag, backnv, cali and log against a simulated device running its
// services as real processes, and the record families on a pulled partition image.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace {

using orba::test::BinPath;
using orba::test::RunProgram;

constexpr const char kBackup[] = "/dev/block/platform/bootdevice/by-name/backup";

struct Step {
  std::vector<std::string> args;
  int status;
  std::string out;  // the whole stdout; "*" skips the comparison
};

class CaliCliTest : public orba::test::DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    auto init = RunProgram({BinPath("orbafactory-sim"), "init", "--root", root()});
    ASSERT_EQ(init.status, 0) << init.err;
    auto start = RunProgram({BinPath("orbafactory-sim"), "start", "--root", root()});
    ASSERT_EQ(start.status, 0) << start.err;
  }
  void TearDown() override {
    RunProgram({BinPath("orbafactory-sim"), "stop", "--root", root()});
    DeviceRootTest::TearDown();
  }
  orba::test::ProgramResult Cli(std::vector<std::string> args) {
    args.insert(args.begin(), {BinPath("orbafactory"), "--root", root()});
    return RunProgram(args);
  }
  void RunSteps(const std::vector<Step>& steps) {
    for (const Step& s : steps) {
      std::string line;
      for (const std::string& a : s.args) line += a + " ";
      auto r = Cli(s.args);
      EXPECT_EQ(r.status, s.status) << line << "\n" << r.err;
      if (s.out != "*") {
        EXPECT_EQ(r.out, s.out) << line;
      }
    }
  }
};

TEST_F(CaliCliTest, FactoryRecordFamilies) {
  const std::vector<Step> steps = {
      {{"nv", "get", "als_cali_data"}, 0, "500\n"},
      {{"nv", "set", "als_cali_flag", "1"}, 0, "field=als_cali_flag value=1\n"},
      {{"nv", "get", "als_cali_flag"}, 0, "1\n"},
      {{"nv", "set", "gyroscope_calibration_flag:2", "5"},
       0,
       "field=gyroscope_calibration_flag:2 value=5\n"},
      {{"nv", "get", "gyroscope_calibration_flag"}, 0, "0\n"},
      {{"nv", "set", "mtk_nv_checksum", "abc"}, 0, "field=mtk_nv_checksum value=0xabc\n"},
      {{"nv", "set", "cct_final_value", "2.5"}, 0, "field=cct_final_value value=2.5000\n"},
      {{"nv", "set", "dyn_name", "ABCDEFGHIJKLMNOPQRSTUVWXYZ012345"}, 2, ""},
      {{"nv", "set", "em_authorized", "yes"}, 2, ""},
      {{"nv", "set", "volte_value", "4294967296"}, 2, ""},
      {{"nv", "get", "no_such_field"}, 2, ""},
      {{"nv", "dump", "extra"}, 2, ""},
      {{"sn", "set", "0123456789"}, 2, ""},
      {{"sn", "get"}, 1, ""},
      {{"sn", "set", "ABCDEFGHIJ12345"}, 0, "ABCDEFGHIJ12345\n"},
      {{"sn", "get"}, 0, "ABCDEFGHIJ12345\n"},
      {{"pcb", "set", "AT+EGMR=1,\"PCB0042X\""}, 0, "PCB0042X\n"},
      {{"pcb", "get", "--at"}, 0, "+EGMR:\"PCB0042X\"\n"},
      {{"pcb", "set", "x"}, 1, ""},
      {{"em-flag", "set", "on"}, 0, "on\n"},
      {{"em-flag", "get"}, 0, "on\n"},
      {{"em-flag", "set", "off"}, 0, "off\n"},
      {{"em-flag", "get"}, 0, "off\n"},
      {{"em-flag", "set", "maybe"}, 2, ""},
      {{"nv", "get", "em_authorized"}, 0, "n\n"},
  };
  RunSteps(steps);

  auto dump = Cli({"nv", "dump"});
  ASSERT_EQ(dump.status, 0) << dump.err;
  EXPECT_EQ(dump.out.rfind("gsensor_calibration_flag=0\nmaster_clear_flag=0\n", 0), 0u);
  EXPECT_NE(dump.out.find("\ngyroscope_calibration_flag=0\ngyroscope_calibration_flag:2=5\n"),
            std::string::npos);
  EXPECT_NE(dump.out.find("\nals_cali_flag=1\n"), std::string::npos);
  EXPECT_EQ(std::count(dump.out.begin(), dump.out.end(), '\n'), 138);

  auto back = Cli({"backnv", "dump"});
  ASSERT_EQ(back.status, 0) << back.err;
  EXPECT_EQ(back.out.rfind("ps_cali_data_b=0\nps_cali_flag_b=0\n", 0), 0u);
  EXPECT_EQ(std::count(back.out.begin(), back.out.end(), '\n'), 18);
}

TEST_F(CaliCliTest, PartitionImageIsRepairedOnlyWhenAsked) {
  ASSERT_EQ(Cli({"nv", "set", "ps_cali_flag", "1"}).status, 0);
  std::string good = ReadDeviceFile(kBackup);
  // A pulled image whose second copy took a hit.
  std::string damaged = good;
  damaged[4096 + 100] ^= 0x01;
  const std::string image = root() + "/pulled.img";
  WriteDeviceFile("/pulled.img", damaged);

  const std::vector<Step> steps = {
      {{"nv", "get", "ps_cali_flag", "--image", image}, 0, "1\n"},
      {{"backnv", "dump", "--image", image}, 0, "*"},
      {{"nv", "dump", "--write-back"}, 2, ""},
      {{"nv", "get", "ps_cali_flag", "--image", root() + "/missing.img"}, 2, ""},
  };
  RunSteps(steps);
  EXPECT_EQ(ReadDeviceFile("/pulled.img"), damaged);

  auto repair = Cli({"nv", "dump", "--image", image, "--write-back"});
  ASSERT_EQ(repair.status, 0) << repair.err;
  std::string repaired = ReadDeviceFile("/pulled.img");
  EXPECT_EQ(repaired.substr(4096, 2048), repaired.substr(0, 2048));
  EXPECT_EQ(repaired.substr(0, 2048), good.substr(0, 2048));

  auto set = Cli({"nv", "set", "ps_cali_flag", "0", "--image", image, "--write-back"});
  ASSERT_EQ(set.status, 0) << set.err;
  EXPECT_EQ(Cli({"nv", "get", "ps_cali_flag", "--image", image}).out, "0\n");
  // The device's own partition was never involved.
  EXPECT_EQ(Cli({"nv", "get", "ps_cali_flag"}).out, "1\n");
}

TEST_F(CaliCliTest, CalibrationAndLogFamilies) {
  WriteDeviceFile("/cache/recovery/last_test_cali_result.xml", "");
  const std::vector<Step> steps = {
      {{"cali", "get", "gsensor_calibration"}, 0, "0\n"},
      {{"cali", "set", "gsensor_calibration", "1"}, 0, "item=gsensor_calibration state=1\n"},
      {{"cali", "get", "gsensor_calibration"}, 0, "1\n"},
      {{"cali", "set", "tof_rgbd_cali", "1", "--app"}, 0, "item=tof_rgbd_cali state=1\n"},
      {{"cali", "bg-dark", "light_sensor_cali", "1"}, 0, "item=light_sensor_cali bg_dark=1\n"},
      {{"cali", "bg-dark", "light_sensor_cali"}, 0, "1\n"},
      {{"cali", "bg-dark", "--all", "0"}, 0, "item=all bg_dark=0\n"},
      {{"cali", "bg-dark", "light_sensor_cali"}, 0, "0\n"},
      {{"cali", "check"}, 1, ""},
      {{"nv", "set", "ps_cali_flag", "1"}, 0, "*"},
      {{"nv", "set", "als_cali_flag", "1"}, 0, "*"},
      {{"log", "clear"}, 0, "cleared\n"},
      {{"log", "ctrl", "1"}, 0, ""},
      {{"log", "ctrl", "banana"}, 2, ""},
      {{"log", "status"}, 0, "false\n"},
  };
  RunSteps(steps);
  // The library's own report is the verdict's message.
  auto check = Cli({"cali", "check"});
  EXPECT_EQ(check.status, 1);
  EXPECT_EQ(check.err, "orbafactory: udfp_calibration nv fail\n");
  // The default device has an under-display fingerprint sensor and the TMF8801 laser sensor.
  RunSteps({{{"cali", "check"}, 1, ""},
            {{"cali", "list"},
             0,
             "light_sensor_cali\ninfrared_calibration\nudfp_calibration\n"
             "laser_focus_crosstalk_cali_TMF8801\nlaser_focus_clock_cali_TMF8801\n"},
            {{"cali", "set", "udfp_calibration", "1"}, 0, "*"},
            {{"cali", "set", "light_sensor_cali", "1"}, 0, "*"},
            {{"cali", "bg-dark", "infrared_calibration", "1"}, 0, "*"},
            {{"cali", "check"}, 0, "ok\n"},
            {{"laser", "clock-cali"}, 0, "*"},
            {{"laser", "xtalk-cali"}, 0, "*"},
            {{"cali", "list"}, 0, ""}});


  auto items = Cli({"cali", "items"});
  // The table's one double entry comes as the two names stations set.
  EXPECT_EQ(std::count(items.out.begin(), items.out.end(), '\n'), 50);
  EXPECT_NE(items.out.find("\ntof_rgbd_cali\nsidekey_cali_left\n"), std::string::npos);

  std::string calls = ReadDeviceFile("/data/sim/em_calls");
  EXPECT_NE(calls.find("com.mediatek.mtklogger.ADB_CMD\t-e cmd_name start --ei cmd_target 1"),
            std::string::npos);
  EXPECT_NE(calls.find("TQEGMCDK_clear tof_rgbd_cali 1"), std::string::npos);
}

}  // namespace
