// The engineer-mode service as the simulated device runs it: a process of its own, started
// and stopped by orbafactory-sim, reached from this process.

#include <gtest/gtest.h>

#include <string>

#include <orbafactory/engineer.h>

#include "em_fixture.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

class EmProcessTest : public EmTest {
 protected:
  ProgramResult Sim(const std::string& command, const std::string& arg = "") {
    std::vector<std::string> argv = {BinPath("orbafactory-sim"), command, "--root", root()};
    if (!arg.empty()) argv.push_back(arg);
    return RunProgram(argv);
  }
  // orbafactory-sim lays the device out in an empty root, property area included.
  void SetUp() override {
    DeviceRootTest::SetUp();
    ProgramResult init = Sim("init");
    ASSERT_EQ(init.status, 0) << init.err;
  }
  void TearDown() override {
    Sim("stop", "orbaem-hal-1-0");
    EmTest::TearDown();
  }
};

TEST_F(EmProcessTest, DeviceServiceAnswersFromTheProfileAndGoesAwayWhenStopped) {
  ProgramResult start = Sim("start", "orbaem-hal-1-0");
  ASSERT_EQ(start.status, 0) << start.err;
  StartAtcmd();  // the edition properties are read through it

  // The default profile installs the standard edition and sets the app's global settings.
  EXPECT_STREQ(sendMessage("get_global_setting_int screen_brightness"), "128");
  EXPECT_TRUE(isServiceWork(kStandardClass));
  EXPECT_EQ(CountCalls("sendToEngineer\tEngineerMode\tget_global_setting_int screen_brightness"),
            1);

  ProgramResult stop = Sim("stop", "orbaem-hal-1-0");
  ASSERT_EQ(stop.status, 0) << stop.err;
  EXPECT_FALSE(startOrbaEM("isServiceWork", kStandardClass, nullptr, nullptr));
  EXPECT_STREQ(sendMessage("get_global_setting_int screen_brightness"), "error");

  // A restarted service starts with no app running, as after a reboot of the framework.
  start = Sim("start", "orbaem-hal-1-0");
  ASSERT_EQ(start.status, 0) << start.err;
  EXPECT_FALSE(isServiceWork(kStandardClass));
}

TEST_F(EmProcessTest, ServiceRefusesASecondInstanceOnTheSameDevice) {
  ASSERT_EQ(Sim("start", "orbaem-hal-1-0").status, 0);
  ProgramResult second = RunProgram({"/usr/bin/env", "ORBA_DEVICE_ROOT=" + root(),
                                     BinPath("orbaem-hal-1-0")});
  EXPECT_EQ(second.status, 1);
  // The first instance is untouched and still serves.
  EXPECT_TRUE(startServiceFromAtcid(kStandardComponent, nullptr, nullptr));
  EXPECT_TRUE(OrbaEmcheckCallback("EngineerMode"));
}

}  // namespace
}  // namespace orba::test
