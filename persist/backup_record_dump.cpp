// The key=value text view of the XOLE NV record that the engineer-mode app reads. Line order
// and keys are fixed (gyroscope_calibration_flag appears twice, for two different fields).

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <platform/devpath.h>
#include <platform/log.h>

#include "backup_record.h"

namespace orba::persist {
namespace {

constexpr const char kDumpPath[] = "/data/vendor/engineermode/nvram_item";

enum FieldType { kInt32, kUint32, kFloat32, kText, kTextFfUnset, kChar };

struct Field {
  const char* format;
  uint16_t offset;
  uint16_t width;
  FieldType type;
};

const Field kFields[] = {
    {"gsensor_calibration_flag=%d\r\n", 0, 4, kInt32},
    {"master_clear_flag=%d\r\n", 4, 4, kInt32},
    {"master_clear_result=%d\r\n", 8, 4, kInt32},
    {"adb_flag=%d\r\n", 12, 4, kInt32},
    {"xole_sv=%s\r\n", 16, 52, kText},
    {"ps_cali_data=%d\r\n", 68, 4, kInt32},
    {"ps_cali_data_short=%d\r\n", 484, 4, kInt32},
    {"als_cali_data=%d\r\n", 72, 4, kInt32},
    {"cct_cali_data=%f\r\n", 468, 4, kFloat32},
    {"cct_data_lux1=%d\r\n", 472, 4, kInt32},
    {"cct_data_lux2=%d\r\n", 476, 4, kInt32},
    {"ps_cali_offset=%d\r\n", 380, 4, kInt32},
    {"gs_cali_dataX=%d\r\n", 76, 4, kInt32},
    {"gs_cali_dataY=%d\r\n", 80, 4, kInt32},
    {"gs_cali_dataZ=%d\r\n", 84, 4, kInt32},
    {"als_cali_flag=%d\r\n", 92, 4, kInt32},
    {"cct_cali_flag=%d\r\n", 480, 4, kInt32},
    {"ps_cali_flag=%d\r\n", 96, 4, kInt32},
    {"acm_flag=%d\r\n", 100, 4, kInt32},
    {"dpdt_flag=%d\r\n", 104, 4, kInt32},
    {"is_root=%d\r\n", 108, 4, kInt32},
    {"is_tqsn_ok=%d\r\n", 112, 4, kInt32},
    {"is_first_boot=%d\r\n", 116, 4, kInt32},
    {"gyroscope_calibration_flag=%d\r\n", 120, 4, kInt32},
    {"gyroscope_calibration_flag=%d\r\n", 1116, 4, kInt32},
    {"gyr_ois_cali_dataX=%d\r\n", 1120, 4, kInt32},
    {"gyr_ois_cali_dataY=%d\r\n", 1124, 4, kInt32},
    {"gyr_ois_cali_dataZ=%d\r\n", 1128, 4, kInt32},
    {"gyr_cali_dataX=%d\r\n", 124, 4, kInt32},
    {"gyr_cali_dataY=%d\r\n", 128, 4, kInt32},
    {"gyr_cali_dataZ=%d\r\n", 132, 4, kInt32},
    {"cam_mode=%d\r\n", 136, 4, kInt32},
    {"background_material=%s\r\n", 140, 100, kText},
    {"pcba_ctrl=%c\r\n", 240, 1, kChar},
    {"optr_flag=%s\r\n", 244, 16, kText},
    {"lcm_color_type=%d\r\n", 260, 4, kInt32},
    {"led1_rg=%.4f\r\n", 268, 4, kFloat32},
    {"led1_bg=%.4f\r\n", 272, 4, kFloat32},
    {"led2_rg=%.4f\r\n", 276, 4, kFloat32},
    {"led2_bg=%.4f\r\n", 280, 4, kFloat32},
    {"led_result_curr_luma=%d\r\n", 408, 4, kInt32},
    {"led_result_exp_idx=%d\r\n", 404, 4, kInt32},
    {"led_result=%d\r\n", 284, 4, kInt32},
    {"led2_result=%d\r\n", 400, 4, kInt32},
    {"als_cali_ver=%s\r\n", 288, 32, kText},
    {"language_flag=%d\r\n", 320, 4, kInt32},
    {"special_feature=%d\r\n", 324, 4, kInt32},
    {"special_product=%d\r\n", 328, 4, kInt32},
    {"op_entry=%s\r\n", 332, 16, kText},
    {"net_lock=%s\r\n", 348, 20, kText},
    {"product_model=%s\r\n", 368, 6, kText},
    {"entry_version=%s\r\n", 374, 6, kText},
    {"volte_value=%d\r\n", 388, 4, kInt32},
    {"update_flag=%d\r\n", 392, 4, kInt32},
    {"oem_name=%s\r\n", 436, 28, kText},
    {"oem_version=%s\r\n", 540, 4, kText},
    {"oem_file_name=%s\r\n", 544, 56, kText},
    {"sim_num=%d\r\n", 1348, 4, kInt32},
    {"fsg_version=%d\r\n", 512, 4, kInt32},
    {"ccm_hall1_push_cali_data=%d\r\n", 600, 4, kInt32},
    {"ccm_hall1_pop_cali_data=%d\r\n", 604, 4, kInt32},
    {"ccm_hall2_push_cali_data=%d\r\n", 608, 4, kInt32},
    {"ccm_hall2_pop_cali_data=%d\r\n", 612, 4, kInt32},
    {"led_back_rg0=%.4f\r\n", 632, 4, kFloat32},
    {"led_back_bg0=%.4f\r\n", 636, 4, kFloat32},
    {"led_back_rg1=%.4f\r\n", 640, 4, kFloat32},
    {"led_back_bg1=%.4f\r\n", 644, 4, kFloat32},
    {"led_back_rg2=%.4f\r\n", 648, 4, kFloat32},
    {"led_back_bg2=%.4f\r\n", 652, 4, kFloat32},
    {"led_back_rg3=%.4f\r\n", 656, 4, kFloat32},
    {"led_back_bg3=%.4f\r\n", 660, 4, kFloat32},
    {"orbalog_flag=%d\r\n", 464, 4, kInt32},
    {"light_sensor_leak_cali_factor_k1=%.2f\r\n", 668, 4, kFloat32},
    {"light_sensor_leak_offset_value=%.2f\r\n", 672, 4, kFloat32},
    {"light_sensor_leak_cali_flag=%d\r\n", 676, 4, kInt32},
    {"boot_times=%d\r\n", 680, 4, kInt32},
    {"transp_block_state=%d\r\n", 684, 4, kInt32},
    {"factory_flag=%d\r\n", 688, 4, kInt32},
    {"cali_flag_clock_TMF8801=%d\r\n", 980, 4, kInt32},
    {"cali_flag_crosstalk_TMF8801=%d\r\n", 984, 4, kInt32},
    {"widevine_device_id=%s\r\n", 696, 60, kTextFfUnset},
    {"cct_cali_factor_c=%.4f\r\n", 756, 4, kFloat32},
    {"cct_cali_factor_r=%.4f\r\n", 760, 4, kFloat32},
    {"cct_cali_factor_g=%.4f\r\n", 764, 4, kFloat32},
    {"cct_cali_factor_b=%.4f\r\n", 768, 4, kFloat32},
    {"cct_cali_factor_w=%.4f\r\n", 772, 4, kFloat32},
    {"cct_final_value=%.4f\r\n", 780, 4, kFloat32},
    {"mscct_cali_factor_c=%.4f\r\n", 1416, 4, kFloat32},
    {"mscct_cali_factor_r=%.4f\r\n", 1420, 4, kFloat32},
    {"mscct_cali_factor_g=%.4f\r\n", 1424, 4, kFloat32},
    {"mscct_cali_factor_b=%.4f\r\n", 1428, 4, kFloat32},
    {"mscct_cali_factor_w=%.4f\r\n", 1432, 4, kFloat32},
    {"mscct_final_value=%.4f\r\n", 1440, 4, kFloat32},
    {"ultra_sound_nearfar=%s\r\n", 992, 16, kTextFfUnset},
    {"ultra_sound_flag=%d\r\n", 1008, 4, kInt32},
    {"uefi_orba_factory_flag=%x\r\n", 1012, 4, kUint32},
    {"recovery_log_flag=%d\r\n", 1016, 4, kInt32},
    {"linear_motor_offset=%s\r\n", 1052, 16, kTextFfUnset},
    {"linear_motor_2_offset=%s\r\n", 1132, 16, kTextFfUnset},
    {"subsidy_lock=%d\r\n", 1068, 4, kInt32},
    {"tierlevel=%d\r\n", 1076, 4, kInt32},
    {"bdwlan_index=%d\r\n", 1276, 4, kInt32},
    {"bsptest_extend_flag=%x\r\n", 1080, 4, kUint32},
    {"em_authorized=%c\r\n", 1280, 1, kChar},
    {"bsptest_info=%s\r\n", 1148, 128, kTextFfUnset},
    {"factory_test_flag=%d\r\n", 1352, 4, kInt32},
    {"dyn_name=%s\r\n", 1356, 32, kText},
    {"sp_device_mark=%s\r\n", 1444, 16, kText},
    {"mtk_nv_checksum= 0x%x\r\n", 1460, 4, kUint32},
    {"gsensor_ois_calibration_flag= %d\r\n", 1464, 4, kInt32},
    {"gs_ois_cali_dataX= %d\r\n", 1468, 4, kInt32},
    {"gs_ois_cali_dataY= %d\r\n", 1472, 4, kInt32},
    {"gs_ois_cali_dataZ= %d\r\n", 1476, 4, kInt32},
    {"silent_hall_flat_angle_cali_flag=%d\r\n", 1480, 4, kInt32},
    {"up_hall_flat_angle_cali_value=%d\r\n", 1484, 4, kInt32},
    {"low_hall_flat_angle_cali_value=%d\r\n", 1488, 4, kInt32},
    {"silent_hall_zero_angle_cali_flag=%d\r\n", 1492, 4, kInt32},
    {"up_hall_zero_angle_cali_value=%d\r\n", 1496, 4, kInt32},
    {"low_hall_zero_angle_cali_value=%d\r\n", 1500, 4, kInt32},
    {"als_cali_data_fold_c=%d\r\n", 1504, 4, kInt32},
    {"als_cali_flag_fold_c=%d\r\n", 1508, 4, kInt32},
    {"cct_data_lux1_fold_c=%d\r\n", 1512, 4, kInt32},
    {"angle_cali_90_degrees=%.4f\r\n", 1516, 4, kFloat32},
    {"angle_cali_90_degrees_flag=%d\r\n", 1520, 4, kInt32},
    {"angle_cali_150_degrees=%.4f\r\n", 1524, 4, kFloat32},
    {"angle_cali_150_degrees_flag=%d\r\n", 1528, 4, kInt32},
    {"battery_limit=%d\r\n", 1532, 4, kInt32},
    {"auth_type=%s\r\n", 1536, 16, kText},
    {"light_sensor_leak_cali_factor_k1_fold_c=%.2f\r\n", 1552, 4, kFloat32},
    {"light_sensor_leak_offset_value_fold_c=%.2f\r\n", 1556, 4, kFloat32},
    {"light_sensor_leak_cali_flag_fold_c=%d\r\n", 1560, 4, kInt32},
    {"mtk_efuse_flag=%c\r\n", 1588, 1, kChar},
    {"up_hall_test_singal_value_flat_angle=%d\r\n", 1564, 4, kInt32},
    {"low_hall_test_singal_value_flat_angle=%d\r\n", 1568, 4, kInt32},
    {"up_hall_test_singal_value_zero_angle=%d\r\n", 1572, 4, kInt32},
    {"low_hall_test_singal_value_zero_angle=%d\r\n", 1576, 4, kInt32},
    {"lidswitch_hall_trigger_angle=%d\r\n", 1580, 4, kInt32},
    {"lidswitch_hall_release_angle=%d\r\n", 1584, 4, kInt32},
};
static_assert(sizeof(kFields) / sizeof(kFields[0]) == 138, "one line per dumped field");

// A text field printed as the record holds it: up to its first NUL, never past its width (a
// field filled to the brim is not left to run into its neighbour).
void FieldText(const unsigned char* record, const Field& f, char* out) {
  const unsigned char* src = record + f.offset;
  if (f.type == kTextFfUnset && src[0] == 0xFF) {
    out[0] = '\0';
    return;
  }
  size_t n = 0;
  while (n < f.width && src[n] != '\0') ++n;
  memcpy(out, src, n);
  out[n] = '\0';
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
int FormatField(const unsigned char* record, const Field& f, char* out, size_t size) {
  char text[160];
  switch (f.type) {
    case kInt32:
      return snprintf(out, size, f.format, GetInt32(record, f.offset));
    case kUint32:
      return snprintf(out, size, f.format, static_cast<unsigned>(GetInt32(record, f.offset)));
    case kFloat32:
      return snprintf(out, size, f.format, static_cast<double>(GetFloat32(record, f.offset)));
    case kChar:
      return snprintf(out, size, f.format, record[f.offset]);
    case kText:
    case kTextFfUnset:
      FieldText(record, f, text);
      return snprintf(out, size, f.format, text);
  }
  return 0;
}
#pragma GCC diagnostic pop

}  // namespace

void WriteXoleNvDump(const unsigned char* record) {
  // Composed before the old file goes, so the file is missing for as short a time as possible.
  char text[16384];
  size_t len = static_cast<size_t>(snprintf(text, sizeof(text), "nv=%s\r\n", kDumpPath));
  for (const Field& f : kFields) {
    const int n = FormatField(record, f, text + len, sizeof(text) - len);
    if (n < 0 || static_cast<size_t>(n) >= sizeof(text) - len) break;
    len += static_cast<size_t>(n);
  }

  unlink(DevPath(kDumpPath));
  FILE* fp = fopen(DevPath(kDumpPath), "a");
  if (fp == nullptr) {
    ORBA_LOGE("fopen %s error:%s", kDumpPath, strerror(errno));
    return;
  }
  fwrite(text, 1, len, fp);
  fclose(fp);
  if (chmod(DevPath(kDumpPath), 0664) != 0) {
    ORBA_LOGE("chmod %s error: %d, %s", kDumpPath, errno, strerror(errno));
  }
}

}  // namespace orba::persist
