// The XOLE NV record: defaults, the read/verify/repair ladder, legacy recovery, quarantine, the
// text dump, and reserved areas surviving get and put.

#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <orbafactory/persist.h>
#include <platform/host/device_root.h>

#include "backup_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

class BackupStoreTest : public BackupPartitionTest {
 protected:
  Bytes Get(int expected_status = 0) {
    Bytes r(kRecordSize, 0);
    EXPECT_EQ(get_XOLE_NV_item(r.data()), expected_status);
    return r;
  }
  void Put(Bytes& r) { ASSERT_EQ(put_XOLE_NV_item(r.data()), 0); }
  // A committed record with some of every kind of area changed from the defaults.
  Bytes Sample() {
    Bytes r = Get();
    SetInt32(r, 76, -123);                  // digested field
    SetText(r, 544, "oem.bin");             // extension field
    SetInt32(r, 264, 77);                   // reserved, digested
    r[1300] = 0x5A;                         // reserved, extension
    SealRecord(r);
    return r;
  }
};

// Every default the record carries: the dumped fields and the reserved areas that have one.
TEST_F(BackupStoreTest, ErasedOrZeroedPartitionRestoresDefaults) {
  struct Int {
    size_t offset;
    int32_t value;
  } ints[] = {{8, 255},   {68, 65535}, {484, 65535}, {72, 500},   {260, 2},    {320, 1},
              {388, -1},  {684, -1},   {1008, 1},    {1276, 100}, {1532, 40},  {1580, -1},
              {1584, -1}, {264, 2013}, {664, 48}};
  struct Float {
    size_t offset;
    float value;
  } floats[] = {{668, 1.0f}, {1552, 1.0f}, {780, -1.0f}, {1440, -1.0f}, {800, -1.0f}};
  struct Text {
    size_t offset;
    const char* value;
  } texts[] = {{16, "xole"}, {244, "N"},   {288, "alsxole"}, {540, "V00"},
               {544, "N"},   {616, "N"},   {1356, "DYNN"}};
  struct Byte {
    size_t offset;
    unsigned char value;
  } bytes[] = {{240, 0x01}, {1280, 'n'}, {1588, 'n'}};

  for (unsigned char fill : {0xFF, 0x00}) {
    SCOPED_TRACE(fill);
    WriteImage(0, Bytes(3 * 4096, fill));
    const Bytes blank = ReadImage(0, kRecordSize);
    LogCapture log;
    Bytes r = Get();
    EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "recovery fail\n")) << log.Dump();
    EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "all verify fail, restore to default")) << log.Dump();

    Bytes expected(kRecordSize, 0);
    for (const Int& f : ints) SetInt32(expected, f.offset, f.value);
    for (const Float& f : floats) SetFloat(expected, f.offset, f.value);
    for (const Text& f : texts) SetText(expected, f.offset, f.value);
    for (const Byte& f : bytes) expected[f.offset] = f.value;
    SealRecord(expected);
    EXPECT_EQ(r, expected);

    // Both copies hold the defaults, padded with zeros; the blank record is parked in slot 2.
    Bytes slot_image = expected;
    slot_image.resize(kSlot, 0);
    EXPECT_EQ(Slot(0), slot_image);
    EXPECT_EQ(Slot(1), slot_image);
    EXPECT_EQ(ReadImage(2 * 4096, kRecordSize), blank);
  }
}

TEST_F(BackupStoreTest, CopyOneDifferingAnywhereIsRewrittenFromCopyZero) {
  Bytes good = Sample();
  Put(good);
  for (size_t offset : {100u, 530u, 1000u, 1591u}) {
    SCOPED_TRACE(offset);
    Bytes bad = good;
    bad[offset] ^= 0x01;
    WriteSlot(1, bad);
    LogCapture log;
    EXPECT_EQ(Get(), good);
    EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "second copy verify fail, recovery from first"));
    EXPECT_EQ(Slot(1), Slot(0));
  }
}

