// Global settings through the engineer-mode exchange, with the simulated engineer app answering.

#include <gtest/gtest.h>

#include <string>

#include <orbafactory/config.h>

#include "em_fixture.h"

namespace orba::test {
namespace {

class GlobalSettingTest : public EmTest {};

TEST_F(GlobalSettingTest, AnswersComeFromTheEngineerApp) {
  InstallEngineerMode();
  StartAtcmd();
  StartEm();
  SetProp("sim.em.global.screen_brightness", "128");
  SetProp("sim.em.global.airplane_mode_on", "-1");
  EXPECT_EQ(get_global_setting_int("screen_brightness"), 128);
  EXPECT_EQ(get_global_setting_int("airplane_mode_on"), -1);
  // The request went to the app as one message, answer included in the record.
  EXPECT_EQ(CountCalls("sendToEngineer\t"), 2);
  bool seen = false;
  for (const std::string& call : Calls()) {
    seen |= call.find("\tget_global_setting_int screen_brightness\t128") != std::string::npos;
  }
  EXPECT_TRUE(seen);
}

TEST_F(GlobalSettingTest, NoEngineerModeAppGivesZero) {
  StartAtcmd();
  StartEm();
  SetProp("sim.em.global.screen_brightness", "128");
  EXPECT_EQ(get_global_setting_int("screen_brightness"), 0);
  EXPECT_EQ(CountCalls("sendToEngineer\t"), 0);
}

}  // namespace
}  // namespace orba::test
