// The OTP item: a small hashed record at the start of a dedicated block device. An item that
// fails its hash is taken from its second copy; only when both fail is it reset to its default,
// so stations read zeros and can write afresh.

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stddef.h>
#include <string.h>
#include <unistd.h>

#include <memory>

#include <android-base/unique_fd.h>

#include <orbafactory/devices.h>
#include <orbafactory/digest.h>
#include <platform/devpath.h>
#include <platform/log.h>

namespace {

constexpr const char* kOtpTag = "_O_EM_LOG: OTP_NV_ITEM";
constexpr const char* kOtpDevice = "/dev/block/sdd";
constexpr int kDataSize = 64;

static_assert(sizeof(OTP_NV_Item) == OTP_NV_ITEM_SIZE, "the item is a device format");
static_assert(offsetof(OTP_NV_Item, hash_verify_len) == 32, "the item is a device format");
static_assert(offsetof(OTP_NV_Item, hash) == 40, "the item is a device format");
static_assert(offsetof(OTP_NV_Item, data) == OTP_NV_DATA_OFFSET, "the item is a device format");

pthread_mutex_t g_otp_mutex = PTHREAD_MUTEX_INITIALIZER;

#define OTP_LOGE(fmt, ...) ORBA_LOG_TAGGED(ANDROID_LOG_ERROR, kOtpTag, fmt, ##__VA_ARGS__)
#define OTP_LOGD(fmt, ...) ORBA_LOG_TAGGED(ANDROID_LOG_DEBUG, kOtpTag, fmt, ##__VA_ARGS__)

// The caller's limit is the only check the interface asks for; the range test keeps a bad offset
// from reaching outside the 136-byte item.
bool AccessAllowed(int offset, int size, int limit) {
  if (size > limit) {
    OTP_LOGE("The size you provided is wrong, it may cause the address to be trampled!!\n");
    return false;
  }
  if (offset < 0 || size < 0 || offset > OTP_NV_ITEM_SIZE - size) {
    OTP_LOGE("offset %d and size %d do not fit in the %d-byte item\n", offset, size,
             OTP_NV_ITEM_SIZE);
    return false;
  }
  return true;
}

int OpenOtp() {
  int fd = open(DevPath(kOtpDevice), O_RDWR | O_SYNC | O_CLOEXEC);
  if (fd < 0) OTP_LOGE("can't open the otp partition, maybe the partiton is not here!!\n");
  return fd;
}

void Rehash(OTP_NV_Item* item) {
  SHA256_hash(item->data, kDataSize, item->hash);
  item->hash_verify_len = kDataSize;
}

// The item is kept twice: at 0, where everybody reads it, and a second copy a whole 4 KiB block
// away, as the factory record keeps its copies, so that one torn block write never spoils both.
// Every write goes to the second copy first, so whenever a power cut spoils one copy the other is
// whole, and an item that fails its hash is taken from the second copy before it is ever reset.
constexpr off_t kSecondCopyOffset = 4096;
// Earlier builds kept the second copy at 512, inside the item's own block. Such a copy is still
// read when the first copy fails and no second copy verifies where it now lives: on an image
// written by those builds it is the only backup. It is never written again; once read, the item
// moves to the new place. Writes alone cannot make it the copy that is read: a write puts a
// whole second copy at 4096 before touching the first, so those two never fail together.
constexpr off_t kLegacySecondCopyOffset = 512;
constexpr off_t kLockedSpan = kSecondCopyOffset + static_cast<off_t>(sizeof(OTP_NV_Item));

// The whole span of both copies, locked against other processes for one access (threads of this
// process are kept apart by g_otp_mutex: record locks do not see them).
class SpanLock {
 public:
  explicit SpanLock(int fd) : fd_(fd) { ok_ = Apply(F_WRLCK); }
  ~SpanLock() {
    if (ok_) Apply(F_UNLCK);
  }
  SpanLock(const SpanLock&) = delete;
  SpanLock& operator=(const SpanLock&) = delete;
  bool ok() const { return ok_; }

 private:
  bool Apply(short type) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    lock.l_start = 0;
    lock.l_len = kLockedSpan;
    return TEMP_FAILURE_RETRY(fcntl(fd_, F_SETLKW, &lock)) == 0;
  }
  int fd_;
  bool ok_;
};

bool ReadCopy(int fd, off_t offset, OTP_NV_Item* item) {
  return TEMP_FAILURE_RETRY(pread(fd, item, sizeof(*item), offset)) ==
         static_cast<ssize_t>(sizeof(*item));
}

// Each write is synchronous (O_SYNC): one copy is on the device before the other is touched.
bool WriteCopy(int fd, off_t offset, const OTP_NV_Item* item) {
  return TEMP_FAILURE_RETRY(pwrite(fd, item, sizeof(*item), offset)) ==
         static_cast<ssize_t>(sizeof(*item));
}

bool WriteBothCopies(int fd, const OTP_NV_Item* item) {
  return WriteCopy(fd, kSecondCopyOffset, item) && WriteCopy(fd, 0, item);
}

enum class Found { kFirst, kSecond, kLegacySecond, kNeither, kUnreadable };

