// The XOLE NV record as a whole: the two-copy get ladder with its repairs, and the put.

#include <errno.h>
#include <pthread.h>
#include <string.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <orbafactory/persist.h>
#include <platform/log.h>

#include "../digest/digest_internal.h"
#include "backup_record.h"
#include "backup_record_lock.h"

extern "C" {
ORBA_EXPORT pthread_mutex_t backup_mutex = PTHREAD_MUTEX_INITIALIZER;
}

namespace orba::persist {
namespace {

// Repairs need the synchronous descriptor of the write path; most gets never repair, so it is
// opened only when the first repair comes.
class RepairWriter {
 public:
  int Write(unsigned char* record, unsigned slot) {
    if (fd_.get() < 0) fd_.reset(OpenXoleNvForWrite());
    return fd_.get() >= 0 ? WriteXoleNvSlot(fd_.get(), record, slot) : 0;
  }

  // The record that failed every check is parked as it was read, digest bytes included, so
  // whoever retrieves it sees exactly what the partition held.
  void Quarantine(const unsigned char* record) {
    if (fd_.get() < 0) fd_.reset(OpenXoleNvForWrite());
    if (fd_.get() < 0) return;
    unsigned char image[kSlotSize] = {};
    memcpy(image, record, kXoleNvSize);
    const ssize_t n = TEMP_FAILURE_RETRY(
        pwrite(fd_.get(), image, sizeof(image), static_cast<off_t>(kQuarantineSlot) * kSlotStride));
    if (n != static_cast<ssize_t>(sizeof(image))) {
      ORBA_LOGE("can't write size=%lld to the backup partition ret= %d\n",
                static_cast<long long>(kSlotSize), static_cast<int>(n));
      return;
    }
    fdatasync(fd_.get());
  }

 private:
  android::base::unique_fd fd_;
};

// The record predates the current layout if its digest sits where the old layout kept it.
bool HasLegacyDigest(const unsigned char* record) {
  constexpr int kLegacyShift = static_cast<int>(kDigestOffset - kLegacyDigestOffset);
  ORBA_LOGD("offset:%d", kLegacyShift);
  unsigned char sum[kDigestSize];
  digest::Md5(record, kLegacyDigestedBytes, sum);
  if (memcmp(sum, record + kLegacyDigestOffset, kDigestSize) == 0) {
    ORBA_LOGD("recovery ok\n");
    return true;
  }
  for (size_t i = 0; i < kDigestSize; ++i) {
    ORBA_LOGD("cal_sum:%02x, md5:%02x, offset:%02x", sum[i], record[kLegacyDigestOffset + i],
              kLegacyShift);
  }
  ORBA_LOGE("recovery fail\n");
  return false;
}

}  // namespace
}  // namespace orba::persist

using namespace orba::persist;

extern "C" {

ORBA_EXPORT int put_XOLE_NV_item(uint8_t* record) {
  ORBA_LOGD("put_XOLE_NV_item start\r\n");
  if (record == nullptr) {
    ORBA_LOGE("write xole nv to backup failed\r\n");
    return -ENOENT;
  }
  XoleNvLock range_lock;
  const bool locked = pthread_mutex_lock(&backup_mutex) == 0;
  if (!locked) ORBA_LOGE("put xole nv to backup pthread_mutex_lock ERROR!\n");

  android::base::unique_fd fd(OpenXoleNvForWrite());
  if (fd.get() < 0 || WriteXoleNvSlot(fd.get(), record, 0) == 0) {
    ORBA_LOGE("write xole nv to backup failed\r\n");
    if (locked) pthread_mutex_unlock(&backup_mutex);
    return -ENOENT;
  }
  // Copy 0 is what the next get trusts; a failure here is repaired from it then.
  WriteXoleNvSlot(fd.get(), record, 1);
  WriteXoleNvDump(record);

  if (locked && pthread_mutex_unlock(&backup_mutex) != 0) {
    ORBA_LOGE("put xole nv to backup pthread_mutex_unlock ERROR!\n");
  }
  ORBA_LOGD("put_XOLE_NV_item end\r\n");
  return 0;
}

ORBA_EXPORT int get_XOLE_NV_item(uint8_t* record) {
  ORBA_LOGD("get_XOLE_NV_item start\r\n");
  if (record == nullptr) {
    ORBA_LOGE("read_xole_nv_from_backup failed\r\n");
    return -1;
  }
  XoleNvLock range_lock;
  // The lock's descriptor is the read path opened read-write: reading through it saves an open.
  android::base::unique_fd own_fd(range_lock.fd() < 0 ? OpenXoleNvForRead() : -1);
  const int fd = range_lock.fd() >= 0 ? range_lock.fd() : own_fd.get();
  if (fd < 0 || ReadXoleNvSlot(fd, record, 0) == 0) {
    ORBA_LOGE("read_xole_nv_from_backup failed\r\n");
    return -1;
  }
  RepairWriter repair;
  // Verification may reset the extension in memory; what gets parked is the copy as read.
  unsigned char as_read[kXoleNvSize];
  memcpy(as_read, record, kXoleNvSize);

  if (VerifyXoleNv(record) == 1) {
    ORBA_LOGD("first copy verify OK");
    unsigned char second[kXoleNvSize] = {};
    // A copy 1 identical to copy 0 as read verifies exactly as copy 0 did; only a different one
    // needs its own digest.
    if (ReadXoleNvSlot(fd, second, 1) == 1 &&
        (memcmp(second, as_read, kXoleNvSize) == 0 ||
         (VerifyXoleNv(second) == 1 && memcmp(second, record, kXoleNvSize) == 0))) {
      ORBA_LOGD("second copy verify OK");
      return 0;
    }
    ORBA_LOGE("second copy verify fail, recovery from first");
    repair.Write(record, 1);
    return 0;
  }

  if (ReadXoleNvSlot(fd, record, 1) == 1) {
    memcpy(as_read, record, kXoleNvSize);
    if (VerifyXoleNv(record) == 1) {
      ORBA_LOGD("first copy verify fail, recovery from second");
      repair.Write(record, 0);
      return 0;
    }
  }

  if (!HasLegacyDigest(record)) {
    ORBA_LOGE("all verify fail, restore to default");
    repair.Quarantine(as_read);
    memcpy(record, DefaultXoleNv(), kXoleNvSize);
  }
  if (put_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("put_XOLE_NV_item fail\r\n");
    return -ENOENT;
  }
  return 0;
}

}  // extern "C"
