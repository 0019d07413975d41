// A step's exit status is its verdict: each family against a running simulated device whose
// hardware or services are made to fail, and input refused before anything is written.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/sim_device.h"

namespace orba::test {
namespace {

class VerdictCliTest : public SimDeviceTest {};

TEST_F(VerdictCliTest, TouchPassesOnlyOnAPassingResult) {
  ASSERT_EQ(Sim({"setprop", "sim.touch.delay_ms", "100"}).status, 0);
  struct Case {
    const char* driver_says;
    int status;
  };
  const Case cases[] = {{"PASS: all channels within limits", 0}, {"FAIL: channel 3 open", 1}};
  for (const Case& c : cases) {
    ASSERT_EQ(Sim({"setprop", "sim.touch.result", c.driver_says}).status, 0);
    ProgramResult r = Cli({"touch", "test", "166", "1", "60"});
    EXPECT_EQ(r.status, c.status) << c.driver_says << ": " << r.err;
    EXPECT_EQ(r.out, std::string(c.driver_says) + "\n");
    // Either way the panel is back at the rate it had.
    EXPECT_EQ(Cli({"em", "send", "get_lcm_refreshrate", "current"}).out, "120\n");
  }
}

TEST_F(VerdictCliTest, PopBlockedTimeNeedsAModuleThatMoved) {
  ProgramResult healthy = Cli({"camera", "blocked-time", "pop", "1500"});
  EXPECT_EQ(healthy.status, 0) << healthy.err;
  ProgramResult back = Cli({"camera", "blocked-time", "retract", "1500"});
  EXPECT_EQ(back.status, 0) << back.err;

  ASSERT_EQ(Sim({"setprop", "sim.motor.stuck", "1"}).status, 0);
  ProgramResult stuck = Cli({"camera", "blocked-time", "pop", "1500"});
  EXPECT_EQ(stuck.status, 1) << stuck.out;
  EXPECT_NE(stuck.err.find("did not move"), std::string::npos) << stuck.err;
  EXPECT_EQ(ReadDeviceFile("/data/sim/pop_position").substr(0, 1), "0");
}

TEST_F(VerdictCliTest, RepliesThatSayErrorFail) {
  struct Case {
    std::vector<std::string> args;
    int status;
  };
  const std::vector<Case> cases = {
      {{"em", "send", "get_lcm_refreshrate", "max"}, 0},
      {{"em", "send", "no_such_request"}, 1},
      {{"camera", "send", "no_such_request"}, 1},
  };
  for (const Case& c : cases) {
    ProgramResult r = Cli(c.args);
    EXPECT_EQ(r.status, c.status) << c.args[0] << " " << c.args[2] << ": " << r.out << r.err;
  }
}

TEST_F(VerdictCliTest, ExecKeepsArgvAndReturnsTheRemoteStatus) {
  struct Case {
    std::vector<std::string> args;
    int status;
    const char* out;
  };
  const std::vector<Case> cases = {
      {{"exec", "true"}, 0, ""},
      {{"exec", "false"}, 1, ""},
      {{"exec", "sh", "-c", "exit 3"}, 3, ""},
      // Spaces, quotes and shell words arrive as the arguments they were.
      {{"exec", "printf", "[%s]", "a  b", "it's", "$HOME", "; false"}, 0, "[a  b][it's][$HOME][; false]"},
      {{"exec", "sh", "-c", "printf partial; exit 5"}, 5, "partial"},
      {{"exec", "--timeout", "1", "sleep", "30"}, 124, ""},
      {{"exec", "no-such-command-here"}, 127, ""},
      {{"exec", "--timeout", "-1", "true"}, 2, ""},
  };
  for (const Case& c : cases) {
    ProgramResult r = Cli(c.args);
    EXPECT_EQ(r.status, c.status) << c.args[1] << ": " << r.err;
    EXPECT_EQ(r.out, c.out) << c.args[1];
  }
}

TEST_F(VerdictCliTest, RefusedInputExitsTwoAndWritesNothing) {
  ASSERT_EQ(Cli({"sn", "set", "ORBA00000000001"}).status, 0);
  ASSERT_EQ(Cli({"cali", "set", "gsensor_calibration", "1"}).status, 0);
  const std::string cali_before = ReadDeviceFile("/cache/recovery/last_test_cali_result.xml");
  const std::vector<std::vector<std::string>> refused = {
      {"sn", "set", "ORBA0000000"},          // 11 characters
      {"sn", "set", "ORBA000000000000001"},  // 19
      {"sn", "set", "ORBA 0000000001"},      // 15, with a space
      {"cali", "set", "no_such_item", "1"},
      {"cali", "set", "gsensor_calibration", "abc"},
      {"cali", "set", "gsensor_calibration", "12"},
      {"cali", "bg-dark", "gsensor_calibration", "x"},
      {"prop", "wait", "sys.none", "1", "99999999999"},
      {"prop", "wait", "sys.none", "1", "-1"},
      {"touch", "test", "166", "-2"},
      {"camera", "sample", "4", "-1"},
  };
  for (const auto& args : refused) {
    ProgramResult r = Cli(args);
    EXPECT_EQ(r.status, 2) << args[0] << " " << args[1] << " " << args[2] << ": " << r.err;
    EXPECT_EQ(r.out, "") << args[0] << " " << args[2];
  }
  EXPECT_EQ(Cli({"sn", "get"}).out, "ORBA00000000001\n");
  EXPECT_EQ(Cli({"cali", "get", "gsensor_calibration"}).out, "1\n");
  EXPECT_EQ(ReadDeviceFile("/cache/recovery/last_test_cali_result.xml"), cali_before);
}

TEST_F(VerdictCliTest, IdentityOfWhatIsNoDeviceFails) {
  ProgramResult device = Cli({"identity"});
  EXPECT_EQ(device.status, 0) << device.err;
  // A directory that is not a device: no Android version, no identity.
  const std::string empty = root() + "/data/local/tmp/empty";
  ASSERT_EQ(RunProgram({"/bin/mkdir", "-p", empty}).status, 0);
  ProgramResult r = RunProgram({BinPath("orbafactory"), "--root", empty, "identity"});
  EXPECT_NE(r.status, 0);
  EXPECT_EQ(r.out, "");
  ProgramResult missing = RunProgram({BinPath("orbafactory"), "--root", root() + "/typo", "identity"});
  EXPECT_EQ(missing.status, 3);
  EXPECT_NE(missing.err.find("is not a device"), std::string::npos) << missing.err;
}

}  // namespace
}  // namespace orba::test
