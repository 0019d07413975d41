#include "backup_record_lock.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <orbafactory/persist.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "back_nv_record.h"
#include "backup_record.h"

namespace orba::persist {

RecordRangeLock::RecordRangeLock(const char* device_path, off_t start, off_t length, int& depth)
    : depth_(depth) {
  if (depth_++ > 0) return;
  fd_.reset(TEMP_FAILURE_RETRY(open(DevPath(device_path), O_RDWR | O_CLOEXEC)));
  // Without the device there is nothing to guard: the ladder's own open fails and says so.
  if (fd_.get() < 0) return;
  struct flock fl = {};
  fl.l_type = F_WRLCK;
  fl.l_whence = SEEK_SET;
  fl.l_start = start;
  fl.l_len = length;
  if (TEMP_FAILURE_RETRY(fcntl(fd_.get(), F_OFD_SETLKW, &fl)) != 0) {
    ORBA_LOGE("lock %s [%ld, +%ld) error:%s", device_path, static_cast<long>(start),
              static_cast<long>(length), strerror(errno));
  }
}

// Closing the descriptor releases the lock.
RecordRangeLock::~RecordRangeLock() { --depth_; }

namespace {
thread_local int xole_nv_depth = 0;
thread_local int back_nv_depth = 0;
}  // namespace

XoleNvLock::XoleNvLock()
    : RecordRangeLock(get_backup_path(), kXoleNvLockStart, kXoleNvLockLength, xole_nv_depth) {}

BackNvLock::BackNvLock()
    : RecordRangeLock(kBackNvPath, kBackNvLockStart, kBackNvLockLength, back_nv_depth) {}

}  // namespace orba::persist
