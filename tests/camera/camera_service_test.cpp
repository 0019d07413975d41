// A camera AT command all the way: AT text, camera-service message, the simulated camera app's
// answer, AT response; and the hardware-model service's own contract.

#include <gtest/gtest.h>

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include <orbafactory/camera.h>
#include <orbafactory/engineer.h>

#include "camera_device.h"

namespace orba::test {
namespace {

std::string RoundTrip(const char* atcmd, int* kind) {
  char message[1024] = {};
  char item[49] = {};
  if (transform_at_cmd_to_camera_info(atcmd, message, sizeof(message), item) != 0) return "";
  std::string answer = sendMessageToCamera(message);
  char resp[1024] = {};
  *kind = transform_camera_ret_to_at_resp(answer.c_str(), resp, sizeof(resp));
  return resp;
}

TEST_F(CameraDeviceTest, AtCommandsThroughTheCameraService) {
  StartDevice("rotary");  // rear main and wide
  struct Case {
    const char* atcmd;
    int kind;
    const char* resp;
  } cases[] = {
      {"AT+TQ_CCM_SINGLE=2,R,MAIN", 7, "+af:\"1\"\r\n+vcm:\"512\"\r\n"},
      {"AT+TQ_CCM_BURN=1,R,WIDE", 7, "+sensor_id:\"0x0586\"\r\n"},
      {"AT+TQ_CCM_RAW=10,R,MAIN,WIDE", 7, "+distance:\"300\"\r\n"},
      {"AT+TQ_CCM_SINGLE=1,R,TELE", 8, "fail#no rear camera tele"},
  };
  for (const Case& c : cases) {
    int kind = 0;
    EXPECT_EQ(RoundTrip(c.atcmd, &kind), c.resp) << c.atcmd;
    EXPECT_EQ(kind, c.kind) << c.atcmd;
  }
  // A reply table entry overrides the app's own answer.
  WriteDeviceFile("/data/sim/camera_replies",
                  "eng_AT_camera#rear#main#capture*\tsuccess#capture 0#reason busy\n");
  int kind = 0;
  EXPECT_EQ(RoundTrip("AT+TQ_CCM_SINGLE=3,R,MAIN", &kind),
            "+capture:\"0\"\r\n+reason:\"busy\"\r\n");

  auto cli = Cli({"camera", "at", "AT+TQ_CCM_NTC=1,R,MAIN"});
  EXPECT_EQ(cli.status, 0) << cli.err;
  EXPECT_EQ(cli.out, "+ntc_temp:\"36.5\"\r\nOK\n");
  auto bad = Cli({"camera", "at", "AT+TQ_CCM_SINGLE=1,F,MAIN"});
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(bad.out, "fail#no front camera main\n");
}

TEST_F(CameraDeviceTest, ModelsRecordCommandsAndGroundTruth) {
  StartDevice("rotary");
  auto status = Sim({"status"});
  EXPECT_NE(status.out.find("orba-hw-models           running"), std::string::npos)
      << status.out;
  ASSERT_EQ(pop_camera(200), 1);
  ASSERT_EQ(neg_rotate_camera(300), 1);  // rising, about 51 degrees
  usleep(600000);
  std::string log = ReadDeviceFile("/data/sim/motor_log");
  EXPECT_NE(log.find(" motor 200\n"), std::string::npos) << log;
  EXPECT_NE(log.find(" motor5 300\n"), std::string::npos) << log;
  EXPECT_NEAR(Truth("/data/sim/pop_position"), 0.25, 0.01);
  EXPECT_NEAR(Truth("/data/sim/rotary_angle"), 120.0 + 300 * 170.45 / 1000, 1.0);
  // A reading is the field at the true angle, within its noise.
  EXPECT_NEAR(get_current_avr_angle(), Truth("/data/sim/rotary_angle"), 0.5);
}

TEST_F(CameraDeviceTest, DisabledModelsLeaveEveryNodeAlone) {
  StartDevice("rotary", {{"sim.hw.enable", "0"}});
  auto status = Sim({"status"});
  EXPECT_NE(status.out.find("orba-hw-models           running"), std::string::npos);
  EXPECT_EQ(access(HostPath("/sys/class/orba_hall/ak09970/data").c_str(), F_OK), -1);
  WriteDeviceFile("/sys/class/orba_hall/up_hall/single_data", "777");
  ASSERT_EQ(pop_camera(200), 1);
  usleep(300000);
  EXPECT_EQ(ReadDeviceFile("/sys/class/orba_hall/up_hall/single_data"), "777");
  EXPECT_EQ(access(HostPath("/data/sim/motor_log").c_str(), F_OK), -1);
}

}  // namespace
}  // namespace orba::test
