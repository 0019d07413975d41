// The station's two summary questions: which calibrations are still to be done on this device,
// and whether every calibration it needs has left its result behind.

#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <initializer_list>

#include <cutils/properties.h>

#include <orbafactory/config.h>
#include <orbafactory/persist.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "calibration_files.h"

using namespace orba::persist;

namespace {

constexpr const char kForceCaliApk[] = "/system/app/ForceCaliTest/ForceCaliTest.apk";
constexpr size_t kReportSize = 40;

class OutstandingList {
 public:
  OutstandingList() { strcpy(buf_, "\""); }

  // An item is outstanding when it applies, has not passed and has no dark-background pass.
  void Consider(bool applies, const char* state_key, const char* flag_key, const char* item) {
    if (!applies || get_calibrate_item_state(state_key) == 1 ||
        get_calibrate_item_bg_dark(flag_key) == 1) {
      return;
    }
    char next[kCaliListSize];
    // Bounded by the list size; every rule together stays well inside it.
    if (snprintf(next, sizeof(next), "%s,%s", buf_, item) >= static_cast<int>(sizeof(next))) {
      ORBA_LOGD("list full at %s", item);
    }
    memcpy(buf_, next, sizeof(buf_));
  }
  void Consider(bool applies, const char* item) { Consider(applies, item, item, item); }

  int Finish(char* dst) {
    size_t len = strlen(buf_);
    if (len + 1 < sizeof(buf_)) {
      buf_[len] = '"';
      buf_[len + 1] = '\0';
    }
    if (strlen(buf_) < 6) return 0;
    // "\",a,b\"" becomes "\"a,b\"": the comma after the opening quote turns into the quote.
    buf_[1] = '"';
    strcpy(dst, buf_ + 1);
    return 1;
  }

 private:
  char buf_[kCaliListSize];
};

bool TestItemListed(const char* test_item) { return (is_exist_test_item(test_item) & 1) != 0; }

bool HardwareQztIs(const char* model) {
  char value[PROPERTY_VALUE_MAX] = {};
  property_get("ro.hardware.qzt", value, "");
  value[79] = '\0';  // the value is looked at through an 80-byte buffer
  return strstr(value, model) != nullptr;
}

int32_t Field(const uint8_t* record, size_t offset) {
  int32_t v;
  memcpy(&v, record + offset, sizeof(v));
  return v;
}

// The caller promises 40 bytes, and the longest laser item names do not fit with the suffix:
// the report is cut there rather than written past it, and the log keeps the whole name.
int Fail(char* report, const char* name) {
  int n = snprintf(report, kReportSize, "%s nv fail", name);
  if (n >= static_cast<int>(kReportSize)) ORBA_LOGD("%s nv fail", name);
  return -1;
}

}  // namespace

extern "C" int get_calibrate_list(char* dst) {
  if (dst == nullptr) return 0;
  OutstandingList list;
  list.Consider(FeatureSupported("\"double_camera\""), "b_double_camera_calibration");
  list.Consider(FeatureSupported("\"front_double_camera\""), "f_double_camera_calibration");
  list.Consider(FeatureSupported("\"front_double_camera\""), "cam_f_main_wide_virt_cali");
  list.Consider(FeatureSupported("\"gyroscope_support\""), "gyroscope_calibration");
  list.Consider(FeatureSupported("\"smart_spearker_amplifier_cali_support\""),
                "smart_speaker_amplifier_cali");
  list.Consider(FeatureSupported("\"sub_smart_spearker_amplifier_cali_support\""),
                "smart_speaker_amplifier2_cali");
  // Historically asked without quotes, so any line mentioning the name and "true" counts.
  list.Consider(FeatureSupported("flash_light_cali_support"), "flash_light_cali");
  list.Consider(FeatureSupported("\"front_flash_light_cali_support\""), "front_flash_light_cali");
  list.Consider(FeatureSupported("\"lcm_light_sensor\""), "dark_light_sensor",
                "dark_light_sensor_cali", "dark_light_sensor_cali");
  list.Consider(FeatureSupported("\"lcm_light_sensor\""), "bright_light_sensor",
                "bright_light_sensor_cali", "bright_light_sensor_cali");
  list.Consider(!FeatureSupported("\"lcm_light_sensor\""), "light_sensor_cali");
  list.Consider(!FeatureSupported("\"under_infrared_support\""), "infrared_calibration");
  list.Consider(FeatureSupported("\"under_infrared_support\""), "under_infrared_cali");
  list.Consider(true, "gsensor_calibration");
  list.Consider(IsUdfpDevice(__func__), "udfp_calibration");
  list.Consider(FeatureSupported("\"camera_pop_calibration\""), "camera_pop_calibration");
  for (const char* item : {"lcm_color_temp_cali", "lcm_color_temp_cali_back",
                           "light_sensor_cali_back", "infrared_calibration_back"}) {
    list.Consider(FeatureSupported("\"double_lcm_support\""), item);
  }
  list.Consider(FeatureSupported("\"ring_light_support\""), "ring_light_cali");
  for (const char* item : {"tof_linear_cali", "tof_linear_20cm_cali", "tof_planarity_cali",
                           "tof_planarity_20cm_cali", "tof_rgbd_cali"}) {
    list.Consider(FeatureSupported("\"camera_tof_support\""), item);
  }
  list.Consider(TestItemListed("cam_r_main_peri_virt_test"), "cam_r_main_peri_virt_cali");
  list.Consider(TestItemListed("cam_r_main_tele_virt_test"), "cam_r_main_tele_virt_cali");
  list.Consider(TestItemListed("cam_r_main_rtb_virt_test"), "cam_r_main_rtb_virt_cali");
  list.Consider(TestItemListed("cam_r_tele_peri_fuse_test"), "cam_r_tele_peri_fuse_cali");
  list.Consider(FeatureSupported("\"cct_support\"") && !HardwareQztIs("PD5202CMA"), "cct_cali");
  list.Consider(FeatureSupported("\"front_cct_support\""), "mscct_cali");
  for (const char* item : {"laser_focus_crosstalk_cali_VL53L3", "laser_focus_offset_cali_VL53L3"}) {
    list.Consider(FeatureSupported("\"laser_VL53L3_support\""), item);
  }
  for (const char* item :
       {"laser_focus_crosstalk_cali_TMF8801", "laser_focus_clock_cali_TMF8801"}) {
    list.Consider(FeatureSupported("\"laser_TMF8801_support\""), item);
  }
  // The side-key calibration stands in for force touch on devices whose force-touch feature
  // says no, as long as the calibration app is installed.
  list.Consider(access(DevPath(kForceCaliApk), F_OK) == 0 &&
                    is_calibrate_item_support("\"force_touch_support\"") == 0,
                "sidekey_cali_right");
  return list.Finish(dst);
}

