// The full waits of the senders when the other side never comes: passes and their count.

#include <gtest/gtest.h>

#include <string>

#include <orbafactory/engineer.h>

#include "em_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

class EmSlowTest : public EmTest {
 protected:
  void SetUp() override {
    EmTest::SetUp();
    StartAtcmd();
    StartEm();
  }
};

TEST_F(EmSlowTest, EngineerModeAppThatNeverComesUpCostsTenPasses) {
  InstallEngineerMode();
  SetProp("sim.em.unavailable", "com.xole.engineermode");
  LogCapture log;
  EXPECT_STREQ(sendMessage("get_lcm_refreshrate max"), "error");
  EXPECT_EQ(CountCalls(std::string("doAction\tisServiceWork\t") + kStandardClass), 10);
  EXPECT_EQ(CountCalls(std::string("doAction\tstartServiceFromAtcid\t") + kStandardComponent), 10);
  EXPECT_EQ(CountCalls("sendToEngineer"), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "ret: 0, OrbaEmcheckCallback: EngineerMode"))
      << log.Dump();
}

TEST_F(EmSlowTest, CameraThatNeverListensCostsFourPasses) {
  SetProp("sim.em.unavailable", "com.android.camera");
  LogCapture log;
  EXPECT_STREQ(sendMessageToCamera("open"), "error");
  EXPECT_EQ(CountCalls(std::string("doAction\tstartServiceFromAtcid\t") + kStockCameraComponent),
            4);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "still failed, exit"));
  int retries = 0;
  for (const LogLine& l : log.Lines()) retries += l.text == "still failed, try again" ? 1 : 0;
  EXPECT_EQ(retries, 80);
}

TEST_F(EmSlowTest, CameraUpInTheSecondPassIsStartedTwice) {
  // Beyond the first pass (at least 2 s of retries) with room for slow retries under load.
  SetProp("sim.camera.start_delay_ms", "3500");
  SetProp("sim.camera.default_reply", "late");
  EXPECT_STREQ(sendMessageToCamera("open"), "late");
  EXPECT_EQ(CountCalls(std::string("doAction\tstartServiceFromAtcid\t") + kStockCameraComponent),
            2);
}

TEST_F(EmSlowTest, FingerprintRefusedThirtyTimesGivesUp) {
  SetProp("sim.em.unavailable", "com.orba.fingerprintengineer");
  LogCapture log;
  EXPECT_STREQ(sendMessageToFingerprint("self_test"), "refused error");
  // No start after the last refusal: the loop ends there.
  EXPECT_EQ(CountCalls(std::string("doAction\tisServiceWork\t") + kFingerprintClass), 29);
  EXPECT_EQ(CountCalls(std::string("doAction\tstartServiceFromAtcid\t") + kFingerprintComponent),
            29);
  for (const LogLine& l : log.Lines()) EXPECT_NE(l.text.rfind("break, recv_buf", 0), 0u);
}

}  // namespace
}  // namespace orba::test
