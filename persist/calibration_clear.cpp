// Resetting an item to "not calibrated" must also take away what its calibration left behind:
// the values in the factory records and the properties the sensor services read at boot.
// Otherwise a re-run station would find the old calibration still in force.

#include <stdint.h>
#include <string.h>
#include <strings.h>

#include <orbafactory/persist.h>
#include <orbafactory/sysaccess.h>
#include <platform/log.h>

namespace {

// Offset 0 is a real field (the gsensor flag), so unused entries carry an offset no field has.
constexpr uint16_t kUnused = 0xFFFF;

struct FieldReset {
  uint16_t offset = kUnused;
  int32_t value = 0;
};

constexpr int kMaxProperties = 2;
constexpr int kMaxResets = 5;

// One row per item name. `in_all` marks the rows that "all" resets (the fold_c sensors are
// handled by their own station and stay out of it).
struct ItemReset {
  const char* item;
  const char* properties[kMaxProperties];
  FieldReset xole[kMaxResets];
  FieldReset back[kMaxResets];
  bool in_all;
};

// Light sensors go back to the neutral value 500 their drivers assume without calibration;
// everything else to 0. Proximity data is cleared with its flag, so a stale offset is never
// applied by a driver that ignores the flag. The under-display proximity sensor is the phone's
// main one (a phone has either it or the plain one), so it shares the main record fields.
const ItemReset kItemResets[] = {
    {"dark_light_sensor_cali",
     {"persist.sys.als_cali_flag", "persist.sys.light_threshold"},
     {{92, 0}, {72, 500}},
     {},
     true},
    {"dark_light_sensor_cali_back",
     {"persist.sys.als_cali_flag_back", "persist.sys.light_threshold_back"},
     {},
     {{132, 0}, {128, 500}},
     true},
    {"dark_light_sensor_cali_fold_c",
     {"persist.sys.als_cali_flag_fold_c", "persist.sys.light_threshold_fold_c"},
     {{1508, 0}, {1504, 500}},
     {},
     false},
    {"bright_light_sensor_cali",
     {"persist.sys.cct_cali_flag", "persist.sys.light_all_bright"},
     {{480, 0}, {472, 0}, {476, 500}},
     {},
     true},
    {"bright_light_sensor_cali_back",
     {"persist.sys.light_all_bright_back", nullptr},
     {},
     {{136, 0}},
     true},
    {"bright_light_sensor_cali_fold_c",
     {"persist.sys.light_all_bright_fold_c", nullptr},
     {{1512, 0}},
     {},
     false},
    {"light_sensor_cali",
     {"persist.sys.als_cali_flag", "persist.sys.cct_cali_flag"},
     {{92, 0}, {72, 500}, {480, 0}, {472, 0}, {476, 500}},
     {},
     true},
    {"infrared_calibration",
     {"persist.sys.ps_cali_flag", nullptr},
     {{96, 0}, {68, 0}},
     {},
     true},
    {"under_infrared_cali",
     {"persist.sys.ps_cali_flag_under", nullptr},
     {{96, 0}, {68, 0}},
     {},
     true},
    {"under_infrared_low_cali",
     {"persist.sys.ps_cali_flag_low", nullptr},
     {},
     {{104, 0}, {100, 0}},
     true},
    {"light_sensor_cali_back",
     {"persist.sys.als_cali_flag_b", nullptr},
     {},
     {{48, 0}, {44, 500}},
     true},
    {"infrared_calibration_back",
     {"persist.sys.ps_cali_flag_b", nullptr},
     {},
     {{20, 0}, {16, 0}},
     true},
    {"gsensor_calibration", {"persist.sys.gs_cal_flag", nullptr}, {{0, 0}},
     {}, true},
    {"gsensor_ois_calibration",
     {"persist.sys.gs_ois_cal_flag", nullptr},
     {{1464, 0}},
     {},
     true},
    {"gyroscope_calibration",
     {"persist.sys.gyroscope_cal_flag", nullptr},
     {{120, 0}},
     {},
     true},
    {"gyroscope_ois_calibration",
     {"persist.sys.gyroscope_ois_cal_flag", nullptr},
     {{1116, 0}},
     {},
     true},
    {"camera_pop_calibration",
     {"persist.sys.camera_pop_cali", nullptr},
     {{600, 0}, {604, 0}, {608, 0}, {612, 0}},
     {},
     true},
    {"silenthall_cali_0",
     {"persist.sys.silent_hall_zero_angle_cal_flag", nullptr},
     {{1492, 0}, {1496, 0}, {1500, 0}},
     {},
     true},
    {"silenthall_cali_180",
     {"persist.sys.silent_hall_flat_angle_cal_flag", nullptr},
     {{1480, 0}, {1484, 0}, {1488, 0}},
     {},
     true},
    {"angle_cali_90",
     {"persist.sys.angle_90_degree_calibration_flag", nullptr},
     {{1520, 0}, {1516, 0}},
     {},
     true},
    {"angle_cali_150",
     {"persist.sys.angle_150_degree_calibration_flag", nullptr},
     {{1528, 0}, {1524, 0}},
     {},
     true},
};

constexpr const char kMultiSensorCctFlag[] = "persist.sys.mscct_cali_flag";

void ApplyResets(const FieldReset* resets, uint8_t* record, size_t size) {
  for (int i = 0; i < kMaxResets; ++i) {
    if (resets[i].offset == kUnused || resets[i].offset + sizeof(int32_t) > size) continue;
    memcpy(record + resets[i].offset, &resets[i].value, sizeof(int32_t));
  }
}

void ResetRow(const ItemReset& row, uint8_t* xole, bool have_xole, uint8_t* back,
              bool have_back) {
  if (have_xole) ApplyResets(row.xole, xole, XOLE_NV_ITEM_SIZE);
  if (have_back) ApplyResets(row.back, back, BACK_NV_ITEM_SIZE);
  for (const char* property : row.properties) {
    if (property != nullptr) orbaatcmd_set_system_property(property, "0");
  }
}

}  // namespace

extern "C" void clear_backup_calibrate_item(const char* item, const char* value) {
  if (item == nullptr || value == nullptr || value[0] != '0') return;

  const bool all = strcasecmp(item, "all") == 0;
  const ItemReset* match = nullptr;
  for (const ItemReset& row : kItemResets) {
    if (strcasecmp(item, row.item) == 0) match = &row;
  }
  // An item with nothing stored beyond its state line leaves the records alone.
  if (!all && match == nullptr) return;

  uint8_t xole[XOLE_NV_ITEM_SIZE] = {};
  uint8_t back[BACK_NV_ITEM_SIZE] = {};
  // A record that could not be read is not written back: storing the zeroed buffer would wipe
  // every other result in it.
  bool have_xole = get_XOLE_NV_item(xole) == 0;
  if (!have_xole) ORBA_LOGD("get_XOLE_NV_item error");
  bool have_back = get_back_nv_item(back) == 0;
  if (!have_back) ORBA_LOGD("get_back_nv_item error");

  if (all) {
    for (const ItemReset& row : kItemResets) {
      if (row.in_all) ResetRow(row, xole, have_xole, back, have_back);
    }
    orbaatcmd_set_system_property(kMultiSensorCctFlag, "0");
  } else {
    ResetRow(*match, xole, have_xole, back, have_back);
  }

  if (have_xole && put_XOLE_NV_item(xole) != 0) ORBA_LOGD("put_XOLE_NV_item(&xole_nvram) failed");
  if (have_back && put_back_nv_item(back) != 0) ORBA_LOGD("put_back_nv_item(&back_nv) failed");
}