TEST_F(BackupStoreTest, DamagedCopyZeroIsRepairedFromCopyOne) {
  Bytes good = Sample();
  Put(good);
  Bytes bad = good;
  bad[200] ^= 0x80;
  WriteSlot(0, bad);
  LogCapture log;
  EXPECT_EQ(Get(), good);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "first copy verify fail, recovery from second"));
  EXPECT_EQ(Slot(0), Slot(1));
  EXPECT_EQ(ReadImage(2 * 4096, 16), Bytes(16, 0xFF)) << "nothing is quarantined";
}

TEST_F(BackupStoreTest, LegacyLayoutIsRecoveredAndRewritten) {
  Bytes legacy = Sample();
  memset(legacy.data() + 520, 0, 20);
  const Bytes sum = Md5Of(legacy.data(), 520);
  memcpy(legacy.data() + 520, sum.data(), 16);
  WriteSlot(0, legacy);
  WriteSlot(1, legacy);

  LogCapture log;
  Bytes r = Get();
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "recovery ok\n")) << log.Dump();
  EXPECT_EQ(Bytes(r.begin(), r.begin() + 524), Bytes(legacy.begin(), legacy.begin() + 524));
  EXPECT_EQ(Bytes(r.begin() + 540, r.end()), Bytes(legacy.begin() + 540, legacy.end()));
  EXPECT_TRUE(RecordDigestValid(r));
  EXPECT_EQ(ReadImage(0, kRecordSize), r);
  EXPECT_EQ(Slot(0), Slot(1));
  EXPECT_EQ(ReadImage(2 * 4096, 16), Bytes(16, 0xFF)) << "a recovered record is not quarantined";
}

TEST_F(BackupStoreTest, ExtensionWithoutMarkerIsResetInMemoryOnly) {
  Bytes r = Sample();
  const Bytes defaults = Get();
  const Bytes defaults_ext(defaults.begin() + 540, defaults.end());
  r[540] = 'X';
  SetInt32(r, 1348, 2);  // sim_num, in the extension
  SealRecord(r);         // the digest does not cover the extension, so it still matches
  WriteSlot(0, r);
  WriteSlot(1, r);
  const Bytes before = ReadImage(0, 2 * 4096);

  Bytes got = Get();
  EXPECT_EQ(Bytes(got.begin(), got.begin() + 540), Bytes(r.begin(), r.begin() + 540));
  EXPECT_EQ(Bytes(got.begin() + 540, got.end()), defaults_ext);
  EXPECT_EQ(ReadImage(0, 2 * 4096), before) << "the reset reaches the partition only with a put";
}

TEST_F(BackupStoreTest, EveryByteSurvivesPutAndGet) {
  Bytes r = Get();
  // Arbitrary bytes everywhere, marker kept so the extension is not reset.
  for (size_t i = 0; i < kRecordSize; ++i) r[i] = static_cast<unsigned char>(i * 151 + 3);
  r[540] = 'V';
  Put(r);
  EXPECT_TRUE(RecordDigestValid(r)) << "put stores the fresh digest into the caller's record";
  EXPECT_EQ(Get(), r);
  Bytes image = r;
  image.resize(kSlot, 0);
  EXPECT_EQ(Slot(0), image);
  EXPECT_EQ(Slot(1), image);
}

TEST_F(BackupStoreTest, MissingPartitionOrWritePathFails) {
  Bytes r(kRecordSize, 0);
  LogCapture log;
  unlink(ImagePath().c_str());
  EXPECT_EQ(get_XOLE_NV_item(r.data()), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "read_xole_nv_from_backup failed\r\n")) << log.Dump();
  EXPECT_EQ(put_XOLE_NV_item(r.data()), -ENOENT);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "write xole nv to backup failed\r\n")) << log.Dump();
  EXPECT_EQ(is_orba_em_mode_from_backup(), 1) << "an unreadable record means engineer mode";
}

