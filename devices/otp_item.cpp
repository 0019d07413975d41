// The OTP item: a small hashed record at the start of a dedicated block device. A corrupt item
// is never reported: it is reset to its default, so stations read zeros and can write afresh.

#include <fcntl.h>
#include <pthread.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <orbafactory/devices.h>
#include <orbafactory/digest.h>
#include <orbafactory/persist.h>
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

// Writes one piece of the item at its own offset; read_backup/write_backup close the descriptor
// when they fail, so the caller must not close it again then.
bool WritePiece(int fd, const OTP_NV_Item* item, size_t offset, size_t size) {
  return write_backup(fd, static_cast<off_t>(offset), static_cast<int>(size),
                      reinterpret_cast<const unsigned char*>(item) + offset) == 0;
}

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
  int fd = OpenOtp();
  if (fd < 0) return OTP_WRITE_FAILED();
  auto* item = static_cast<OTP_NV_Item*>(malloc(sizeof(OTP_NV_Item)));
  if (item == nullptr) {
    OTP_LOGE("malloc fail\n");
    close(fd);
    return OTP_WRITE_FAILED();
  }
  if (pthread_mutex_lock(&g_otp_mutex) != 0) {
    OTP_LOGE("put otp nv to otp pthread_mutex_lock ERROR!\n");
    free(item);
    close(fd);
    return OTP_WRITE_FAILED();
  }
  int result = 0;
  bool fd_open = true;
  if (read_backup(fd, 0, sizeof(OTP_NV_Item), item) != 0) {
    // An unreadable item is left alone and the call counts as done, as it always has.
    fd_open = false;
  } else {
    if (doCheckHash(item) != 0) {
      OTP_LOGE("do otp restore to default\r\n");
      memset(item, 0, sizeof(*item));
      if (!WritePiece(fd, item, 0, sizeof(*item))) {
        OTP_LOGE("restore otp to default failed!\r\n");
        fd_open = false;
        result = -1;
      }
    }
    if (result == 0) {
      memcpy(reinterpret_cast<unsigned char*>(item) + offset, data, static_cast<size_t>(size));
      Rehash(item);
      // Data first, then the hash, then the length: a cut in between leaves a mismatch that the
      // next access repairs.
      if (!WritePiece(fd, item, static_cast<size_t>(offset), static_cast<size_t>(size))) {
        OTP_LOGE("write ofsset failed!\r\n");
        result = -1;
      } else if (!WritePiece(fd, item, offsetof(OTP_NV_Item, hash), sizeof(item->hash))) {
        OTP_LOGE("write hash256 failed!\r\n");
        result = -1;
      } else if (!WritePiece(fd, item, offsetof(OTP_NV_Item, hash_verify_len),
                             sizeof(item->hash_verify_len))) {
        OTP_LOGE("write hash_verify_len failed!\r\n");
        result = -1;
      }
      if (result != 0) fd_open = false;
    }
  }
  free(item);
  if (fd_open) close(fd);
  pthread_mutex_unlock(&g_otp_mutex);
  return result == 0 ? 0 : OTP_WRITE_FAILED();
}

int read_value_from_otp(int offset, void* out, int size, int limit) {
  if (out == nullptr || !AccessAllowed(offset, size, limit)) return OTP_READ_FAILED();
  int fd = OpenOtp();
  if (fd < 0) return OTP_READ_FAILED();
  auto* item = static_cast<OTP_NV_Item*>(malloc(sizeof(OTP_NV_Item)));
  if (item == nullptr) {
    OTP_LOGE("malloc fail\n");
    close(fd);
    return OTP_READ_FAILED();
  }
  // Every failure past this point still returns 0 and leaves `out` untouched.
  if (read_backup(fd, 0, sizeof(OTP_NV_Item), item) != 0) {
    free(item);
    return 0;
  }
  if (doCheckHash(item) != 0) {
    OTP_LOGE("do otp restore to default\r\n");
    memset(item, 0, sizeof(*item));
    Rehash(item);
    if (pthread_mutex_lock(&g_otp_mutex) != 0) {
      OTP_LOGE("put otp nv to otp pthread_mutex_lock ERROR!\n");
      free(item);
      close(fd);
      return 0;
    }
    bool written = WritePiece(fd, item, 0, sizeof(*item));
    pthread_mutex_unlock(&g_otp_mutex);
    if (!written) {
      OTP_LOGE("restore otp to default failed!\r\n");
      free(item);
      return 0;
    }
  }
  memcpy(out, reinterpret_cast<unsigned char*>(item) + offset, static_cast<size_t>(size));
  close(fd);
  free(item);
  return 0;
}

}  // extern "C"
