#ifndef ORBA_TESTS_CALI_CALI_FIXTURE_H
#define ORBA_TESTS_CALI_CALI_FIXTURE_H

#include <stdint.h>

#include <string>
#include <vector>

#include "em_fixture.h"

namespace orba::test {

constexpr const char kResultFile[] = "/cache/recovery/last_test_cali_result.xml";
constexpr const char kBgDarkFile[] = "/cache/recovery/last_test_cali_bg_dark.xml";
constexpr const char kFeatureFile[] = "/etc/em_features.xml";
constexpr const char kBackupDevice[] = "/dev/block/platform/bootdevice/by-name/backup";

// A device with the AT-command service running in this process and a blank backup partition.
class CaliTest : public EmTest {
 protected:
  void SetUp() override;

  // /etc/em_features.xml declaring each named feature true.
  void SetFeatures(const std::vector<std::string>& features);
  // The result file with every table item at state 0, as the library creates it.
  static std::string FreshResultFile();

  std::vector<uint8_t> ReadPartition() const;
  int32_t NvField(size_t offset);
  void SetNvField(size_t offset, int32_t value);
};

}  // namespace orba::test

#endif
