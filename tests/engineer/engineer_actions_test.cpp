// App actions and the engineer-mode service's own calls, with the service present and absent.

#include <gtest/gtest.h>
#include <string.h>

#include <functional>
#include <string>

#include <orbafactory/engineer.h>

#include "em_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

class EngineerActionsTest : public EmTest {};

TEST_F(EngineerActionsTest, WithoutServiceEveryCallFailsTheWayItsFamilyDoes) {
  LogCapture log;
  EXPECT_FALSE(startOrbaEM("startServiceFromAtcid", kStandardComponent, nullptr, nullptr));
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "startOrbaEM::getService() is null\n")) << log.Dump();
  EXPECT_FALSE(installFactoryApk());
  EXPECT_FALSE(unInstallFactoryApk());
  EXPECT_FALSE(isServiceWork(kStandardClass));
  EXPECT_FALSE(OrbaEmcheckCallback("EngineerMode"));

  // strncpy semantics: four bytes of the failure text, no terminator, nothing beyond.
  char reply[16];
  memset(reply, 'x', sizeof(reply));
  EXPECT_EQ(sendToEngineerSocket("hello", reply, 4), 0);
  EXPECT_EQ(std::string(reply, 5), "starx");

  char user_reply[32] = {};
  EXPECT_EQ(sendToUserEngineerSocket("hello", user_reply, sizeof(user_reply) - 1), 0);
  EXPECT_STREQ(user_reply, "startOrbaEM Fail");

  char echo[8] = "keep";
  orbaem_test_mic_echo(1, echo, sizeof(echo));
  EXPECT_STREQ(echo, "keep");
}

TEST_F(EngineerActionsTest, QrCodeViewIsDismissedEvenWithoutService) {
  const std::function<bool()> actions[] = {
      [] { return startActivityFromAtcid(kStandardComponent, nullptr, nullptr); },
      [] { return sendBroadcastFromAtcid(nullptr, "some.action", "--es state 1"); },
  };
  for (const auto& action : actions) {
    SetProp("sys.qrcode.view", "1");
    EXPECT_FALSE(action());
    EXPECT_EQ(GetProp("sys.qrcode.view"), "0");
  }
}

TEST_F(EngineerActionsTest, ComponentsFollowWhatWasStartedAndStopped) {
  StartEm();
  EXPECT_FALSE(isServiceWork(kFingerprintClass));
  ASSERT_TRUE(startServiceFromAtcid(kFingerprintComponent, nullptr, nullptr));
  EXPECT_TRUE(isServiceWork(kFingerprintClass));
  EXPECT_TRUE(stopServiceFromAtcid(kFingerprintComponent, nullptr, nullptr));
  EXPECT_FALSE(isServiceWork(kFingerprintClass));
  EXPECT_FALSE(stopServiceFromAtcid(kFingerprintComponent, nullptr, nullptr));

  // An activity is not a service, and a force-stop ends everything of the package.
  ASSERT_TRUE(startActivityFromAtcid("com.xole.engineermode/.MainActivity", nullptr, nullptr));
  EXPECT_FALSE(isServiceWork("com.xole.engineermode.MainActivity"));
  ASSERT_TRUE(startServiceFromAtcid(kStandardComponent, nullptr, nullptr));
  EXPECT_TRUE(isServiceWork(kStandardClass));
  EXPECT_TRUE(OrbaEmcheckCallback("EngineerMode"));
  EXPECT_FALSE(OrbaEmcheckCallback("userEngineerMode"));
  EXPECT_TRUE(stopActivityFromAtcid("com.xole.engineermode", nullptr, nullptr));
  EXPECT_FALSE(isServiceWork(kStandardClass));
  EXPECT_FALSE(OrbaEmcheckCallback("EngineerMode"));

  // Not a component, or an app that cannot start.
  EXPECT_FALSE(startServiceFromAtcid("no-slash", nullptr, nullptr));
  SetProp("sim.em.unavailable", "com.other, com.orba.fingerprintengineer");
  EXPECT_FALSE(startServiceFromAtcid(kFingerprintComponent, nullptr, nullptr));
  EXPECT_FALSE(startOrbaEM("noSuchAction", "a", "b", "c"));
}

TEST_F(EngineerActionsTest, ActionsReachTheServiceWithTheirArguments) {
  StartEm();
  EXPECT_TRUE(sendBroadcastFromAtcid("pkg/.Receiver", "my.action", nullptr));
  EXPECT_EQ(send_broadcast_to_phone(7, 0), 0);
  EXPECT_EQ(send_broadcast_to_phone(8, 1), 0);  // skipped: nothing is sent
  EXPECT_EQ(Calls(), (std::vector<std::string>{
                         "doAction\tsendBroadcastFromAtcid\tpkg/.Receiver\tmy.action\t\t1",
                         "doAction\tsendBroadcastFromAtcid\t\torba.intent.action.factory_mode_"
                         "state\t--es state 7\t1",
                     }));
}

TEST_F(EngineerActionsTest, FactoryApkInstallsOnlyWhenItIsThere) {
  StartEm();
  EXPECT_FALSE(installFactoryApk());
  WriteDeviceFile("/factory/app/orbaEngineerMode/orbaEngineerMode.apk", "apk");
  EXPECT_TRUE(installFactoryApk());
  ASSERT_TRUE(startServiceFromAtcid(kStandardComponent, nullptr, nullptr));
  EXPECT_TRUE(unInstallFactoryApk());
  EXPECT_FALSE(isServiceWork(kStandardClass));  // removing the app stops it
  EXPECT_FALSE(unInstallFactoryApk());
}

TEST_F(EngineerActionsTest, MessageCallsCopyTheAppsReplyBounded) {
  StartEm();
  char reply[16] = {};
  // No edition is up: the service has nobody to hand the message to.
  EXPECT_EQ(sendToEngineerSocket("get_lcm_refreshrate max", reply, sizeof(reply) - 1), 0);
  EXPECT_STREQ(reply, "error");

  SetProp("sim.em.refresh_rate", "120");
  ASSERT_TRUE(startServiceFromAtcid(kStandardComponent, nullptr, nullptr));
  memset(reply, 0, sizeof(reply));
  EXPECT_EQ(sendToEngineerSocket("get_lcm_refreshrate max", reply, sizeof(reply) - 1), 0);
  EXPECT_STREQ(reply, "120");
  // The user edition is not up, whatever the standard one does.
  EXPECT_EQ(sendToUserEngineerSocket("get_lcm_refreshrate max", reply, sizeof(reply) - 1), 0);
  EXPECT_STREQ(reply, "error");

  memset(reply, 'x', sizeof(reply));
  EXPECT_EQ(sendToEngineerSocket("get_lcm_refreshrate max", reply, 2), 0);
  EXPECT_EQ(std::string(reply, 3), "12x");
}

TEST_F(EngineerActionsTest, MicEchoTakesTheServicesAnswer) {
  StartEm();
  WriteDeviceFile("/data/sim/em_replies", "testMicEcho 2\tpass:-30dB\n");
  struct Case {
    unsigned mode;
    int len;
    std::string want;
  } const cases[] = {{2, 63, "pass:-30dB"}, {2, 4, "pass"}, {5, 63, "ok"}};
  for (const Case& c : cases) {
    char echo[64] = {};
    orbaem_test_mic_echo(c.mode, echo, c.len);
    EXPECT_EQ(std::string(echo), c.want) << c.mode << "/" << c.len;
  }
}

}  // namespace
}  // namespace orba::test
