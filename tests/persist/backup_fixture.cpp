#include "backup_fixture.h"

#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <orbafactory/digest.h>
#include <orbafactory/persist.h>

namespace orba::test {

void BackupPartitionTest::SetUp() {
  DeviceRootTest::SetUp();
  WriteDeviceFile(kPartition, std::string(32 * 1024, '\xFF'));
  for (const char* link : {"/dev/block/bootdevice/by-name/backup", "/dev/block/by-name/backup"}) {
    WriteDeviceFile(std::string(link) + ".tmp", "");
    unlink(HostPath(std::string(link) + ".tmp").c_str());
    // A link's target is a path of the device, as init lays them out.
    ASSERT_EQ(symlink(kPartition, HostPath(link).c_str()), 0) << link;
  }
  WriteDeviceFile("/data/vendor/engineermode/.keep", "");
}

Bytes BackupPartitionTest::ReadImage(size_t offset, size_t size) const {
  Bytes out(size);
  int fd = open(ImagePath().c_str(), O_RDONLY);
  EXPECT_GE(fd, 0);
  EXPECT_EQ(pread(fd, out.data(), size, static_cast<off_t>(offset)), static_cast<ssize_t>(size));
  close(fd);
  return out;
}

void BackupPartitionTest::WriteImage(size_t offset, const Bytes& data) const {
  int fd = open(ImagePath().c_str(), O_WRONLY);
  ASSERT_GE(fd, 0);
  ASSERT_EQ(pwrite(fd, data.data(), data.size(), static_cast<off_t>(offset)),
            static_cast<ssize_t>(data.size()));
  close(fd);
}

void BackupPartitionTest::WriteSlot(unsigned slot, const Bytes& record) const {
  Bytes image(kSlot, 0);
  memcpy(image.data(), record.data(), record.size());
  WriteImage(slot * 4096u, image);
}

int32_t Int32At(const Bytes& r, size_t o) {
  return static_cast<int32_t>(uint32_t{r[o]} | uint32_t{r[o + 1]} << 8 | uint32_t{r[o + 2]} << 16 |
                              uint32_t{r[o + 3]} << 24);
}

void SetInt32(Bytes& r, size_t o, int32_t v) {
  for (int i = 0; i < 4; ++i) r[o + i] = static_cast<unsigned char>(static_cast<uint32_t>(v) >> (8 * i));
}

float FloatAt(const Bytes& r, size_t o) {
  const int32_t bits = Int32At(r, o);
  float f;
  memcpy(&f, &bits, sizeof(f));
  return f;
}

void SetFloat(Bytes& r, size_t o, float v) {
  int32_t bits;
  memcpy(&bits, &v, sizeof(bits));
  SetInt32(r, o, bits);
}

void SetText(Bytes& r, size_t o, const std::string& text) {
  memcpy(r.data() + o, text.c_str(), text.size() + 1);
}

Bytes Md5Of(const unsigned char* data, size_t size) {
  Md5Context ctx;
  MD5_Init(&ctx);
  MD5_Update(&ctx, data, static_cast<unsigned>(size));
  Bytes out(16);
  MD5_Final(out.data(), &ctx);
  return out;
}

void SealRecord(Bytes& r) {
  const Bytes sum = Md5Of(r.data(), 524);
  memcpy(r.data() + 524, sum.data(), 16);
}

bool RecordDigestValid(const Bytes& r) {
  return Md5Of(r.data(), 524) == Bytes(r.begin() + 524, r.begin() + 540);
}

}  // namespace orba::test
