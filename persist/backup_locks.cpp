// Classic fcntl record locks on a byte range of an open device, for callers that manage their
// own descriptor (read_backup, write_backup and the OTP store).

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <orbafactory/persist.h>
#include <platform/log.h>

namespace {

int SetLock(int fd, int cmd, short type, off_t start, int len) {
  struct flock fl = {};
  fl.l_type = type;
  fl.l_whence = SEEK_SET;
  fl.l_start = start;
  fl.l_len = len;
  return TEMP_FAILURE_RETRY(fcntl(fd, cmd, &fl)) == 0 ? 1 : 0;
}

}  // namespace

extern "C" {

ORBA_EXPORT int trylock_fd_read(int fd, off_t start, int len) {
  return SetLock(fd, F_SETLKW, F_RDLCK, start, len);
}

ORBA_EXPORT int trylock_fd_write(int fd, off_t start, int len) {
  return SetLock(fd, F_SETLK, F_WRLCK, start, len);
}

ORBA_EXPORT int waitlock_fd_write(int fd, off_t start, int len) {
  if (SetLock(fd, F_SETLKW, F_WRLCK, start, len) == 0) return 0;
  // The writer we waited for may still be syncing: callers rely on this pause.
  sleep(20);
  return 1;
}

ORBA_EXPORT int unlock_fd(int fd, off_t start, int len) {
  return SetLock(fd, F_SETLK, F_UNLCK, start, len);
}

ORBA_EXPORT int checklock_fd_write(int fd, off_t start, int len) {
  struct flock fl = {};
  fl.l_type = F_RDLCK;
  fl.l_whence = SEEK_SET;
  fl.l_start = start;
  fl.l_len = len;
  if (fcntl(fd, F_GETLK, &fl) != 0) {
    ORBA_LOGE("failed to check file lock. detail: %s(%d)\n", strerror(errno), errno);
    return -1;
  }
  if (fl.l_type == F_RDLCK) {
    ORBA_LOGD("read lock already set by %d\n", fl.l_pid);
  } else if (fl.l_type == F_WRLCK) {
    ORBA_LOGD("write lock already set by %d\n", fl.l_pid);
  } else {
    ORBA_LOGD("no file lock\n");
  }
  return 0;
}

}  // extern "C"
