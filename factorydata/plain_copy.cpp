// A plain byte copy, for tools that place files without the media ownership.

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <orbafactory/factorydata.h>
#include <platform/devpath.h>
#include <platform/part_file.h>
#include <platform/log.h>

namespace {

using android::base::unique_fd;

constexpr size_t kChunk = 2048;

// Writes all of `len`, or stops at the first write that makes no progress.
bool WriteAll(int fd, const unsigned char* data, size_t len, long* written) {
  while (len > 0) {
    ssize_t n = TEMP_FAILURE_RETRY(write(fd, data, len));
    if (n <= 0) return false;
    data += n;
    len -= static_cast<size_t>(n);
    *written += n;
  }
  return true;
}

}  // namespace

extern "C" ORBA_EXPORT int copy_file(const char* src, const char* dst) {
  if (src == nullptr || dst == nullptr) return -1;
  unique_fd in(open(DevPath(src), O_RDONLY | O_CLOEXEC));
  if (in.get() < 0) {
    ORBA_LOGD("open %s Error:%s", src, strerror(errno));
    return -1;
  }
  off_t size = lseek(in.get(), 0, SEEK_END);
  ORBA_LOGD("fsize:%d", static_cast<int>(size));
  lseek(in.get(), 0, SEEK_SET);

  // Truncating the destination would destroy the source when both name the same file.
  struct stat s_in;
  struct stat s_out;
  if (stat(DevPath(src), &s_in) == 0 && stat(DevPath(dst), &s_out) == 0 &&
      s_in.st_dev == s_out.st_dev && s_in.st_ino == s_out.st_ino) {
    ORBA_LOGD("open %s Error:%s", dst, "same file as the source");
    return -1;
  }
  // Written beside the destination and renamed over it once whole and given its mode, so a copy
  // cut short leaves no partial file (nor a file without access bits) under the final name.
  orba::platform::PartFile part(dst, 0777);
  if (!part.ok()) {
    ORBA_LOGD("open %s Error:%s", dst, strerror(errno));
    return -1;
  }
  unsigned char buf[kChunk];
  long written = 0;
  for (;;) {
    ssize_t n = TEMP_FAILURE_RETRY(read(in.get(), buf, sizeof(buf)));
    if (n <= 0) break;
    if (!WriteAll(part.fd(), buf, static_cast<size_t>(n), &written)) {
      ORBA_LOGD("write %s Error:%s", dst, strerror(errno));
      break;
    }
  }
  if (written < size) ORBA_LOGD("read %s Error:%s", src, strerror(errno));
  in.reset();
  fsync(part.fd());
  if (chmod(DevPath(part.part_path()), 0775) != 0) {
    ORBA_LOGD("chmod %s Error:%s", dst, strerror(errno));
  }
  if (written < size) return -1;  // the partial copy goes with `part`
  if (!part.Commit()) {
    ORBA_LOGD("open %s Error:%s", dst, strerror(errno));
    return -1;
  }
  return 0;
}
