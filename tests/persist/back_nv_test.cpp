#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <orbafactory/persist.h>

#include "backup_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

constexpr size_t kBackNv = 152;
constexpr size_t kCopy[2] = {10240, 20480};

class BackNvTest : public BackupPartitionTest {
 protected:
  static Bytes Sample() {
    Bytes r(kBackNv, 0);
    const int32_t ints[][2] = {{16, 1100}, {20, 1},   {24, -7},  {28, 900}, {32, 11}, {36, 12},
                               {40, 13},   {44, 480}, {48, 1},   {88, 21},  {92, 22}, {96, 1},
                               {100, 1500}, {104, 1}, {108, 3},  {112, 1200}, {128, 333},
                               {132, 1},   {136, 444}, {148, 1}};
    for (const auto& f : ints) SetInt32(r, static_cast<size_t>(f[0]), f[1]);
    SetText(r, 52, "als-v2");
    SetFloat(r, 84, 1.5f);
    SetFloat(r, 140, 0.875f);
    SetFloat(r, 144, -2.25f);
    for (size_t i = 116; i < 128; ++i) r[i] = static_cast<unsigned char>(0xA0 + i);  // reserved
    return r;
  }
  // A slot image the way the library writes one.
  static Bytes SlotImage(const Bytes& r) {
    Bytes image(2048, 0);
    memcpy(image.data(), r.data(), r.size());
    const Bytes sum = Md5Of(image.data() + 16, 2048 - 16);
    memcpy(image.data(), sum.data(), 16);
    return image;
  }
  Bytes Copy(int n) const { return ReadImage(kCopy[n], 2048); }
};

TEST_F(BackNvTest, PutWritesBothCopiesAndTheTextFile) {
  Bytes r = Sample();
  const Bytes digest_before(r.begin(), r.begin() + 16);
  ASSERT_EQ(put_back_nv_item(r.data()), 0);
  EXPECT_EQ(Bytes(r.begin(), r.begin() + 16), digest_before) << "the caller's record is not sealed";
  EXPECT_EQ(Copy(0), SlotImage(r));
  EXPECT_EQ(Copy(1), SlotImage(r));
  EXPECT_EQ(ReadImage(0, 16), Bytes(16, 0xFF)) << "the XOLE NV slots are not touched";

  EXPECT_EQ(ReadDeviceFile("/data/vendor/engineermode/back_nv_item"),
            "ps_cali_data_b=1100\r\nps_cali_flag_b=1\r\nps_cali_offset_b=-7\r\n"
            "ps_cali_data_short_b=900\r\nals_cali_data_b=480\r\nals_cali_flag_b=1\r\n"
            "als_cali_ver_b=als-v2\r\ncct_cali_data_b=1.500000\r\nps_cali_data_low=1500\r\n"
            "ps_cali_flag_low=1\r\nps_cali_offset_low=3\r\nps_cali_data_short_low=1200\r\n"
            "als_cali_data_back=333\r\nals_cali_flag_back=1\r\ncct_data_lux1_back=444\r\n"
            "light_sensor_leak_cali_factor_k1_back=0.88\r\n"
            "light_sensor_leak_offset_value_back=-2.25\r\n"
            "light_sensor_leak_cali_flag_back=1\r\n");
  struct stat st;
  ASSERT_EQ(stat(HostPath("/data/vendor/engineermode/back_nv_item").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0664u);

  Bytes got(kBackNv, 0);
  EXPECT_EQ(get_back_nv_item(got.data()), 0);
  const Bytes image = SlotImage(r);
  EXPECT_EQ(got, Bytes(image.begin(), image.begin() + kBackNv));
}

TEST_F(BackNvTest, LadderCases) {
  const Bytes good = SlotImage(Sample());
  Bytes damaged = good;
  damaged[60] ^= 1;
  Bytes padded = good;  // record intact, padding not zero: the digest covers the padding too
  padded[2000] = 1;
  Bytes zeros(kBackNv, 0);
  const Bytes good_record(good.begin(), good.begin() + kBackNv);

  struct Case {
    const char* name;
    Bytes copy0, copy1;
    Bytes expected_record;
    Bytes expected_copy0, expected_copy1;
  } cases[] = {
      {"both valid", good, good, good_record, good, good},
      {"copy 1 damaged: left until the next put", good, damaged, good_record, good, damaged},
      {"copy 0 damaged: repaired from copy 1", damaged, good, good_record, good, good},
      {"padding not zero", padded, good, good_record, good, good},
      {"both damaged: zeros, nothing written", damaged, padded, zeros, damaged, padded},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    WriteImage(kCopy[0], c.copy0);
    WriteImage(kCopy[1], c.copy1);
    Bytes got(kBackNv, 0xEE);
    EXPECT_EQ(get_back_nv_item(got.data()), 0);
    EXPECT_EQ(got, c.expected_record);
    EXPECT_EQ(Copy(0), c.expected_copy0);
    EXPECT_EQ(Copy(1), c.expected_copy1);
  }
}

TEST_F(BackNvTest, SlotReadResults) {
  const Bytes good = SlotImage(Sample());
  Bytes padded = good;
  padded[2047] = 1;
  WriteImage(kCopy[0], padded);
  WriteImage(kCopy[1], good);
  Bytes r(kBackNv, 0);
  LogCapture log;
  EXPECT_EQ(read_back_nv(r.data(), 0), 2);
  EXPECT_EQ(r, Bytes(good.begin(), good.begin() + kBackNv)) << "filled even when wrong";
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "verify fail\n"));
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "nv_item->als_cali_ver: als-v2\n")) << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "nv_item->light_sensor_leak_offset_value_back: -2.25\n"));
  EXPECT_EQ(read_back_nv(r.data(), 7), 1) << "any non-zero slot is copy 1";
}

TEST_F(BackNvTest, MissingPartition) {
  unlink(ImagePath().c_str());
  Bytes r(kBackNv, 0);
  LogCapture log;
  EXPECT_EQ(get_back_nv_item(r.data()), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "read_back_nv failed")) << log.Dump();
  EXPECT_EQ(put_back_nv_item(r.data()), -ENOENT);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "write xole nv to backup failed")) << log.Dump();
}

}  // namespace
}  // namespace orba::test
