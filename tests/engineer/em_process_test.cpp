// The engineer-mode service as the simulated device runs it: a process of its own, started
// and stopped by orbafactory-sim, reached from this process.

#include <gtest/gtest.h>

#include <unistd.h>

#include <string>

#include <orbafactory/engineer.h>
#include <platform/hal.h>

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
  // `start NAME` returns once the process runs, as init's start does; the service registers a
  // moment later.
  bool StartEmProcess() {
    if (Sim("start", "orbaem-hal-1-0").status != 0) return false;
    for (int waited = 0; waited < 5000; waited += 10) {
      if (hal::IOrbaEm::isRegistered("default")) return true;
      usleep(10000);
    }
    return false;
  }
  void TearDown() override {
    Sim("stop", "orbaem-hal-1-0");
    EmTest::TearDown();
  }
};

TEST_F(EmProcessTest, DeviceServiceAnswersFromTheProfileAndGoesAwayWhenStopped) {
  ASSERT_TRUE(StartEmProcess());
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
  ASSERT_TRUE(StartEmProcess());
  EXPECT_FALSE(isServiceWork(kStandardClass));
}

TEST_F(EmProcessTest, ServiceRefusesASecondInstanceOnTheSameDevice) {
  ASSERT_TRUE(StartEmProcess());
  // Bounded: a second instance that did register would serve until stopped.
  ProgramResult second = RunProgram({"/usr/bin/timeout", "10", "/usr/bin/env",
                                     "ORBA_DEVICE_ROOT=" + root(), BinPath("orbaem-hal-1-0")});
  EXPECT_EQ(second.status, 1);
  // The first instance is untouched and still serves.
  EXPECT_TRUE(startServiceFromAtcid(kStandardComponent, nullptr, nullptr));
  EXPECT_TRUE(OrbaEmcheckCallback("EngineerMode"));
}

}  // namespace
}  // namespace orba::test
