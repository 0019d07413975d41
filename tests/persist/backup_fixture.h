#ifndef ORBA_TESTS_PERSIST_BACKUP_FIXTURE_H
#define ORBA_TESTS_PERSIST_BACKUP_FIXTURE_H

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "support/device_root.h"

namespace orba::test {

constexpr size_t kRecordSize = 1592;
constexpr size_t kSlot = 2048;
constexpr const char kPartition[] = "/dev/block/platform/bootdevice/by-name/backup";

using Bytes = std::vector<unsigned char>;

// A device whose backup partition is an erased (0xFF) 32 KiB image behind all three by-name
// links, with the engineer-mode directory for the text files.
class BackupPartitionTest : public DeviceRootTest {
 protected:
  void SetUp() override;

  std::string ImagePath() const { return HostPath(kPartition); }
  Bytes ReadImage(size_t offset, size_t size) const;
  void WriteImage(size_t offset, const Bytes& data) const;
  Bytes Slot(unsigned slot) const { return ReadImage(slot * 4096u, kSlot); }
  // Writes a record as one slot holds it: the record, then zero padding.
  void WriteSlot(unsigned slot, const Bytes& record) const;
};

// Little-endian fields and digests, computed on the test side.
int32_t Int32At(const Bytes& r, size_t offset);
void SetInt32(Bytes& r, size_t offset, int32_t v);
float FloatAt(const Bytes& r, size_t offset);
void SetFloat(Bytes& r, size_t offset, float v);
void SetText(Bytes& r, size_t offset, const std::string& text);
Bytes Md5Of(const unsigned char* data, size_t size);
// Stamps the current-layout digest (bytes 0..523 into 524..539).
void SealRecord(Bytes& r);
bool RecordDigestValid(const Bytes& r);

}  // namespace orba::test

#endif
