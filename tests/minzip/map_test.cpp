#include <android/log.h>
#include <gtest/gtest.h>
#include <orbafactory/minzip.h>

#include <string>

#include "support/device_root.h"
#include "support/log_capture.h"
#include "zip_builder.h"

namespace orba::test {
namespace {

constexpr size_t kBlock = 4096;

class SysMap : public DeviceRootTest {
 protected:
  // A device of 8 blocks, each filled with its own number.
  void SetUp() override {
    DeviceRootTest::SetUp();
    std::string dev;
    for (size_t b = 0; b < 8; ++b) dev += std::string(kBlock, static_cast<char>('0' + b));
    WriteDeviceFile("/dev/block/sdz", dev);
  }
  static std::string Mapped(const MemoryMap& m) {
    return std::string(reinterpret_cast<const char*>(m.base), m.length);
  }
};

TEST_F(SysMap, WholeFile) {
  WriteDeviceFile("/data/f.bin", "mapped bytes");
  MemoryMap m = {};
  ASSERT_EQ(sysMapFile("/data/f.bin", &m), 0);
  EXPECT_EQ(Mapped(m), "mapped bytes");
  ASSERT_EQ(m.range_count, 1);
  EXPECT_EQ(m.ranges[0].addr, m.base);
  sysReleaseMap(&m);
  EXPECT_EQ(m.range_count, 0);
  EXPECT_EQ(m.ranges, nullptr);

  LogCapture log;
  EXPECT_EQ(sysMapFile("/data/missing.zip", &m), -1);
  EXPECT_TRUE(
      log.Has(ANDROID_LOG_ERROR, "Unable to open '/data/missing.zip': No such file or directory\n"))
      << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "Map of '/data/missing.zip' failed\n"));
}

TEST_F(SysMap, BlockMapStitchesRangesInFileOrder) {
  WriteDeviceFile("/cache/f.map",
                  "/dev/block/sdz\n" + std::to_string(3 * kBlock + 100) + " 4096\n2\n5 7\n1 3\n");
  MemoryMap m = {};
  LogCapture log;
  ASSERT_EQ(sysMapFile("@/cache/f.map", &m), 0) << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_INFO, "mmapped 2 ranges\n"));
  EXPECT_EQ(m.length, 3 * kBlock + 100);
  EXPECT_EQ(Mapped(m), std::string(kBlock, '5') + std::string(kBlock, '6') +
                           std::string(kBlock, '1') + std::string(100, '2'));
  ASSERT_EQ(m.range_count, 2);
  EXPECT_EQ(m.ranges[1].addr, m.base + 2 * kBlock);
  sysReleaseMap(&m);
  EXPECT_EQ(m.range_count, 0);
}