TEST_F(BackupStoreTest, SlotFunctions) {
  Bytes r = Sample();
  r[600] = 9;
  ASSERT_EQ(write_xole_nv_to_backup(r.data(), 2), 1);
  EXPECT_TRUE(RecordDigestValid(r));
  Bytes back(kRecordSize, 0);
  ASSERT_EQ(read_xole_nv_from_backup(back.data(), 2), 1);
  EXPECT_EQ(back, r);
  EXPECT_EQ(verify_xole_nv_checksum(back.data()), 1);
  back[10] ^= 1;
  EXPECT_EQ(verify_xole_nv_checksum(back.data()), 0);
  EXPECT_EQ(verify_xole_nv_checksum(nullptr), 0);
  // Past the end of the image.
  EXPECT_EQ(read_xole_nv_from_backup(back.data(), 8), 0);
}

TEST_F(BackupStoreTest, DumpShowsEveryFieldInItsFixedForm) {
  Bytes r = Get();
  SetInt32(r, 120, 7);        // first gyroscope_calibration_flag
  SetInt32(r, 1116, 8);       // second one
  SetInt32(r, 1012, 0x1a0);   // uefi_orba_factory_flag, hex
  SetFloat(r, 268, 1.25f);    // led1_rg, 4 decimals
  SetFloat(r, 468, 2.5f);     // cct_cali_data, %f
  memset(r.data() + 696, 0xFF, 60);  // widevine_device_id erased
  memset(r.data() + 1148, 'b', 128); // bsptest_info filling its whole width
  SetText(r, 1356, "DYN-NAME");
  SetInt32(r, 1388, 0x41414141);      // the neighbour after dyn_name must not leak into it
  Put(r);

  const std::string text = ReadDeviceFile("/data/vendor/engineermode/nvram_item");
  size_t lines = 0;
  for (size_t pos = 0; (pos = text.find("\r\n", pos)) != std::string::npos; pos += 2) ++lines;
  EXPECT_EQ(lines, 139u);
  EXPECT_EQ(text.rfind("nv=/data/vendor/engineermode/nvram_item\r\ngsensor_calibration_flag=0\r\n", 0), 0u);
  const char* expected[] = {
      "\r\ngyroscope_calibration_flag=7\r\ngyroscope_calibration_flag=8\r\ngyr_ois_cali_dataX=0\r\n",
      "\r\nuefi_orba_factory_flag=1a0\r\n",
      "\r\nled1_rg=1.2500\r\n",
      "\r\ncct_cali_data=2.500000\r\n",
      "\r\nwidevine_device_id=\r\n",
      "\r\npcba_ctrl=\x01\r\n",
      "\r\nlight_sensor_leak_cali_factor_k1=1.00\r\n",
      "\r\nmtk_nv_checksum= 0x0\r\n",
      "\r\ngs_ois_cali_dataX= 0\r\n",
      "\r\ndyn_name=DYN-NAME\r\n",
      "\r\nem_authorized=n\r\n",
      "\r\nlidswitch_hall_release_angle=-1\r\n",
  };
  for (const char* e : expected) EXPECT_NE(text.find(e), std::string::npos) << e;
  EXPECT_NE(text.find("\r\nbsptest_info=" + std::string(128, 'b') + "\r\n"), std::string::npos);
  EXPECT_TRUE(text.size() > 36 && text.compare(text.size() - 33, 33, "lidswitch_hall_release_angle=-1\r\n") == 0);

  struct stat st;
  ASSERT_EQ(stat(HostPath("/data/vendor/engineermode/nvram_item").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0664u);
}

TEST_F(BackupStoreTest, PathLookupTakesTheFirstLinkThatExists) {
  // Each device root is a fresh boot for the lookup.
  EXPECT_STREQ(get_backup_path(), "/dev/block/bootdevice/by-name/backup");
}

class BackupPathTest : public DeviceRootTest {};

TEST_F(BackupPathTest, FallsBackInOrder) {
  EXPECT_STREQ(get_backup_path(), "/dev/block/bootdevice/by-name/backup") << "none exists";
  WriteDeviceFile("/dev/block/by-name/backup", "x");
  orba_device_root_reset();
  EXPECT_STREQ(get_backup_path(), "/dev/block/by-name/backup");
}

}  // namespace
}  // namespace orba::test
