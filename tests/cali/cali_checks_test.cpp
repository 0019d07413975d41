// Whether items apply, the list of outstanding calibrations and the final data check.

#include <string.h>

#include <string>
#include <vector>

#include <orbafactory/persist.h>

#include "cali_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

using CaliChecksTest = CaliTest;

TEST_F(CaliChecksTest, FeatureLineNeedsTheNameAndTrue) {
  WriteDeviceFile(kFeatureFile,
                  "<features>\n"
                  "  <item name=\"cct_support\">true</item>\n"
                  "  <item name=\"gyroscope_support\">false</item>\n"
                  "  <item name=\"front_cct_support\">\n"
                  "    true</item>\n"
                  "  <item name=\"my_flash_light_cali_support_x\">true</item>\n"
                  "</features>\n");
  struct {
    const char* feature;
    int supported;
  } const cases[] = {
      {"\"cct_support\"", 1},
      {"cct_support", 1},
      {"\"gyroscope_support\"", 0},
      {"\"front_cct_support\"", 0},  // name and value on different lines
      {"\"flash_light_cali_support\"", 0},
      {"flash_light_cali_support", 1},  // the unquoted form matches inside other names
      {"\"absent\"", 0},
  };
  for (const auto& c : cases) EXPECT_EQ(is_calibrate_item_support(c.feature), c.supported) << c.feature;

  WriteDeviceFile(kFeatureFile, "cct true");  // fewer than 10 characters: no file
  EXPECT_EQ(is_calibrate_item_support("cct"), 0);
}

TEST_F(CaliChecksTest, TestListAndPropertyAndResultFilePredicates) {
  EXPECT_EQ(is_exist_test_item("cam_r_main_peri_virt_test"), 0);  // no list
  WriteDeviceFile("/cache/recovery/last_EngTestList",
                  "camera_test\ncam_r_main_peri_virt_test\n" + std::string(3000, 'z') +
                      "cam_r_tele_peri_fuse_test\n");
  EXPECT_EQ(is_exist_test_item("cam_r_main_peri_virt_test"), 1);
  EXPECT_EQ(is_exist_test_item("peri_virt"), 1);
  EXPECT_EQ(is_exist_test_item("cam_r_tele_peri_fuse_test"), 0);  // beyond the 2048 bytes read

  SetProp("persist.sys.gs_cal_flag", "1");
  EXPECT_EQ(is_calibrated_by_property("persist.sys.gs_cal_flag", "0"), 1);
  EXPECT_EQ(is_calibrated_by_property("persist.sys.gs_cal_flag", "1"), 0);
  EXPECT_EQ(is_calibrated_by_property("persist.sys.unset_flag", "0"), 0);

  LogCapture log;
  EXPECT_EQ(is_calibrated_by_last_xml("cct_cali", "1"), 0);  // no file
  WriteDeviceFile(kResultFile, "gsensor_calibration 1\ncct_cali 0\n");
  EXPECT_EQ(is_calibrated_by_last_xml("gsensor_calibration", "1"), 1);
  EXPECT_EQ(is_calibrated_by_last_xml("cct_cali", "1"), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "find item, but no calibrated!")) << log.Dump();
  EXPECT_EQ(is_calibrated_by_last_xml("ring_light_cali", "0"), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "can't find cali item!!"));
}

struct ListCase {
  const char* name;
  std::vector<std::string> features;
  std::string results;  // result file (empty: none)
  std::string bg_dark;  // bg/dark file (empty: none)
  std::string fptype;
  bool force_cali_apk;
  int ret;
  std::string list;
};

