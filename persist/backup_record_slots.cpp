// One copy of the XOLE NV record at a time: read, write and verify a slot.

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <orbafactory/persist.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "../digest/digest_internal.h"
#include "backup_record.h"

namespace orba::persist {

int OpenXoleNvForRead() {
  const char* path = get_backup_path();
  // Read-write, as the partition has always been opened for reading: a reader that could not
  // also repair is refused early rather than halfway through a ladder.
  const int fd = TEMP_FAILURE_RETRY(open(DevPath(path), O_RDWR | O_CLOEXEC));
  if (fd < 0) ORBA_LOGE("open %s, err:%s\n", path, strerror(errno));
  return fd;
}

// Not O_SYNC: that would make each of a slot's two writes a flush of its own. A slot is made
// durable by the one fdatasync that ends its write instead, before anything touches the other
// copy; that order is what keeps one good copy on the device at every moment.
int OpenXoleNvForWrite() {
  const int fd = TEMP_FAILURE_RETRY(open(DevPath(kPlatformBackupPath), O_RDWR | O_CLOEXEC));
  if (fd < 0) ORBA_LOGE("open %s error:%s", kPlatformBackupPath, strerror(errno));
  return fd;
}

int ReadXoleNvSlot(int fd, unsigned char* record, unsigned slot) {
  unsigned char image[kSlotSize] = {};
  const ssize_t got =
      TEMP_FAILURE_RETRY(pread(fd, image, sizeof(image), static_cast<off_t>(slot) * kSlotStride));
  if (got != static_cast<ssize_t>(sizeof(image))) {
    // Counted in the 512-byte items the slot has always been read as.
    ORBA_LOGE("can't read size=%d from the backup partition ret=%d\n", 4,
              got > 0 ? static_cast<int>(got / 512) : 0);
    return 0;
  }
  memcpy(record, image, kXoleNvSize);
  char xole_sv[kXoleSvSize + 1] = {};
  memcpy(xole_sv, record + kXoleSvOffset, kXoleSvSize);
  ORBA_LOGD("index=%d, xole_nvram_nv:%p, xole_sv=%s\n", slot, record, xole_sv);
  return 1;
}

// A slot is written so that a write cut off at any byte leaves a copy that fails its digest,
// never one that passes with part old and part new bytes (the extension area is not digested):
//   1. from the digest to the end of the slot: the digest spoiled (every byte the complement of
//      the new digest, so it matches neither record), then the new extension and padding;
//   2. the digested bytes, with the real digest last.
// Until step 2 completes the slot is invalid, and the get ladder takes the other copy. A cut
// within the first 16 bytes of step 1 leaves the extension untouched, so whatever still
// verifies is the old record whole. Two writes per slot, the least that keeps this true.
// Both land in the same page, which the single fdatasync below writes out as one; a failed
// sync fails the slot, since the caller must not go on to the other copy with this one unsure.
int WriteXoleNvSlot(int fd, unsigned char* record, unsigned slot) {
  digest::Md5(record, kDigestedBytes, record + kDigestOffset);
  unsigned char image[kSlotSize] = {};
  memcpy(image, record, kXoleNvSize);
  unsigned char tail[kSlotSize - kDigestOffset];
  memcpy(tail, image + kDigestOffset, sizeof(tail));
  for (size_t i = 0; i < kDigestSize; ++i) tail[i] = static_cast<unsigned char>(~tail[i]);

  const off_t base = static_cast<off_t>(slot) * kSlotStride;
  struct Piece {
    const unsigned char* data;
    size_t size;
    off_t offset;
  } const pieces[] = {
      {tail, sizeof(tail), base + static_cast<off_t>(kDigestOffset)},
      {image, kExtensionOffset, base},
  };
  for (const Piece& p : pieces) {
    const ssize_t n = TEMP_FAILURE_RETRY(pwrite(fd, p.data, p.size, p.offset));
    if (n != static_cast<ssize_t>(p.size)) {
      ORBA_LOGE("can't write size=%lld to the backup partition ret= %d\n",
                static_cast<long long>(kSlotSize), static_cast<int>(n));
      return 0;
    }
  }
  ORBA_LOGD("backup fdatasync begin\r\n");
  const int synced = fdatasync(fd);
  ORBA_LOGD("backup fdatasync end\r\n");
  if (synced != 0) {
    ORBA_LOGE("fdatasync %s error:%s", kPlatformBackupPath, strerror(errno));
    return 0;
  }
  return 1;
}

int VerifyXoleNv(unsigned char* record) {
  if (record == nullptr) return 0;
  unsigned char sum[kDigestSize];
  digest::Md5(record, kDigestedBytes, sum);
  if (record[kExtensionOffset] != kExtensionMarker) {
    memcpy(record + kExtensionOffset, DefaultXoleNv() + kExtensionOffset, kExtensionSize);
  }
  ORBA_LOGD("XOLE_NV_Item size=%d", static_cast<int>(kXoleNvSize));
  if (memcmp(sum, record + kDigestOffset, kDigestSize) == 0) {
    ORBA_LOGD("verify ok\n");
    return 1;
  }
  for (size_t i = 0; i < kDigestSize; ++i) {
    ORBA_LOGD("cal_sum:%02x, md5:%02x", sum[i], record[kDigestOffset + i]);
  }
  ORBA_LOGE("verify fail\n");
  return 0;
}

}  // namespace orba::persist

using namespace orba::persist;

extern "C" {

ORBA_EXPORT int read_xole_nv_from_backup(uint8_t* record, unsigned slot) {
  android::base::unique_fd fd(OpenXoleNvForRead());
  if (fd.get() < 0) return 0;
  return ReadXoleNvSlot(fd.get(), record, slot);
}

ORBA_EXPORT int write_xole_nv_to_backup(uint8_t* record, unsigned slot) {
  android::base::unique_fd fd(OpenXoleNvForWrite());
  if (fd.get() < 0) return 0;
  return WriteXoleNvSlot(fd.get(), record, slot);
}

ORBA_EXPORT int verify_xole_nv_checksum(uint8_t* record) { return VerifyXoleNv(record); }

}  // extern "C"
