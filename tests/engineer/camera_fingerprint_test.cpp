// Camera and fingerprint exchanges over real sockets, with services that are up, come up late
// or refuse.

#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include <orbafactory/engineer.h>
#include <orbafactory/sysaccess.h>

#include "em_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

class CameraMessageTest : public EmTest {
 protected:
  void SetUp() override {
    EmTest::SetUp();
    StartEm();
  }
};

TEST_F(CameraMessageTest, RunningServiceAnswersOneLine) {
  LogCapture log;
  ASSERT_TRUE(startServiceFromAtcid(kStockCameraComponent, nullptr, nullptr));
  WriteDeviceFile("/data/sim/camera_replies", "get_sensor_id\tmain:0x0582\n");
  SetProp("sys.camera.socket_service", "off");
  char* reply = sendMessageToCamera("get_sensor_id");
  EXPECT_EQ(reply, recv_buf);
  EXPECT_STREQ(reply, "main:0x0582");
  EXPECT_EQ(std::string(camera_recv_buf), "main:0x0582");
  EXPECT_EQ(GetProp("sys.camera.socket_service"), "on");
  EXPECT_EQ(CountCalls("camera\tget_sensor_id\tmain:0x0582"), 1);
  EXPECT_FALSE(log.Has(ANDROID_LOG_ERROR, "connect to server failed, try to start..."));
  // An unknown request gets the service's default answer.
  EXPECT_STREQ(sendMessageToCamera("other"), "error");
}

TEST_F(CameraMessageTest, ServiceStartingLateIsWaitedForWithinOnePass) {
  LogCapture log;
  WriteDeviceFile("/system/app/EngineerCamera/EngineerCamera.apk", "");
  SetProp("sim.camera.start_delay_ms", "600");
  SetProp("sim.camera.default_reply", "ready");
  EXPECT_STREQ(sendMessageToCamera("open"), "ready");
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "connect to server failed, try to start..."));
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "Now the server is ready.")) << log.Dump();
  for (const LogLine& l : log.Lines()) {
    if (l.text.rfind("still failed", 0) == 0) {
      EXPECT_EQ(l.func, "sendMessageToCamera");
    }
  }
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "begin to start \"com.orba.engineercamera\""));
  EXPECT_EQ(CountCalls(std::string("doAction\tstartServiceFromAtcid\t") +
                       kEngineerCameraComponent),
            1);
}

TEST_F(CameraMessageTest, OverlongRequestIsRefusedWithoutContact) {
  std::string longest(1022, 'a');  // with its line feed it fills the request buffer but one byte
  std::string too_long(1023, 'a');
  ASSERT_TRUE(startServiceFromAtcid(kStockCameraComponent, nullptr, nullptr));
  SetProp("sim.camera.default_reply", "fine");
  EXPECT_STREQ(sendMessageToCamera(longest.c_str()), "fine");
  EXPECT_STREQ(sendMessageToCamera(too_long.c_str()), "error");
  EXPECT_EQ(CountCalls("camera\t"), 1);
}

TEST_F(CameraMessageTest, StopClosesTheSocketAndTheNoOpsDoNothing) {
  LogCapture log;
  ASSERT_TRUE(startServiceFromAtcid(kStockCameraComponent, nullptr, nullptr));
  EXPECT_EQ(stopCameraFromAtcid(), 1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "begin to stop \"com.android.camera\""));
  EXPECT_EQ(CountCalls("doAction\tstopActivityFromAtcid\tcom.android.camera\t"), 1);
  EXPECT_FALSE(isServiceWork("com.android.camera.service.CameraSocketService"));

  std::string before = ReadDeviceFile("/data/sim/em_calls");
  startCameraFromAtcid();
  stopCameraSocketService();
  EXPECT_EQ(ReadDeviceFile("/data/sim/em_calls"), before);
}

class FingerprintMessageTest : public EmTest {
 protected:
  void SetUp() override {
    EmTest::SetUp();
    StartAtcmd();
    StartEm();
  }
};

TEST_F(FingerprintMessageTest, RepliesEndTheLoopEvenWhenEmpty) {
  ASSERT_TRUE(startServiceFromAtcid(kFingerprintComponent, nullptr, nullptr));
  WriteDeviceFile("/data/sim/fingerprint_replies", "get_id\tid:1234\nsilent\t\n");
  struct Case {
    const char* request;
    const char* reply;
  } const cases[] = {{"get_id", "id:1234"}, {"silent", ""}, {"unknown", "error"}};
  for (const Case& c : cases) {
    char* reply = sendMessageToFingerprint(c.request);
    EXPECT_EQ(reply, recv_buf);
    EXPECT_STREQ(reply, c.reply) << c.request;
  }
  EXPECT_EQ(CountCalls("fingerprint\t"), 3);
  EXPECT_EQ(CountCalls("doAction\tstartServiceFromAtcid"), 1);  // only the test's own
}

TEST_F(FingerprintMessageTest, RefusedWhileStartingThenAnswered) {
  SetProp("sim.fingerprint.start_delay_ms", "300");
  SetProp("sim.fingerprint.default_reply", "pass");
  EXPECT_STREQ(sendMessageToFingerprint("self_test"), "pass");
  int refused = CountCalls(std::string("doAction\tisServiceWork\t") + kFingerprintClass);
  EXPECT_GE(refused, 1);
  EXPECT_LT(refused, 30);
  EXPECT_EQ(CountCalls(std::string("doAction\tstartServiceFromAtcid\t") + kFingerprintComponent),
            refused);
  EXPECT_EQ(CountCalls("fingerprint\tself_test\tpass"), 1);
}

TEST_F(FingerprintMessageTest, LongRequestIsCutToTheRequestBuffer) {
  ASSERT_TRUE(startServiceFromAtcid(kFingerprintComponent, nullptr, nullptr));
  std::string msg(300, 'f');
  SetProp("sim.fingerprint.default_reply", "ok");
  EXPECT_STREQ(sendMessageToFingerprint(msg.c_str()), "ok");
  // The request buffer holds 255 characters: the line feed is what gets cut.
  EXPECT_EQ(CountCalls("fingerprint\t" + std::string(255, 'f') + "\tok"), 1);
}

// The vendor AT-command daemon's socket peer answers what the table says.
TEST_F(FingerprintMessageTest, AtcidPeerAnswersFromItsTable) {
  WriteDeviceFile("/data/sim/atcid_replies", "AT+VER?\t+VER: 1.0\\r\\nOK\n");
  EXPECT_STREQ(atcmd_execute_vendor("AT+VER?"), "+VER: 1.0\r\nOK");
  EXPECT_STREQ(atcmd_execute_vendor("AT+NONE"), "error");
  EXPECT_EQ(CountCalls("atcid\tAT+VER?\t"), 1);
}

}  // namespace
}  // namespace orba::test
