// AT commands to camera-service messages and answers back; camera identity files.

#include <gtest/gtest.h>

#include <string.h>
#include <unistd.h>

#include <string>

#include <orbafactory/camera.h>

#include "camera_fixture.h"

namespace orba::test {
namespace {

TEST(AtTranslation, CommandsToMessages) {
  struct Case {
    const char* atcmd;
    int ret;
    const char* message;
    const char* item;
  } cases[] = {
      {"AT+TQ_CCM_RAW=10,R,MAIN", 0, "eng_AT_camera#rear#main#raw_distance#NULL#NULL", "N"},
      {"AT+TQ_CCM_RAW=1,R,MAIN", 0, "eng_AT_camera#rear#main#phone_test_false#NULL#NULL", "N"},
      {"AT+TQ_CCM_SINGLE=3,F,MAIN,TELE,1 2", 0, "eng_AT_camera#front#main&tele#capture#1 2#NULL",
       "N"},
      {"AT+TQ_CCM_SINGLE=3,R,WIDE,5", 0, "eng_AT_camera#rear#wide#capture#param 5#NULL", "N"},
      {"AT+TQ_CCM_PARA=3,R,AUX_MAIN,gain#4", 0,
       "eng_AT_camera#rear#aux_main#light_factor_set#gain#4", "N"},
      {"AT+TQ_CCM_OTP=2,F,MAIN,3", 0, "eng_AT_camera#front#main#otp_write#param 3#NULL",
       "cam_f_main_awb_write_3100k_cali"},
      {"AT+TQ_CCM_SINGLE=1,X,MAIN", -1, "", "N"},
      {"AT+TQ_CCM_SINGLE=1,R,FISHEYE", -1, "", "N"},
      {"AT+TQ_CCM_ZOOM=1,R,MAIN", -1, "", ""},
  };
  for (const Case& c : cases) {
    char message[512] = {};
    char item[49] = {};
    EXPECT_EQ(transform_at_cmd_to_camera_info(c.atcmd, message, sizeof(message), item), c.ret)
        << c.atcmd;
    if (c.ret == 0) {
      EXPECT_STREQ(message, c.message) << c.atcmd;
    }
    EXPECT_STREQ(item, c.item) << c.atcmd;
  }
}

TEST(AtTranslation, SecondTypeMissLogged) {
  LogCapture log;
  char message[256] = {};
  char item[49] = {};
  ASSERT_EQ(transform_at_cmd_to_camera_info("AT+TQ_CCM_SINGLE=3,R,WIDE,5", message,
                                            sizeof(message), item),
            0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "not found msg_camera_type_2")) << log.Dump();
  // A message that does not fit is refused, not cut.
  char small[16] = {};
  EXPECT_EQ(transform_at_cmd_to_camera_info("AT+TQ_CCM_SINGLE=3,R,WIDE,5", small, sizeof(small),
                                            item),
            -1);
}

TEST(AtTranslation, PositionAndType) {
  struct Case {
    const char* in;
    bool position;
    int ret;
    const char* out;
  } cases[] = {
      {"F", true, 0, "front"},   {"R", true, 0, "rear"},        {"X", true, -1, "NULL"},
      {"f", true, -1, "NULL"},   {"PERI", false, 0, "peri"},    {"AUX_MAIN", false, 0, "aux_main"},
      {"main", false, -1, "NULL"},
  };
  for (const Case& c : cases) {
    char out[32] = {};
    int ret = c.position ? transform_atcmd_cam_position(c.in, out, sizeof(out))
                         : transform_atcmd_cam_type(c.in, out, sizeof(out));
    EXPECT_EQ(ret, c.ret) << c.in;
    EXPECT_STREQ(out, c.out) << c.in;
  }
}

TEST(AtTranslation, AnswersToResponses) {
  struct Case {
    const char* answer;
    int ret;
    const char* resp;
  } cases[] = {
      {"success#af 1#sfr 2", 7, "+af:\"1\"\r\n+sfr:\"2\"\r\n"},
      {"SUCCESS#id 0x5a#nokey#later 3", 7, "+id:\"0x5a\"\r\n"},
      {"success", 7, ""},
      {"success#value a b", 7, "+value:\"a b\"\r\n"},
      {"fail#x", 8, "fail#x"},
      {"error", 8, "error"},
  };
  for (const Case& c : cases) {
    char resp[256];
    memset(resp, 'z', sizeof(resp));
    EXPECT_EQ(transform_camera_ret_to_at_resp(c.answer, resp, sizeof(resp)), c.ret) << c.answer;
    EXPECT_STREQ(resp, c.resp) << c.answer;
  }
  char tiny[8];
  EXPECT_EQ(transform_camera_ret_to_at_resp("a very long failure text", tiny, sizeof(tiny)), 8);
  EXPECT_STREQ(tiny, "a very ");
}

TEST_F(CameraNodeTest, CameraKindsFromTheFeature) {
  SetFeatures("fully_auto_pop", "    <feature name=\"camera_type\">front[front_camera_main];"
                                "back[rear_camera_main,rear_camera_wide]</feature>\n");
  struct Case {
    int front;
    const char* type;
    int ret;
  } cases[] = {
      {1, "front_camera_main", 1}, {0, "front_camera_main", 0}, {0, "rear_camera_wide", 1},
      {2, "rear_camera_main", 1},  {3, "rear_camera_tele", 0},
  };
  for (const Case& c : cases) EXPECT_EQ(is_support_target_camera(c.front, c.type), c.ret) << c.type;
  EXPECT_TRUE(log_.Has(ANDROID_LOG_DEBUG, "face = rear, type = rear_camera_wide, ret = true"));
  SetFeatures("fully_auto_pop");
  EXPECT_EQ(is_support_target_camera(1, "front_camera_main"), 0);
}

TEST_F(CameraNodeTest, ModuleDataPaths) {
  WriteDeviceFile("/mnt/vendor/nvcfg/camera/sn_data_main", "41");
  struct Case {
    const char* flag;
    const char* type;
    int ret;
    const char* path;
  } legacy[] = {
      {"sn_code", "rear_camera_main", 0, "/mnt/vendor/nvcfg/camera/sn_data_main"},
      {"material_code", "rear_camera_sub", 0, "/mnt/vendor/nvcfg/camera/sn_data_aux"},
      {"sn_code", "front_camera_wide", 0, "/mnt/vendor/nvcfg/camera/sn_data_front_aux"},
      {"sn_code", "rear_camera_peri", 0, "/mnt/vendor/nvcfg/camera/sn_data_tele1"},
      {"sn_code", "front_camera_aux-main", 0,
       "/mnt/vendor/nvcfg/camera/front_camera_aux-main_sn"},
      {"sn_code", "side_camera", -1, ""},
      {"serial", "rear_camera_main", -1, ""},
  };
  for (const Case& c : legacy) {
    char path[128] = {};
    EXPECT_EQ(combine_camera_sn_path(c.flag, c.type, path, sizeof(path)), c.ret) << c.type;
    if (c.ret == 0) {
      EXPECT_STREQ(path, c.path) << c.type;
    }
  }
  WriteDeviceFile("/mnt/vendor/nvcfg/camera/sn_data_wide", "42");
  char path[128] = {};
  ASSERT_EQ(combine_camera_sn_path("sn_code", "rear_camera_sub", path, sizeof(path)), 0);
  EXPECT_STREQ(path, "/mnt/vendor/nvcfg/camera/sn_data_wide");
  // The per-type layout, once its mark is there.
  WriteDeviceFile("/mnt/vendor/nvcfg/camera/rear_camera_main_sn", "4f4b");
  ASSERT_EQ(combine_camera_sn_path("material_code", "rear_camera_wide", path, sizeof(path)), 0);
  EXPECT_STREQ(path, "/mnt/vendor/nvcfg/camera/rear_camera_wide_material");
  char small[20] = {};
  EXPECT_EQ(combine_camera_sn_path("sn_code", "rear_camera_wide", small, sizeof(small)), -1);
}

TEST_F(CameraNodeTest, SerialNumberAndMaterialCode) {
  WriteDeviceFile("/mnt/vendor/nvcfg/camera/rear_camera_main_sn", "4f524241303031\n");
  WriteDeviceFile("/mnt/vendor/nvcfg/camera/rear_camera_main_material", "MAT-7\n");
  char out[64];
  memset(out, 'x', sizeof(out));
  get_camera_info_code("sn_code", "rear_camera_main", out, sizeof(out));
  EXPECT_STREQ(out, "ORBA001");
  EXPECT_EQ(Node("/mnt/vendor/nvcfg/camera/rear_camera_main_sn").size(), 14u);
  get_camera_info_code("material_code", "rear_camera_main", out, sizeof(out));
  EXPECT_STREQ(out, "MAT-7");
  get_camera_info_code("sn_code", "rear_camera_wide", out, sizeof(out));
  EXPECT_STREQ(out, "");
  // A missing file fails at the chmod, which is what the log names.
  EXPECT_TRUE(log_.Has(ANDROID_LOG_ERROR, "chmod error : No such file or directory"))
      << log_.Dump();
  EXPECT_FALSE(log_.Has(ANDROID_LOG_ERROR,
                        "file_path not exist:/mnt/vendor/nvcfg/camera/rear_camera_wide_sn"))
      << log_.Dump();
}

TEST_F(CameraNodeTest, OtpStatusReport) {
  SetProperty("vendor.camera.otp.main", "0");
  SetProperty("vendor.camera.otp.wide", "1F2");
  char dst[256] = {};
  EXPECT_EQ(get_target_camera_otp_status(dst, sizeof(dst), "vendor.camera.otp.main"), 1);
  EXPECT_STREQ(dst, "");
  EXPECT_EQ(get_target_camera_otp_status(dst, sizeof(dst), "vendor.camera.otp.wide"), 0);
  EXPECT_EQ(std::string(dst).rfind("\r\n\"vendor.camera.otp.wide\"\r\n\r\n\"1F2\"\r\n", 0), 0u)
      << dst;
  EXPECT_GT(strlen(dst), 40u);  // and an error text for code '2'
  EXPECT_EQ(get_target_camera_otp_status(dst, 31, "vendor.camera.otp.wide"), 0);
  EXPECT_TRUE(log_.Has(ANDROID_LOG_ERROR, "lens is too short!"));
  char unset[64] = {};
  EXPECT_EQ(get_target_camera_otp_status(unset, sizeof(unset), "vendor.camera.otp.none"), 1);
}

TEST_F(CameraNodeTest, DualCameraRuns) {
  ServiceDeviceTest::SetProperty("ro.orba.product.model", "PD5202");
  struct Case {
    const char* function;
    int front;
    const char* t1;
    const char* t2;
    int ret;
    const char* ret_path;
    const char* message;
  } cases[] = {
      {"cali", 0, "MAIN", "rtb", 0, "/mnt/vendor/nvcfg/camera/dual_calibration_ret",
       "eng_AT_camera#rear#main&rtb#virt_cali#is_dualcamera_split_comd false#NULL"},
      {"test", 1, "main", "wide", 0, "/mnt/vendor/nvcfg/camera/dual_verification_ret_front",
       "eng_AT_camera#front#main&wide#virt_test#is_dualcamera_split_comd false#NULL"},
      {"test", 0, "tele", "peri", 0, "/mnt/vendor/nvcfg/camera/dual_verification_ret5",
       "eng_AT_camera#rear#tele&peri#virt_test#is_dualcamera_split_comd false#NULL"},
      {"cali", 1, "main", "rtb", -1, "", ""},
      {"cali", 0, "macro", "rtb", -1, "", ""},
      {"calibrate", 0, "main", "rtb", -1, "", ""},
  };
  for (const Case& c : cases) {
    char message[128] = {}, ret_path[128] = {}, result_path[128] = {};
    EXPECT_EQ(get_dual_virtual_info(message, ret_path, result_path, 128, c.function, c.front, c.t1,
                                    c.t2, true),
              c.ret)
        << c.t1 << "&" << c.t2;
    if (c.ret != 0) continue;
    EXPECT_STREQ(ret_path, c.ret_path);
    EXPECT_STREQ(message, c.message);
  }
  char message[128] = {}, ret_path[128] = {}, result_path[128] = {};
  ASSERT_EQ(get_dual_fusion_info(message, ret_path, result_path, 128, "cali", 0, "tele", "peri"), 0);
  EXPECT_STREQ(result_path, "/mnt/vendor/nvcfg/camera/dual_fuse_cali_tele_peri_result");
  EXPECT_STREQ(message, "eng_AT_camera#rear#tele&peri#fuse_cali#NULL#NULL");
  ASSERT_EQ(get_dual_fusion_info(message, ret_path, result_path, 128, "test", 0, "main", "tele"), 0);
  EXPECT_STREQ(ret_path, "/mnt/vendor/nvcfg/camera/_triple_calibration_ret");
  EXPECT_STREQ(message, "wide_tele_check");
  EXPECT_EQ(get_dual_fusion_info(message, ret_path, result_path, 128, "test", 0, "main", "wide"),
            -1);
}

TEST_F(CameraNodeTest, DualCameraResultFiles) {
  WriteDeviceFile("/mnt/vendor/nvcfg/camera/dual_calibration_ret", "PASS\nmore\n");
  WriteDeviceFile("/mnt/vendor/nvcfg/camera/dual_calibration_result", "0.12,0.80,0.5,1\n");
  char ret[256] = {}, avg[64] = {}, max[64] = {}, range[64] = {}, result[64] = {};
  ASSERT_EQ(parse_double_camere_test_files("/mnt/vendor/nvcfg/camera/dual_calibration_ret",
                                           "/mnt/vendor/nvcfg/camera/dual_calibration_result",
                                           ret, avg, max, range, result),
            0);
  EXPECT_STREQ(ret, "PASS\n");
  EXPECT_STREQ(avg, "0.12");
  EXPECT_STREQ(max, "0.80");
  EXPECT_STREQ(range, "0.5");
  EXPECT_STREQ(result, "1");
  WriteDeviceFile("/mnt/vendor/nvcfg/camera/dual_calibration_result", "0.12,0.80\n");
  EXPECT_EQ(parse_double_camere_test_files("/mnt/vendor/nvcfg/camera/dual_calibration_ret",
                                           "/mnt/vendor/nvcfg/camera/dual_calibration_result",
                                           ret, avg, max, range, result),
            -1);
  EXPECT_TRUE(log_.Has(ANDROID_LOG_ERROR, "result_file data format error!!"));
  EXPECT_EQ(parse_double_camere_test_files("/mnt/vendor/nvcfg/camera/none", "/x", ret, avg, max,
                                           range, result),
            -1);
}

}  // namespace
}  // namespace orba::test
