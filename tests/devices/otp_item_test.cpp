#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include <orbafactory/devices.h>
#include <orbafactory/digest.h>
#include "support/device_root.h"
#include "support/log_capture.h"

namespace {

using orba::test::LogCapture;

constexpr const char* kOtp = "/dev/block/sdd";
constexpr size_t kSecondCopy = 4096;
constexpr size_t kBlock = 4096;

class OtpItemTest : public orba::test::DeviceRootTest {
 protected:
  void BlankDevice() { WriteDeviceFile(kOtp, std::string(4096, '\0')); }
  OTP_NV_Item DeviceItem() {
    OTP_NV_Item item;
    std::string bytes = ReadDeviceFile(kOtp);
    EXPECT_GE(bytes.size(), sizeof(item));
    memcpy(&item, bytes.data(), sizeof(item));
    return item;
  }
  void StoreItem(const OTP_NV_Item& item) {
    std::string bytes = ReadDeviceFile(kOtp);
    memcpy(bytes.data(), &item, sizeof(item));
    WriteDeviceFile(kOtp, bytes);
  }
  static OTP_NV_Item DefaultItem() {
    OTP_NV_Item item{};
    SHA256_hash(item.data, 64, item.hash);
    item.hash_verify_len = 64;
    return item;
  }
};

TEST_F(OtpItemTest, SupportFollowsTheDevice) {
  EXPECT_EQ(is_support_otp(), 0);
  BlankDevice();
  EXPECT_EQ(is_support_otp(), 1);
}

TEST_F(OtpItemTest, RefusalsHappenBeforeTheDeviceIsOpened) {
  struct Case {
    int offset, size, limit;
    const char* message;
  };
  const Case cases[] = {
      {72, 5, 4, "The size you provided is wrong, it may cause the address to be trampled!!\n"},
      {130, 8, 8, "offset 130 and size 8 do not fit in the 136-byte item\n"},
      {-1, 4, 4, "offset -1 and size 4 do not fit in the 136-byte item\n"},
  };
  for (const Case& c : cases) {
    LogCapture log;
    unsigned char buf[8] = {};
    EXPECT_EQ(write_value_to_otp(c.offset, buf, c.size, c.limit), -1);
    EXPECT_EQ(read_value_from_otp(c.offset, buf, c.size, c.limit), -1);
    EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, c.message)) << log.Dump();
    EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "write to OTP_DEVICE_PATH_0 error"));
    EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "read value from OTP_DEVICE_PATH_0 error!"));
    EXPECT_FALSE(log.Has(ANDROID_LOG_ERROR,
                         "can't open the otp partition, maybe the partiton is not here!!\n"));
    for (const auto& line : log.Lines()) EXPECT_EQ(line.tag, "_O_EM_LOG: OTP_NV_ITEM");
  }
}

TEST_F(OtpItemTest, MissingDeviceFailsToOpen) {
  LogCapture log;
  unsigned char buf[4] = {};
  EXPECT_EQ(write_value_to_otp(72, buf, 4, 4), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR,
                      "can't open the otp partition, maybe the partiton is not here!!\n"));
}

TEST_F(OtpItemTest, WriteRehashesAndReadsBack) {
  BlankDevice();
  const unsigned char value[4] = {0xde, 0xad, 0xbe, 0xef};
  ASSERT_EQ(write_value_to_otp(OTP_NV_DATA_OFFSET, value, 4, 4), 0);
  OTP_NV_Item item = DeviceItem();
  EXPECT_EQ(doCheckHash(&item), 0);
  EXPECT_EQ(item.hash_verify_len, 64u);
  EXPECT_EQ(memcmp(item.data, value, 4), 0);

  unsigned char back[4] = {};
  ASSERT_EQ(read_value_from_otp(OTP_NV_DATA_OFFSET, back, 4, 4), 0);
  EXPECT_EQ(memcmp(back, value, 4), 0);

  // A second field keeps the first.
  const unsigned char other[2] = {0x12, 0x34};
  ASSERT_EQ(write_value_to_otp(OTP_NV_DATA_OFFSET + 60, other, 2, 4), 0);
  item = DeviceItem();
  EXPECT_EQ(doCheckHash(&item), 0);
  EXPECT_EQ(memcmp(item.data, value, 4), 0);
  EXPECT_EQ(item.data[60], 0x12);
}

TEST_F(OtpItemTest, ItemFailingItsHashComesFromTheSecondCopyOrIsReset) {
  struct Case {
    const char* what;
    bool spoil_first, spoil_second;
    bool expect_value;  // else the default item
    const char* message;
  };
  const Case cases[] = {
      {"first copy spoiled", true, false, true, "otp item restored from its second copy\r\n"},
      {"both copies spoiled", true, true, false, "do otp restore to default\r\n"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    BlankDevice();
    const unsigned char value[4] = {1, 2, 3, 4};
    ASSERT_EQ(write_value_to_otp(OTP_NV_DATA_OFFSET, value, 4, 4), 0);
    std::string bytes = ReadDeviceFile(kOtp);
    if (c.spoil_first) bytes[OTP_NV_DATA_OFFSET + 10] ^= 0x5a;
    if (c.spoil_second) bytes[kSecondCopy + OTP_NV_DATA_OFFSET + 10] ^= 0x5a;
    WriteDeviceFile(kOtp, bytes);

    LogCapture log;
    unsigned char back[4] = {0xaa, 0xaa, 0xaa, 0xaa};
    ASSERT_EQ(read_value_from_otp(OTP_NV_DATA_OFFSET, back, 4, 4), 0);
    EXPECT_EQ(memcmp(back, c.expect_value ? value : reinterpret_cast<const unsigned char*>("\0\0\0\0"), 4), 0);
    EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, c.message)) << log.Dump();
    // Either way the first copy verifies again.
    OTP_NV_Item now = DeviceItem();
    EXPECT_EQ(doCheckHash(&now), 0);
    if (!c.expect_value) {
      OTP_NV_Item expected = DefaultItem();
      EXPECT_EQ(memcmp(&now, &expected, sizeof(now)), 0);
    }
  }
}

