// Copies across the file-based-encryption boundary: staged files moved to their final place
// once user storage is ready, each left in the placed-file state.

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include <android-base/unique_fd.h>
#include <orbafactory/factorydata.h>
#include <platform/devpath.h>
#include <platform/part_file.h>
#include <platform/log.h>

#include "placed_file.h"

namespace {

using android::base::unique_fd;

constexpr size_t kTransferSize = 1024 * 1024;

struct FreeDeleter {
  void operator()(void* p) const { free(p); }
};

}  // namespace

extern "C" ORBA_EXPORT int fbe_copy_file(const char* src, const char* dst) {
  if (src == nullptr || dst == nullptr) return -1;
  std::unique_ptr<unsigned char, FreeDeleter> buf(static_cast<unsigned char*>(malloc(kTransferSize)));
  if (!buf) {
    ORBA_LOGD("malloc Error:%s", strerror(errno));
    ORBA_LOGD("fsize %lu Error:%s", 1ul, strerror(errno));
    return -1;
  }
  struct stat st;
  unsigned long expected = stat(DevPath(src), &st) == 0 ? static_cast<unsigned long>(st.st_size) : 0;
  ORBA_LOGE("copy %s > %s fsize:%lu", src, dst, expected);
  unsigned long left = expected;

  unique_fd in(open(DevPath(src), O_RDONLY | O_CLOEXEC));
  if (in.get() < 0) {
    ORBA_LOGD("open %s Error:%s", src, strerror(errno));
    // A source that is not there is nothing to place; the destination is left as it was
    // rather than replaced by an empty file.
    if (left == 0) return 0;
    ORBA_LOGD("fsize %lu Error:%s", left, strerror(errno));
    return -1;
  }
  remove(DevPathNoFollow(dst));
  // Created without any access bits; the placed-file permissions are applied afterwards.
  // Written beside the destination and renamed into place once every byte is in: a copy cut
  // short leaves no partial file under the final name.
  orba::platform::PartFile part(dst, 0);
  const int out_fd = part.fd();
  if (out_fd < 0) {
    ORBA_LOGD("open %s Error:%s", dst, strerror(errno));
    return -1;
  }
  // Reserving the whole size first keeps the file in few extents on flash storage.
  if (ftruncate(out_fd, static_cast<off_t>(expected)) != 0 || lseek(out_fd, 0, SEEK_SET) != 0) {
    ORBA_LOGD("ftruncate %s Error:%s", dst, strerror(errno));
  }
  while (left > 0) {
    size_t want = left < kTransferSize ? left : kTransferSize;
    ssize_t got = TEMP_FAILURE_RETRY(read(in.get(), buf.get(), want));
    if (got <= 0) {
      ORBA_LOGD("read %s Error:%s", src, got == 0 ? "end of file" : strerror(errno));
      break;
    }
    ssize_t put = TEMP_FAILURE_RETRY(write(out_fd, buf.get(), static_cast<size_t>(got)));
    if (put != got) {
      ORBA_LOGD("write %s Error:%s (%d,%d)", dst, strerror(errno), static_cast<int>(got),
                static_cast<int>(put));
      break;
    }
    left -= static_cast<unsigned long>(got);
  }
  fdatasync(out_fd);
  if (left == 0 && !part.Commit()) {
    ORBA_LOGD("rename %s Error:%s", dst, strerror(errno));
    return -1;
  }
  if (left != 0) {
    ORBA_LOGD("fsize %lu Error:%s", left, strerror(errno));
    return -1;
  }
  return 0;
}

extern "C" ORBA_EXPORT int fbe_copy_file_and_check(const char* src, const char* dst,
                                                   int remove_src) {
  if (src == nullptr || dst == nullptr) return -1;
  // The signature check, not the first copy's result, decides whether to copy again.
  int placed = fbe_copy_file(src, dst);
  orba::fbe::FinishPlacedFile(dst);
  if (ckeck_zip_signature(dst) != 0) {
    remove(DevPathNoFollow(dst));
    placed = fbe_copy_file(src, dst);
    orba::fbe::FinishPlacedFile(dst);
    if (placed != 0) return placed;
  }
  if ((remove_src & 1) != 0) {
    // The source is the only good copy while the placed one is incomplete: it stays.
    if (placed == 0) {
      remove(DevPathNoFollow(src));
    } else {
      ORBA_LOGE("copy %s > %s incomplete, source kept", src, dst);
    }
  }
  return 0;
}

extern "C" ORBA_EXPORT int copy_files_before_init(const char* src, const char* dst) {
  int rc = fbe_copy_file(src, dst);
  if (rc != 0) return rc;
  orba::fbe::FinishPlacedFile(dst);
  return remove(DevPathNoFollow(src));
}
