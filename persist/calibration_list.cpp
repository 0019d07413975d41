// The calibration item table. The names are the ones the factory line and the engineer-mode app
// already use in their files, so their spelling is frozen: entry 26 really is two names run
// together, and "teles_cmera" and "amplifier2" stay as they are.

#include <stdio.h>
#include <string.h>

#include <orbafactory/persist.h>

#include "calibration_files.h"

extern "C" const char CALIBRATION_LIST[CALIBRATION_LIST_COUNT][CALIBRATION_ITEM_SIZE] = {
    "b_double_camera_calibration",
    "f_double_camera_calibration",
    "gyroscope_calibration",
    "smart_speaker_amplifier_cali",
    "smart_speaker_amplifier2_cali",
    "flash_light_cali",
    "front_flash_light_cali",
    "light_sensor_cali",
    "infrared_calibration",
    "under_infrared_cali",
    "under_infrared_low_cali",
    "gsensor_calibration",
    "udfp_calibration",
    "dark_light_sensor_cali",
    "bright_light_sensor_cali",
    "top_light_sensor_cali",
    "camera_pop_calibration",
    "lcm_color_temp_cali",
    "lcm_color_temp_cali_back",
    "light_sensor_cali_back",
    "infrared_calibration_back",
    "ring_light_cali",
    "tof_linear_cali",
    "tof_linear_20cm_cali",
    "tof_planarity_cali",
    "tof_planarity_20cm_cali",
    "tof_rgbd_calisidekey_cali_left",
    "sidekey_cali_right",
    "double_under_infrared_high_cali",
    "double_under_infrared_low_cali",
    "teles_cmera_cool_light_cali",
    "cct_cali",
    "laser_focus_crosstalk_cali_VL53L3",
    "laser_focus_offset_cali_VL53L3",
    "laser_focus_crosstalk_cali_TMF8801",
    "laser_focus_clock_cali_TMF8801",
    "cam_r_main_tele_virt_cali",
    "cam_r_tele_peri_fuse_cali",
    "cam_r_main_rtb_virt_cali",
    "cam_r_main_wide_virt_cali",
    "cam_r_main_peri_virt_cali",
    "cam_r_wide_tele_cali",
    "linear_motor_cali",
    "cam_f_main_wide_virt_cali",
    "cam_f_main_awb_write_3100k_cali",
    "cam_f_main_awb_write_5100k_cali",
    "cam_f_main_lcs_write_5100k_cali",
    "linear_motor_2_cali",
    "fingerprint_calibration",
};

namespace orba::persist {

bool BuildCaliListText(char* buf, size_t size, const char* format, int value, int* needed) {
  size_t used = 0;
  buf[0] = '\0';
  for (const auto& entry : CALIBRATION_LIST) {
    // The fields are fixed-width; a name may fill one without a terminator.
    char name[CALIBRATION_ITEM_SIZE + 1] = {};
    memcpy(name, entry, CALIBRATION_ITEM_SIZE);
    if (strlen(name) < 2) continue;
    int n = snprintf(buf + used, size - used, format, name, value);
    if (n < 0 || static_cast<size_t>(n) >= size - used) {
      buf[used] = '\0';
      *needed = static_cast<int>(used) + (n < 0 ? 0 : n);
      return false;
    }
    used += static_cast<size_t>(n);
  }
  *needed = static_cast<int>(used);
  return true;
}

}  // namespace orba::persist