TEST_F(OtpItemTest, TornFirstBlockKeepsTheItem) {
  // A power cut in the middle of a block write can leave any part of that block garbage: the
  // second copy lives in another block, so the item survives whatever the first block holds.
  BlankDevice();
  const unsigned char value[4] = {9, 8, 7, 6};
  ASSERT_EQ(write_value_to_otp(OTP_NV_DATA_OFFSET, value, 4, 4), 0);
  std::string bytes = ReadDeviceFile(kOtp);
  ASSERT_GE(bytes.size(), kSecondCopy + sizeof(OTP_NV_Item));
  for (size_t i = 0; i < kBlock; ++i) bytes[i] = static_cast<char>(0xa5 ^ (i * 31));
  WriteDeviceFile(kOtp, bytes);

  LogCapture log;
  unsigned char back[4] = {};
  ASSERT_EQ(read_value_from_otp(OTP_NV_DATA_OFFSET, back, 4, 4), 0);
  EXPECT_EQ(memcmp(back, value, 4), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "otp item restored from its second copy\r\n")) << log.Dump();
  OTP_NV_Item now = DeviceItem();
  EXPECT_EQ(doCheckHash(&now), 0);
}

TEST_F(OtpItemTest, ImageOfEarlierBuildsIsReadFromItsSecondCopy) {
  // Earlier builds kept the second copy at 512 and nothing at 4096.
  BlankDevice();
  const unsigned char value[4] = {0x31, 0x41, 0x59, 0x26};
  ASSERT_EQ(write_value_to_otp(OTP_NV_DATA_OFFSET, value, 4, 4), 0);
  std::string bytes = ReadDeviceFile(kOtp);
  std::string old_image(kBlock, '\0');
  memcpy(old_image.data(), bytes.data(), sizeof(OTP_NV_Item));
  memcpy(old_image.data() + 512, bytes.data(), sizeof(OTP_NV_Item));
  old_image[OTP_NV_DATA_OFFSET + 10] ^= 0x5a;  // the first copy spoiled
  WriteDeviceFile(kOtp, old_image);

  unsigned char back[4] = {};
  ASSERT_EQ(read_value_from_otp(OTP_NV_DATA_OFFSET, back, 4, 4), 0);
  EXPECT_EQ(memcmp(back, value, 4), 0);
  // Both copies now verify in their new places.
  bytes = ReadDeviceFile(kOtp);
  ASSERT_GE(bytes.size(), kSecondCopy + sizeof(OTP_NV_Item));
  OTP_NV_Item first, second;
  memcpy(&first, bytes.data(), sizeof(first));
  memcpy(&second, bytes.data() + kSecondCopy, sizeof(second));
  EXPECT_EQ(doCheckHash(&first), 0);
  EXPECT_EQ(doCheckHash(&second), 0);
  EXPECT_EQ(memcmp(second.data, value, 4), 0);
}

TEST_F(OtpItemTest, UnreadableDeviceIsAnError) {
  WriteDeviceFile(kOtp, std::string(20, '\0'));  // shorter than one item
  LogCapture log;
  unsigned char buf[4] = {};
  EXPECT_EQ(read_value_from_otp(OTP_NV_DATA_OFFSET, buf, 4, 4), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "read value from OTP_DEVICE_PATH_0 error!")) << log.Dump();
  EXPECT_EQ(write_value_to_otp(OTP_NV_DATA_OFFSET, buf, 4, 4), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "write to OTP_DEVICE_PATH_0 error")) << log.Dump();
  EXPECT_EQ(ReadDeviceFile(kOtp), std::string(20, '\0'));
}

TEST_F(OtpItemTest, HashCoversTheStoredLengthOnlyWhenItIsSane) {
  struct Case {
    uint64_t len;
    int covered;
  };
  const Case cases[] = {{0, 64}, {65, 64}, {1000, 64}, {1, 1}, {16, 16}, {64, 64}};
  for (const Case& c : cases) {
    OTP_NV_Item item{};
    for (int i = 0; i < 64; ++i) item.data[i] = static_cast<unsigned char>(i * 3 + 1);
    item.hash_verify_len = c.len;
    SHA256_hash(item.data, c.covered, item.hash);
    EXPECT_EQ(doCheckHash(&item), 0) << c.len;
    item.data[c.covered - 1] ^= 1;
    EXPECT_EQ(doCheckHash(&item), -1) << c.len;
  }
  LogCapture log;
  EXPECT_EQ(doCheckHash(nullptr), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "check hash failed: input OTP_NV_Item null!\r\n"));
}

}  // namespace
