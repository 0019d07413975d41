// Item states in the result and bg/dark files: reading, the library's own writes (uart 1) and the
// engineer-app writes (uart 0).

#include <string.h>

#include <string>

#include <orbafactory/persist.h>

#include "cali_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

using CaliStateTest = CaliTest;

TEST(CalibrationListTest, KeepsTheHistoricalNamesInOrder) {
  EXPECT_EQ(sizeof(CALIBRATION_LIST), 2499u);
  struct {
    int index;
    const char* name;
  } const cases[] = {
      {0, "b_double_camera_calibration"},   {4, "smart_speaker_amplifier2_cali"},
      {26, "tof_rgbd_calisidekey_cali_left"}, {27, "sidekey_cali_right"},
      {30, "teles_cmera_cool_light_cali"},  {34, "laser_focus_crosstalk_cali_TMF8801"},
      {48, "fingerprint_calibration"},
  };
  for (const auto& c : cases) EXPECT_STREQ(CALIBRATION_LIST[c.index], c.name) << c.index;
  for (const auto& entry : CALIBRATION_LIST) {
    EXPECT_NE(std::string(entry), "tof_rgbd_cali");
    EXPECT_EQ(entry[CALIBRATION_ITEM_SIZE - 1], '\0');
  }
}

TEST_F(CaliStateTest, ReadsTheStateOfTheLineThatStartsWithTheItem) {
  struct {
    const char* file;  // nullptr: no file
    const char* item;
    int state;
  } const cases[] = {
      {nullptr, "gsensor_calibration", 0},
      {"a 1\nb 1\n", "a", 0},  // nine bytes: absent
      {"gsensor_calibration 1\ncct_cali 0\n", "gsensor_calibration", 1},
      {"gsensor_calibration 1\ncct_cali 0\n", "cct_cali", 0},
      {"xgsensor_calibration 1\ngsensor_calibration 3\n", "gsensor_calibration", 3},
      {"gsensor_calibration_back 1\ngsensor_calibration 2\n", "gsensor_calibration", 2},
      {"cct_cali 7\ncct_cali 1\n", "cct_cali", 7},  // the first line wins
      {"cct_cali \ngsensor_calibration 1\n", "cct_cali", 0},
      {"CCT_CALI 1\ngsensor_calibration 1\n", "cct_cali", 0},
      {"gsensor_calibration 1\nflash_light_cali 1tof_linear_cali 1", "tof_linear_cali", 0},
  };
  for (const auto& c : cases) {
    if (c.file != nullptr) {
      WriteDeviceFile(kResultFile, c.file);
      WriteDeviceFile(kBgDarkFile, c.file);
    } else {
      unlink(HostPath(kResultFile).c_str());
      unlink(HostPath(kBgDarkFile).c_str());
    }
    EXPECT_EQ(get_calibrate_item_state(c.item), c.state) << c.item << " in " << (c.file ?: "-");
    EXPECT_EQ(get_calibrate_item_bg_dark(c.item), c.state) << c.item;
  }
}

TEST_F(CaliStateTest, MissingFileIsCreatedWithEveryItemBeforeTheWrite) {
  LogCapture log;
  ASSERT_EQ(set_calibrate_item_state("cct_cali", "1", 1), 0);
  std::string expected = FreshResultFile();
  expected.replace(expected.find("\ncct_cali 0\n") + 10, 1, "1");
  EXPECT_EQ(ReadDeviceFile(kResultFile), expected);
  EXPECT_EQ(get_calibrate_item_state("cct_cali"), 1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, std::string("create ") + kResultFile + " success!"))
      << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "changeItem cct_cali 1"));
}

TEST_F(CaliStateTest, ExistingItemChangesOneCharacterOnly) {
  struct {
    const char* item;
    const char* value;
    const char* stored;
  } const cases[] = {
      {"gsensor_calibration", "1", "1"},
      {"gsensor_calibration", "10", "1"},
      {"fingerprint_calibration", "9", "9"},
      {"gsensor_calibration", "0", "0"},
  };
  WriteDeviceFile(kResultFile, FreshResultFile());
  for (const auto& c : cases) {
    std::string before = ReadDeviceFile(kResultFile);
    ASSERT_EQ(set_calibrate_item_state(c.item, c.value, 1), 0) << c.item << " " << c.value;
    std::string after = ReadDeviceFile(kResultFile);
    ASSERT_EQ(after.size(), before.size());
    size_t at = after.find(std::string("\n") + c.item + " ");
    ASSERT_NE(at, std::string::npos);
    size_t pos = at + 1 + strlen(c.item) + 1;
    EXPECT_EQ(after.substr(pos, 2), std::string(c.stored) + "\n");
    EXPECT_EQ(after.substr(0, pos), before.substr(0, pos));
    EXPECT_EQ(after.substr(pos + 1), before.substr(pos + 1));
  }
}

