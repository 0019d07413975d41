#ifndef ORBA_PERSIST_BACKUP_RECORD_LOCK_H
#define ORBA_PERSIST_BACKUP_RECORD_LOCK_H

#include <sys/types.h>

#include <android-base/unique_fd.h>

namespace orba::persist {

// Holds a byte range of the backup partition for one whole read/verify/repair ladder or put, so
// that a get in one process never sees, nor repairs over, a put half done in another.
//
// An open-file-description lock rather than a classic record lock: classic locks belong to the
// process and vanish when *any* descriptor of the file is closed, and the ladder opens and closes
// the partition several times while it runs. OFD locks also conflict between threads of one
// process. A thread that already holds the range (an accessor around get and put) takes it only
// once; `depth` counts that per thread and per range.
class RecordRangeLock {
 public:
  RecordRangeLock(const char* device_path, off_t start, off_t length, int& depth);
  ~RecordRangeLock();
  RecordRangeLock(const RecordRangeLock&) = delete;
  RecordRangeLock& operator=(const RecordRangeLock&) = delete;

  // The descriptor holding the lock, opened read-write on the device; -1 when this thread
  // already held the range (or the device could not be opened).
  int fd() const { return fd_.get(); }

 private:
  android::base::unique_fd fd_;
  int& depth_;
};

// The ranges the library locks: the XOLE NV slots and the back-NV slots.
class XoleNvLock : public RecordRangeLock {
 public:
  XoleNvLock();
};

class BackNvLock : public RecordRangeLock {
 public:
  BackNvLock();
};

}  // namespace orba::persist

#endif