TEST_F(CaliChecksTest, OutstandingListFollowsTheRulesInOrder) {
  const std::string base = "<pad to make the file long enough>\n";
  const ListCase cases[] = {
      {"plain device", {}, "", "", "", false, 1,
       "\"light_sensor_cali,infrared_calibration,gsensor_calibration\""},
      {"all done", {}, base + "light_sensor_cali 1\ninfrared_calibration 1\ngsensor_calibration 1\n",
       "", "", false, 0, ""},
      {"dark background counts as done", {}, base + "gsensor_calibration 1\n",
       base + "light_sensor_cali 1\ninfrared_calibration 1\n", "", false, 0, ""},
      {"lcm light sensor tests the short key",
       {"lcm_light_sensor", "under_infrared_support"},
       base + "dark_light_sensor_cali 1\ngsensor_calibration 1\nunder_infrared_cali 1\n"
              "bright_light_sensor 1\n",
       "", "", false, 1, "\"dark_light_sensor_cali\""},
      {"udfp and camera tests",
       {"front_double_camera"},
       base + "gsensor_calibration 1\nlight_sensor_cali 1\ninfrared_calibration 1\n"
              "f_double_camera_calibration 1\n",
       "", "udfp_goodix", false, 1, "\"cam_f_main_wide_virt_cali,udfp_calibration\""},
      {"tof rgbd and side key",
       {"camera_tof_support", "force_touch_support_other"},
       base + "gsensor_calibration 1\nlight_sensor_cali 1\ninfrared_calibration 1\n"
              "tof_linear_cali 1\ntof_linear_20cm_cali 1\ntof_planarity_cali 1\n"
              "tof_planarity_20cm_cali 1\n",
       "", "", true, 1, "\"tof_rgbd_cali,sidekey_cali_right\""},
  };
  for (const ListCase& c : cases) {
    SCOPED_TRACE(c.name);
    SetFeatures(c.features);
    unlink(HostPath(kResultFile).c_str());
    unlink(HostPath(kBgDarkFile).c_str());
    unlink(HostPath("/system/app/ForceCaliTest/ForceCaliTest.apk").c_str());
    if (!c.results.empty()) WriteDeviceFile(kResultFile, c.results);
    if (!c.bg_dark.empty()) WriteDeviceFile(kBgDarkFile, c.bg_dark);
    if (c.force_cali_apk) WriteDeviceFile("/system/app/ForceCaliTest/ForceCaliTest.apk", "apk");
    SetProp("persist.sys.fptype", c.fptype);
    char dst[1280];
    memset(dst, '#', sizeof(dst));
    dst[sizeof(dst) - 1] = '\0';
    ASSERT_EQ(get_calibrate_list(dst), c.ret);
    if (c.ret == 1) {
      EXPECT_EQ(std::string(dst), c.list);
    } else {
      EXPECT_EQ(std::string(dst), std::string(1279, '#'));
    }
  }
}

TEST_F(CaliChecksTest, ForceTouchDeviceNeedsNoSideKeyCalibration) {
  SetFeatures({"force_touch_support"});
  WriteDeviceFile(kResultFile, "gsensor_calibration 1\nlight_sensor_cali 1\ninfrared_calibration 1\n");
  WriteDeviceFile("/system/app/ForceCaliTest/ForceCaliTest.apk", "apk");
  char dst[1280] = {};
  EXPECT_EQ(get_calibrate_list(dst), 0);
}

TEST_F(CaliChecksTest, DataCheckStopsAtTheFirstMissingResult) {
  char report[40] = {};

  struct Step {
    const char* name;
    std::vector<std::string> features;
    size_t offset;  // NV field set to 1 before the check (0: none)
    const char* result_line;
    int ret;
    const char* report;
  } const steps[] = {
      {"defaults lack the proximity flag", {}, 0, nullptr, -1, "ps_cali_flag nv fail"},
      {"then the light sensor", {}, 96, nullptr, -1, "als_cali_flag nv fail"},
      {"then nothing", {}, 92, nullptr, 0, ""},
      {"gyroscope device without gsensor flag", {"gyroscope_support"}, 0, nullptr, -1,
       "gsensor nv fail"},
      {"flash light", {"flash_light_cali_support"}, 0, nullptr, -1, "flash_light nv fail"},
      {"front colour sensor reports as the rear one", {"front_cct_support"}, 0, nullptr, -1,
       "cct_cali nv fail"},
      {"tof items by state", {"camera_tof_support"}, 0, "tof_linear_cali 1\n", -1,
       "tof_linear_20cm_cali nv fail"},
      {"long laser name is cut at the report size", {"laser_VL53L3_support"}, 0, nullptr, -1,
       "laser_focus_crosstalk_cali_VL53L3 nv fa"},
      {"pop camera", {"camera_pop_calibration"}, 0, nullptr, -1, "camera_pop_calibration nv fail"},
  };
  for (const Step& s : steps) {
    SCOPED_TRACE(s.name);
    SetFeatures(s.features);
    if (s.offset != 0) SetNvField(s.offset, 1);
    WriteDeviceFile(kResultFile, std::string("gsensor_calibration 1\n") +
                                     (s.result_line ? s.result_line : ""));
    memset(report, 0, sizeof(report));
    EXPECT_EQ(check_calibrate_data(report), s.ret);
    EXPECT_STREQ(report, s.report);
  }
  // Last: the partition path is chosen once per process, among the links that exist then.
  unlink(HostPath(kBackupDevice).c_str());
  EXPECT_EQ(check_calibrate_data(report), -1);
  EXPECT_STREQ(report, "read nv fail");
}

}  // namespace
}  // namespace orba::test