TEST_F(CaliStateTest, AbsentItemsAreAppendedWithoutALineEnd) {
  WriteDeviceFile(kResultFile, FreshResultFile());
  LogCapture log;
  ASSERT_EQ(set_calibrate_item_state("tof_rgbd_cali", "1", 1), 0);
  ASSERT_EQ(set_calibrate_item_state("mscct_cali", "1", 1), 0);
  EXPECT_EQ(ReadDeviceFile(kResultFile), FreshResultFile() + "tof_rgbd_cali 1mscct_cali 1");
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "newItem tof_rgbd_cali 1")) << log.Dump();
  // Only the first item of the joined line is found by a reader.
  EXPECT_EQ(get_calibrate_item_state("tof_rgbd_cali"), 1);
  EXPECT_EQ(get_calibrate_item_state("mscct_cali"), 0);
  // A later change of the first one still finds it anywhere in the text.
  ASSERT_EQ(set_calibrate_item_state("mscct_cali", "0", 1), 0);
  EXPECT_EQ(ReadDeviceFile(kResultFile), FreshResultFile() + "tof_rgbd_cali 1mscct_cali 0");
}

TEST_F(CaliStateTest, RefusedWritesLeaveTheFileAlone) {
  WriteDeviceFile(kResultFile, "gsensor_calibration 0\ncct_cali ");
  LogCapture log;
  // Nothing after the prefix: there is no character to overwrite.
  EXPECT_EQ(set_calibrate_item_state("cct_cali", "1", 1), -1);
  // An item that does not fit in the 2048-byte text any more.
  std::string full = "gsensor_calibration 0\n" + std::string(2047 - 22 - 10, 'x') + "\n";
  WriteDeviceFile(kBgDarkFile, full);
  EXPECT_EQ(set_calibrate_item_bg_dark("laser_focus_offset_cali_VL53L3", "1", 1), -1);
  EXPECT_EQ(ReadDeviceFile(kBgDarkFile), full);
  EXPECT_EQ(ReadDeviceFile(kResultFile), "gsensor_calibration 0\ncct_cali ");
  EXPECT_EQ(set_calibrate_item_state("", "1", 1), -1);
  EXPECT_EQ(set_calibrate_item_state("cct_cali", "", 1), -1);
  EXPECT_EQ(set_calibrate_item_state(nullptr, "1", 1), -1);
  EXPECT_EQ(ReadDeviceFile(kResultFile), "gsensor_calibration 0\ncct_cali ");
}

TEST_F(CaliStateTest, BgDarkFileIsCreatedFromTheListWithItsValue) {
  ASSERT_EQ(set_calibrate_item_bg_dark("flash_light_cali", "1", 1), 0);
  std::string expected = FreshResultFile();
  expected.replace(expected.find("\nflash_light_cali 0\n") + 18, 1, "1");
  EXPECT_EQ(ReadDeviceFile(kBgDarkFile), expected);
  EXPECT_EQ(get_calibrate_item_bg_dark("flash_light_cali"), 1);
  EXPECT_EQ(get_calibrate_item_state("flash_light_cali"), 0);  // the other file is not touched

  ASSERT_EQ(set_calibrate_list_bg_dark(nullptr, 3), 0);
  std::string threes;
  for (const auto& entry : CALIBRATION_LIST) threes += std::string(entry) + " 3\n";
  EXPECT_EQ(ReadDeviceFile(kBgDarkFile), threes);
  ASSERT_EQ(set_calibrate_list_bg_dark("ignored", 12), 0);
  EXPECT_NE(ReadDeviceFile(kBgDarkFile).find("\ncct_cali 12\n"), std::string::npos);
}

TEST_F(CaliStateTest, EngineerAppWritesOnTheUartZeroPath) {
  StartEm();
  InstallEngineerMode();
  struct {
    int (*set)(const char*, const char*, int);
    const char* message;
    const char* file;
  } const cases[] = {
      {set_calibrate_item_state, "TQEGMCDK_clear gsensor_calibration 1", kResultFile},
      {set_calibrate_item_bg_dark, "TQEGMCDK_dark gsensor_calibration 1", kBgDarkFile},
  };
  for (const auto& c : cases) {
    ASSERT_EQ(c.set("gsensor_calibration", "1", 0), 0) << c.message;
    bool sent = false;
    for (const std::string& line : Calls()) {
      if (line.find(std::string("\t") + c.message + "\tok") != std::string::npos) sent = true;
    }
    EXPECT_TRUE(sent) << c.message;
    // The app wrote the file; the library did not create a fresh one itself.
    EXPECT_NE(ReadDeviceFile(c.file).find("gsensor_calibration 1"), std::string::npos);
  }
}

TEST_F(CaliStateTest, EngineerAppRefusalFailsAndLeavesTheFiles) {
  StartEm();
  InstallEngineerMode();
  WriteDeviceFile(kResultFile, FreshResultFile());
  WriteDeviceFile("/data/sim/em_replies", "TQEGMCDK_*\terror\n");
  EXPECT_EQ(set_calibrate_item_state("cct_cali", "1", 0), -1);
  EXPECT_EQ(set_calibrate_item_bg_dark("cct_cali", "1", 0), -1);
  EXPECT_EQ(ReadDeviceFile(kResultFile), FreshResultFile());
  EXPECT_FALSE(access(HostPath(kBgDarkFile).c_str(), F_OK) == 0);
}

}  // namespace
}  // namespace orba::test