bool VerifiedCopy(int fd, off_t offset, OTP_NV_Item* item) {
  OTP_NV_Item copy;
  if (!ReadCopy(fd, offset, &copy) || doCheckHash(&copy) != 0) return false;
  *item = copy;
  return true;
}

// The item as the device holds it: the first copy if it verifies, else the second, else the
// second copy of an older image, else none.
Found CurrentItem(int fd, OTP_NV_Item* item) {
  if (!ReadCopy(fd, 0, item)) return Found::kUnreadable;
  if (doCheckHash(item) == 0) return Found::kFirst;
  if (VerifiedCopy(fd, kSecondCopyOffset, item)) return Found::kSecond;
  if (VerifiedCopy(fd, kLegacySecondCopyOffset, item)) return Found::kLegacySecond;
  return Found::kNeither;
}

// One access: both locks, the item read, and a first copy that failed its hash put right (from
// the second copy, or the default when neither holds). False when the device failed.
class OtpAccess {
 public:
  explicit OtpAccess(OTP_NV_Item* item) : item_(item) {}
  bool Open() {
    fd_.reset(OpenOtp());
    if (fd_.get() < 0) return false;
    if (pthread_mutex_lock(&g_otp_mutex) != 0) {
      OTP_LOGE("put otp nv to otp pthread_mutex_lock ERROR!\n");
      return false;
    }
    locked_ = true;
    span_ = std::make_unique<SpanLock>(fd_.get());
    if (!span_->ok()) {
      OTP_LOGE("can't lock the otp partition: %s\n", strerror(errno));
      return false;
    }
    switch (CurrentItem(fd_.get(), item_)) {
      case Found::kUnreadable:
        OTP_LOGE("can't read the otp item: %s\n", strerror(errno));
        return false;
      case Found::kFirst:
        return true;
      case Found::kSecond:
        OTP_LOGE("otp item restored from its second copy\r\n");
        if (WriteCopy(fd_.get(), 0, item_)) return true;
        break;
      case Found::kLegacySecond:
        OTP_LOGE("otp item restored from its second copy\r\n");
        if (WriteBothCopies(fd_.get(), item_)) return true;
        break;
      case Found::kNeither:
        OTP_LOGE("do otp restore to default\r\n");
        memset(item_, 0, sizeof(*item_));
        Rehash(item_);
        if (WriteBothCopies(fd_.get(), item_)) return true;
        break;
    }
    OTP_LOGE("restore otp to default failed!\r\n");
    return false;
  }
  int fd() const { return fd_.get(); }
  ~OtpAccess() {
    span_.reset();
    if (locked_) pthread_mutex_unlock(&g_otp_mutex);
  }

 private:
  OTP_NV_Item* item_;
  android::base::unique_fd fd_;
  bool locked_ = false;
  std::unique_ptr<SpanLock> span_;
};

}  // namespace

extern "C" {

int is_support_otp(void) { return access(DevPath(kOtpDevice), F_OK) == 0 ? 1 : 0; }

int doCheckHash(const OTP_NV_Item* item) {
  if (item == nullptr) {
    OTP_LOGE("check hash failed: input OTP_NV_Item null!\r\n");
    return -1;
  }
  uint64_t len = item->hash_verify_len;
  int covered = (len >= 1 && len <= kDataSize) ? static_cast<int>(len) : kDataSize;
  unsigned char digest[32];
  SHA256_hash(item->data, covered, digest);
  if (memcmp(digest, item->hash, sizeof(digest)) == 0) {
    OTP_LOGD("otp hash verify ok\r\n");
    return 0;
  }
  OTP_LOGE("otp hash verify ng\r\n");
  return -1;
}

// Logged from the failing function itself, so the line names it.
#define OTP_WRITE_FAILED() (OTP_LOGE("write to OTP_DEVICE_PATH_0 error"), -1)
#define OTP_READ_FAILED() (OTP_LOGE("read value from OTP_DEVICE_PATH_0 error!"), -1)

int write_value_to_otp(int offset, const void* data, int size, int limit) {
  if (data == nullptr || !AccessAllowed(offset, size, limit)) return OTP_WRITE_FAILED();
  OTP_NV_Item item;
  OtpAccess otp(&item);
  if (!otp.Open()) return OTP_WRITE_FAILED();
  memcpy(reinterpret_cast<unsigned char*>(&item) + offset, data, static_cast<size_t>(size));
  Rehash(&item);
  if (!WriteBothCopies(otp.fd(), &item)) {
    OTP_LOGE("write ofsset failed!\r\n");
    return OTP_WRITE_FAILED();
  }
  return 0;
}

int read_value_from_otp(int offset, void* out, int size, int limit) {
  if (out == nullptr || !AccessAllowed(offset, size, limit)) return OTP_READ_FAILED();
  OTP_NV_Item item;
  OtpAccess otp(&item);
  if (!otp.Open()) return OTP_READ_FAILED();
  memcpy(out, reinterpret_cast<unsigned char*>(&item) + offset, static_cast<size_t>(size));
  return 0;
}

}  // extern "C"