TEST_F(SysMap, BlockMapRejectsInconsistentMaps) {
  const struct {
    const char* map;
    const char* message;
  } cases[] = {
      {"", "failed to read block device from header\n"},
      {"/dev/block/sdz\n8192 4096\n", "failed to parse block map header\n"},
      {"/dev/block/sdz\n0 4096\n1\n0 1\n",
       "invalid data in block map file: size 0, blksize 4096, range_count 1\n"},
      {"/dev/block/sdz\n8192 0\n1\n0 1\n",
       "invalid data in block map file: size 8192, blksize 0, range_count 1\n"},
      {"/dev/block/sdz\n8192 4096\n0\n",
       "invalid data in block map file: size 8192, blksize 4096, range_count 0\n"},
      {"/dev/block/sdz\n8192 4096\n3\n0 1\n1 2\n2 3\n",
       "invalid data in block map file: size 8192, blksize 4096, range_count 3\n"},
      {"/dev/block/sdz\n18446744073709551615 4096\n1\n0 1\n",
       "invalid data in block map file: size 18446744073709551615, blksize 4096, range_count 1\n"},
      {"/dev/block/nope\n8192 4096\n1\n0 2\n",
       "failed to open block device /dev/block/nope: No such file or directory\n"},
      {"/dev/block/sdz\n8192 4096\n2\n0 1\nx y\n", "failed to parse range 1 in block map\n"},
      {"/dev/block/sdz\n8192 4096\n1\n3 3\n", "unexpected range in block map: 3 3\n"},
      {"/dev/block/sdz\n8192 4096\n1\n4 1\n", "unexpected range in block map: 4 1\n"},
      {"/dev/block/sdz\n8192 4096\n2\n0 1\n2 4\n", "unexpected range in block map: 2 4\n"},
      {"/dev/block/sdz\n8192 4096\n1\n7 9\n", "unexpected range in block map: 7 9\n"},
      {"/dev/block/sdz\n8192 4096\n1\n0 18446744073709551615\n",
       "unexpected range in block map: 0 18446744073709551615\n"},
      {"/dev/block/sdz\n12288 4096\n1\n0 2\n",
       "ranges in block map are invalid: remaining_size = 4096\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.map);
    WriteDeviceFile("/cache/f.map", c.map);
    MemoryMap m = {};
    LogCapture log;
    EXPECT_EQ(sysMapFile("@/cache/f.map", &m), -1);
    EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, c.message)) << log.Dump();
    EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "Map of '@/cache/f.map' failed\n"));
    EXPECT_EQ(m.ranges, nullptr);
  }
}

TEST_F(SysMap, ArchiveOpenedOnItsOwnMappingKeepsIt) {
  WriteDeviceFile("/data/a.zip", BuildZip({{"f", "x"}}).bytes);
  ZipArchive za;
  ASSERT_EQ(sysMapFile("/data/a.zip", &za.mapping), 0);
  ASSERT_EQ(mzOpenZipArchive(za.mapping.base, za.mapping.length, &za), 0);
  EXPECT_EQ(za.mapping.range_count, 1);
  mzCloseZipArchive(&za);
  sysReleaseMap(&za.mapping);
  EXPECT_EQ(za.mapping.ranges, nullptr);
}

// An archive written into scattered blocks of a device reads the same as the file itself.
TEST_F(SysMap, ArchiveThroughBlockMap) {
  std::string text;
  for (int i = 0; i < 3000; ++i) text += "line " + std::to_string(i) + "\n";
  std::string archive =
      BuildZip({{"a.txt", RawDeflate(text), ZIP_DEFLATED, static_cast<long>(text.size())},
                {"b.txt", "stored"}})
          .bytes;
  ASSERT_LT(archive.size(), 2 * kBlock);
  // Pad to whole blocks; the padding reads as part of the archive comment.
  archive.resize(2 * kBlock, '\0');
  std::string dev = ReadDeviceFile("/dev/block/sdz");
  dev.replace(6 * kBlock, kBlock, archive.substr(0, kBlock));
  dev.replace(2 * kBlock, kBlock, archive.substr(kBlock));
  WriteDeviceFile("/dev/block/sdz", dev);
  WriteDeviceFile("/cache/a.map", "/dev/block/sdz\n8192 4096\n2\n6 7\n2 3\n");

  MemoryMap m = {};
  ASSERT_EQ(sysMapFile("@/cache/a.map", &m), 0);
  ZipArchive za;
  ASSERT_EQ(mzOpenZipArchive(m.base, m.length, &za), 0);
  const ZipEntry* e = mzFindZipEntry(&za, "a.txt");
  ASSERT_NE(e, nullptr);
  std::string out(static_cast<size_t>(e->uncompressed_length), '\0');
  ASSERT_TRUE(mzExtractZipEntryToBuffer(&za, e, reinterpret_cast<unsigned char*>(out.data())));
  EXPECT_EQ(out, text);
  EXPECT_EQ(za.entry_count, 2u);
  mzCloseZipArchive(&za);
  sysReleaseMap(&m);
}

}  // namespace
}  // namespace orba::test
