// Power cut at every byte of an OTP write: what is read afterwards is the old value or the new
// one, never the reset item.

#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include <orbafactory/devices.h>

#include "../persist/fault_injection.h"
#include "support/device_root.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

constexpr const char* kOtp = "/dev/block/sdd";

class OtpCrashTest : public DeviceRootTest {
 protected:
  void TearDown() override {
    ResetWriteCounter();
    DeviceRootTest::TearDown();
  }
};

TEST_F(OtpCrashTest, WriteCutAtEveryByte) {
  WriteDeviceFile(kOtp, std::string(4096, '\0'));
  const unsigned char old_value[4] = {0x11, 0x22, 0x33, 0x44};
  const unsigned char new_value[4] = {0x55, 0x66, 0x77, 0x88};
  ASSERT_EQ(write_value_to_otp(OTP_NV_DATA_OFFSET + 8, old_value, 4, 4), 0);
  const std::string old_image = ReadDeviceFile(kOtp);
  auto put_new = [&] { return write_value_to_otp(OTP_NV_DATA_OFFSET + 8, new_value, 4, 4); };

  ResetWriteCounter();
  pid_t whole = StartChild([&] {
    ArmWriteCut(HostPath(kOtp), 1L << 40);
    return put_new() == 0 ? 0 : 1;
  });
  ASSERT_EQ(WaitChild(whole), 0);
  const long total = BytesWrittenToArmedFile();
  ASSERT_GT(total, 0);

  int saw_old = 0, saw_new = 0;
  for (long cut = 0; cut < total; ++cut) {
    WriteDeviceFile(kOtp, old_image);
    pid_t child = StartChild([&] {
      ArmWriteCut(HostPath(kOtp), cut);
      put_new();
      return 0;
    });
    ASSERT_EQ(WaitChild(child), kCutExitStatus) << "the write finished before byte " << cut;
    unsigned char back[4] = {};
    ASSERT_EQ(read_value_from_otp(OTP_NV_DATA_OFFSET + 8, back, 4, 4), 0);
    const bool is_old = memcmp(back, old_value, 4) == 0;
    const bool is_new = memcmp(back, new_value, 4) == 0;
    ASSERT_TRUE(is_old || is_new) << "cut at byte " << cut << " of " << total;
    saw_old += is_old;
    saw_new += is_new;
  }
  // Cuts late in the write leave the second copy new and whole.
  EXPECT_GT(saw_old, 0);
  EXPECT_GT(saw_new, 0);
}

}  // namespace
}  // namespace orba::test