extern "C" int check_calibrate_data(char* report) {
  if (report == nullptr) return -1;
  uint8_t nv[XOLE_NV_ITEM_SIZE] = {};
  if (get_XOLE_NV_item(nv) != 0) {
    snprintf(report, kReportSize, "read nv fail");
    return -1;
  }
  if (FeatureSupported("\"gyroscope_support\"") && Field(nv, 0) == 0) return Fail(report, "gsensor");
  if (Field(nv, 96) == 0) return Fail(report, "ps_cali_flag");
  if (Field(nv, 92) == 0) return Fail(report, "als_cali_flag");
  if (IsUdfpDevice(__func__) && get_calibrate_item_state("udfp_calibration") != 1) {
    return Fail(report, "udfp_calibration");
  }
  if (FeatureSupported("flash_light_cali_support") && Field(nv, 284) == 0) {
    return Fail(report, "flash_light");
  }
  if (FeatureSupported("\"front_flash_light_cali_support\"") && Field(nv, 400) == 0) {
    return Fail(report, "front_flash_light");
  }
  if (FeatureSupported("\"double_camera\"") &&
      get_calibrate_item_state("b_double_camera_calibration") != 1) {
    return Fail(report, "b_double_camera_calibration");
  }
  if (FeatureSupported("\"front_double_camera\"")) {
    for (const char* item : {"f_double_camera_calibration", "cam_f_main_wide_virt_cali"}) {
      if (get_calibrate_item_state(item) != 1) return Fail(report, item);
    }
  }
  if (FeatureSupported("\"camera_pop_calibration\"") && Field(nv, 604) == 0) {
    return Fail(report, "camera_pop_calibration");
  }
  if (FeatureSupported("\"camera_tof_support\"")) {
    for (const char* item : {"tof_linear_cali", "tof_linear_20cm_cali", "tof_planarity_cali",
                             "tof_planarity_20cm_cali", "tof_rgbd_cali"}) {
      if (get_calibrate_item_state(item) != 1) return Fail(report, item);
    }
  }
  static const char* const kFusedCameras[][2] = {
      {"cam_r_main_tele_virt_test", "cam_r_main_tele_virt_cali"},
      {"cam_r_tele_peri_fuse_test", "cam_r_tele_peri_fuse_cali"},
      {"cam_r_main_wide_fuse_test", "cam_r_main_wide_fuse_cali"},
  };
  for (const auto& camera : kFusedCameras) {
    if (TestItemListed(camera[0]) && get_calibrate_item_state(camera[1]) != 1) {
      return Fail(report, camera[1]);
    }
  }
  if (FeatureSupported("\"cct_support\"") && !is_hardware("PD5202CMA") && Field(nv, 480) != 1) {
    return Fail(report, "cct_cali");
  }
  // The front colour sensor reports under the rear sensor's name; the station knows it so.
  if (FeatureSupported("\"front_cct_support\"") && Field(nv, 1388) != 1) {
    return Fail(report, "cct_cali");
  }
  if (FeatureSupported("\"laser_VL53L3_support\"") && !is_hardware("PD5202CMA")) {
    for (const char* item : {"laser_focus_crosstalk_cali_VL53L3", "laser_focus_offset_cali_VL53L3"}) {
      if (get_calibrate_item_state(item) != 1) return Fail(report, item);
    }
  }
  char board_version[96] = {};
  property_get("ro.vendor.orba.board_version", board_version, "");
  ORBA_LOGD("board_version:%s", board_version);
  if (FeatureSupported("\"laser_TMF8801_support\"") && !is_hardware("PD5202CMA") &&
      is_hardware("PD5303") && board_version[0] == '1') {
    if (Field(nv, 984) != 1) return Fail(report, "cali_flag_crosstalk_TMF8801");
    if (Field(nv, 980) != 1) return Fail(report, "cali_flag_clock_TMF8801");
  }
  return 0;
}
