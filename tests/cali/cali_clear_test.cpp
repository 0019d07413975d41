// Resetting an item's stored calibration: both factory records and the sensor properties.

#include <string.h>

#include <string>
#include <vector>

#include <orbafactory/persist.h>

#include "cali_fixture.h"

namespace orba::test {
namespace {

using CaliClearTest = CaliTest;

struct Expect {
  size_t offset;
  int32_t value;
};

struct ClearCase {
  const char* item;
  std::vector<const char*> properties;
  std::vector<Expect> xole;
  std::vector<Expect> back;
};

int32_t At(const uint8_t* record, size_t offset) {
  int32_t v;
  memcpy(&v, record + offset, sizeof(v));
  return v;
}

// Every field the table touches starts at 7 and every property at "1", so a reset is visible.
class PreparedClearTest : public CaliClearTest {
 protected:
  void Prepare(const std::vector<size_t>& xole_offsets, const std::vector<size_t>& back_offsets,
               const std::vector<const char*>& properties) {
    uint8_t xole[XOLE_NV_ITEM_SIZE] = {};
    ASSERT_EQ(get_XOLE_NV_item(xole), 0);
    for (size_t o : xole_offsets) memcpy(xole + o, &kSeven, 4);
    ASSERT_EQ(put_XOLE_NV_item(xole), 0);
    uint8_t back[BACK_NV_ITEM_SIZE] = {};
    ASSERT_EQ(get_back_nv_item(back), 0);
    for (size_t o : back_offsets) memcpy(back + o, &kSeven, 4);
    ASSERT_EQ(put_back_nv_item(back), 0);
    for (const char* p : properties) SetProp(p, "1");
  }
  static constexpr int32_t kSeven = 7;
};

TEST_F(PreparedClearTest, ResetsTheItemsFieldsAndProperties) {
  const ClearCase cases[] = {
      {"light_sensor_cali",
       {"persist.sys.als_cali_flag", "persist.sys.cct_cali_flag"},
       {{92, 0}, {72, 500}, {480, 0}, {472, 0}, {476, 500}},
       {}},
      {"DARK_LIGHT_SENSOR_CALI",
       {"persist.sys.als_cali_flag", "persist.sys.light_threshold"},
       {{92, 0}, {72, 500}, {480, 7}},
       {}},
      {"gyroscope_calibration", {"persist.sys.gyroscope_cal_flag"}, {{120, 0}, {1116, 7}}, {}},
      {"camera_pop_calibration",
       {"persist.sys.camera_pop_cali"},
       {{600, 0}, {604, 0}, {608, 0}, {612, 0}},
       {}},
      {"light_sensor_cali_back", {"persist.sys.als_cali_flag_b"}, {{92, 7}}, {{48, 0}, {44, 500}}},
      {"dark_light_sensor_cali_back",
       {"persist.sys.als_cali_flag_back", "persist.sys.light_threshold_back"},
       {},
       {{132, 0}, {128, 500}, {48, 7}}},
  };
  for (const ClearCase& c : cases) {
    SCOPED_TRACE(c.item);
    std::vector<size_t> xo, bo;
    for (const Expect& e : c.xole) xo.push_back(e.offset);
    for (const Expect& e : c.back) bo.push_back(e.offset);
    Prepare(xo, bo, c.properties);
    clear_backup_calibrate_item(c.item, "0");
    uint8_t xole[XOLE_NV_ITEM_SIZE] = {};
    ASSERT_EQ(get_XOLE_NV_item(xole), 0);
    uint8_t back[BACK_NV_ITEM_SIZE] = {};
    ASSERT_EQ(get_back_nv_item(back), 0);
    for (const Expect& e : c.xole) EXPECT_EQ(At(xole, e.offset), e.value) << "nv " << e.offset;
    for (const Expect& e : c.back) EXPECT_EQ(At(back, e.offset), e.value) << "back " << e.offset;
    for (const char* p : c.properties) EXPECT_EQ(GetProp(p), "0") << p;
  }
}

TEST_F(PreparedClearTest, OnlyAZeroValueClears) {
  Prepare({92, 72}, {}, {"persist.sys.als_cali_flag"});
  std::vector<uint8_t> before = ReadPartition();
  for (const char* value : {"1", "10", "", "x0"}) {
    clear_backup_calibrate_item("light_sensor_cali", value);
    EXPECT_EQ(ReadPartition(), before) << value;
    EXPECT_EQ(GetProp("persist.sys.als_cali_flag"), "1") << value;
  }
  // An item with no stored data leaves the partition as it was.
  clear_backup_calibrate_item("cam_r_wide_tele_cali", "0");
  EXPECT_EQ(ReadPartition(), before);
}

TEST_F(PreparedClearTest, AllSkipsTheFoldSensorsAndAddsTheMultiSensorFlag) {
  Prepare({92, 1508, 0, 1492}, {20},
          {"persist.sys.ps_cali_flag", "persist.sys.als_cali_flag_fold_c",
           "persist.sys.mscct_cali_flag", "persist.sys.angle_150_degree_calibration_flag"});
  clear_backup_calibrate_item("all", "0");
  EXPECT_EQ(GetProp("persist.sys.ps_cali_flag"), "0");
  EXPECT_EQ(GetProp("persist.sys.mscct_cali_flag"), "0");
  EXPECT_EQ(GetProp("persist.sys.angle_150_degree_calibration_flag"), "0");
  EXPECT_EQ(GetProp("persist.sys.als_cali_flag_fold_c"), "1");
  EXPECT_EQ(NvField(92), 0);
  EXPECT_EQ(NvField(0), 0);
  EXPECT_EQ(NvField(1492), 0);
  EXPECT_EQ(NvField(1508), 7);
  uint8_t back[BACK_NV_ITEM_SIZE] = {};
  ASSERT_EQ(get_back_nv_item(back), 0);
  EXPECT_EQ(At(back, 20), 0);
}

TEST_F(PreparedClearTest, ResettingAStateClearsThroughTheSetter) {
  Prepare({120}, {}, {"persist.sys.gyroscope_cal_flag"});
  ASSERT_EQ(set_calibrate_item_state("gyroscope_calibration", "1", 1), 0);
  EXPECT_EQ(NvField(120), 7);
  ASSERT_EQ(set_calibrate_item_state("gyroscope_calibration", "0", 1), 0);
  EXPECT_EQ(NvField(120), 0);
  EXPECT_EQ(GetProp("persist.sys.gyroscope_cal_flag"), "0");
}

}  // namespace
}  // namespace orba::test
