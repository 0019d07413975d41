#include "cali_fixture.h"

#include <string.h>

#include <orbafactory/persist.h>

namespace orba::test {

void CaliTest::SetUp() {
  EmTest::SetUp();
  StartAtcmd();
  WriteDeviceFile(kBackupDevice, std::string(32768, '\xff'));
  WriteDeviceFile("/cache/recovery/.keep", "");
  WriteDeviceFile("/data/vendor/engineermode/.keep", "");
}

void CaliTest::SetFeatures(const std::vector<std::string>& features) {
  std::string text = "<?xml version=\"1.0\"?>\n<features>\n";
  for (const std::string& f : features) text += "  <item name=\"" + f + "\">true</item>\n";
  text += "  <item name=\"unused_feature\">false</item>\n</features>\n";
  WriteDeviceFile(kFeatureFile, text);
}

std::string CaliTest::FreshResultFile() {
  std::string text;
  for (const auto& entry : CALIBRATION_LIST) text += std::string(entry) + " 0\n";
  return text;
}

std::vector<uint8_t> CaliTest::ReadPartition() const {
  std::string bytes = ReadDeviceFile(kBackupDevice);
  return std::vector<uint8_t>(bytes.begin(), bytes.end());
}

int32_t CaliTest::NvField(size_t offset) {
  uint8_t nv[XOLE_NV_ITEM_SIZE] = {};
  EXPECT_EQ(get_XOLE_NV_item(nv), 0);
  int32_t v;
  memcpy(&v, nv + offset, sizeof(v));
  return v;
}

void CaliTest::SetNvField(size_t offset, int32_t value) {
  uint8_t nv[XOLE_NV_ITEM_SIZE] = {};
  ASSERT_EQ(get_XOLE_NV_item(nv), 0);
  memcpy(nv + offset, &value, sizeof(value));
  ASSERT_EQ(put_XOLE_NV_item(nv), 0);
}

}  // namespace orba::test
