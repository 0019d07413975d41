// Locked whole-range reads and writes on an open block device. Both close the caller's
// descriptor when they fail (callers close it themselves only after a success).

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <memory>
#include <new>

#include <orbafactory/persist.h>
#include <platform/log.h>

namespace {

// Reads or writes exactly `size` bytes at the current offset unless the device stops short.
template <typename Op>
ssize_t Transfer(Op op, int size) {
  ssize_t done = 0;
  while (done < size) {
    const ssize_t n = TEMP_FAILURE_RETRY(op(done));
    if (n <= 0) break;
    done += n;
  }
  return done;
}

}  // namespace

extern "C" {

ORBA_EXPORT int read_backup(int fd, off_t offset, int size, void* out) {
  ORBA_LOGE("read_backup begin\n");
  std::unique_ptr<unsigned char[]> temp(size > 0 ? new (std::nothrow) unsigned char[size]() : nullptr);
  if (size < 0 || out == nullptr || (size > 0 && temp == nullptr)) {
    ORBA_LOGE("can't read size=%d from the backup partition ret=%d\n", size, -1);
    close(fd);
    return -1;
  }
  const bool locked = trylock_fd_read(fd, offset, size) == 1;
  if (locked) ORBA_LOGE("read_backup Add RD lock by pid=%d offset=%ld\n", getpid(), static_cast<long>(offset));

  ssize_t got = -1;
  if (lseek(fd, offset, SEEK_SET) == offset) {
    got = Transfer([&](ssize_t done) { return read(fd, temp.get() + done, size - done); }, size);
  }
  if (got != size) {
    ORBA_LOGE("can't read size=%d from the backup partition ret=%d\n", size, static_cast<int>(got));
    if (locked) unlock_fd(fd, offset, size);
    close(fd);
    return -1;
  }
  if (size > 0) memcpy(out, temp.get(), static_cast<size_t>(size));
  if (locked) unlock_fd(fd, offset, size);
  ORBA_LOGD("read_backup end");
  return 0;
}

ORBA_EXPORT int write_backup(int fd, off_t offset, int size, const void* data) {
  if (size < 0 || data == nullptr) {
    ORBA_LOGE("can't write size=%d to the backup partition errno= %d\n", size, EINVAL);
    close(fd);
    return -1;
  }
  if (trylock_fd_write(fd, offset, size) == 0) {
    ORBA_LOGD("waiting for lock\n");
    trylock_fd_write(fd, offset, size);
    waitlock_fd_write(fd, offset, size);
  }
  ORBA_LOGD("file has been locked by %d.\n", getpid());

  const auto* bytes = static_cast<const unsigned char*>(data);
  ssize_t written = -1;
  if (lseek(fd, offset, SEEK_SET) == offset) {
    written = Transfer([&](ssize_t done) { return write(fd, bytes + done, size - done); }, size);
  }
  if (written != size) {
    ORBA_LOGE("can't write size=%d to the backup partition errno= %d\n", size, errno);
    unlock_fd(fd, offset, size);
    close(fd);
    return -1;
  }
  ORBA_LOGD("backup fdatasync begin\r\n");
  fdatasync(fd);
  unlock_fd(fd, offset, size);
  ORBA_LOGD("backup fdatasync end\r\n");
  return 0;
}

}  // extern "C"
