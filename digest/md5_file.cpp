// MD5_Update_File: a whole file through the MD5 context, read in fixed 10 KiB pieces.

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <orbafactory/digest.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "digest_internal.h"

using namespace orba::digest;

namespace {
constexpr size_t kReadChunk = 10240;
}

extern "C" ORBA_EXPORT int MD5_Update_File(Md5Context* ctx, const char* path) {
  struct stat st;
  if (ctx == nullptr || path == nullptr || stat(DevPath(path), &st) != 0) {
    ORBA_LOGE("stat %s, error:%s", path != nullptr ? path : "(null)",
              strerror(ctx == nullptr || path == nullptr ? EINVAL : errno));
    return -1;
  }
  ORBA_LOGD("read file %s fileSize:%d \r\n", path, static_cast<int>(st.st_size));

  // Opened before the count is touched, so a file that cannot be opened leaves the context as
  // the caller had it.
  android::base::unique_fd fd(TEMP_FAILURE_RETRY(open(DevPath(path), O_RDONLY | O_CLOEXEC)));
  if (fd.get() < 0) {
    ORBA_LOGE("open %s fail:%s \r\n", path, strerror(errno));
    return -1;
  }

  // The count is the size seen by stat, added up front: the file is expected to hold still while
  // it is digested, and a file that shrinks meanwhile is still counted at its stat size.
  size_t used = (ctx->bit_count[0] >> 3) & 63;
  const uint64_t size = st.st_size > 0 ? static_cast<uint64_t>(st.st_size) : 0;
  const uint64_t bits = (uint64_t{ctx->bit_count[1]} << 32 | ctx->bit_count[0]) + size * 8;
  ctx->bit_count[0] = static_cast<uint32_t>(bits);
  ctx->bit_count[1] = static_cast<uint32_t>(bits >> 32);

  unsigned char buf[kReadChunk];
  uint64_t remaining = size;
  while (remaining > 0) {
    const size_t want = remaining < kReadChunk ? static_cast<size_t>(remaining) : kReadChunk;
    const ssize_t got = TEMP_FAILURE_RETRY(read(fd.get(), buf, want));
    if (got <= 0) break;
    used = Md5Absorb(ctx, used, buf, static_cast<size_t>(got));
    remaining -= static_cast<uint64_t>(got);
  }
  ORBA_LOGD("inLen %d fileSize:%d \r\n", remaining == 0 ? -1 : 0, static_cast<int>(remaining));
  return 0;
}
