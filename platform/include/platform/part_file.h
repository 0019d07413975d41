#ifndef ORBA_PLATFORM_PART_FILE_H
#define ORBA_PLATFORM_PART_FILE_H

// A file written under a temporary name beside its final one and renamed over it when whole.
// A write cut short (an error, a full disk, the process killed by a signal) never leaves a
// partial file under the final name: a reader sees the old file or the new one, and the
// temporary file is removed unless the process died first.
//
//   orba::platform::PartFile out("/data/media/0/a.bin", 0644);
//   if (!out.ok()) ...;  write(out.fd(), ...);  out.Commit();

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include <android-base/unique_fd.h>
#include <platform/devpath.h>

namespace orba::platform {

class PartFile {
 public:
  // Creates the temporary file (device path `final_path` + ".part-PID-N") with `mode`.
  PartFile(const char* final_path, mode_t mode) : final_(final_path) {
    static std::atomic<unsigned> counter{0};
    part_ = final_ + ".part-" + std::to_string(getpid()) + "-" + std::to_string(counter++);
    fd_.reset(open(DevPath(part_.c_str()), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, mode));
  }
  ~PartFile() { Discard(); }
  PartFile(const PartFile&) = delete;
  PartFile& operator=(const PartFile&) = delete;

  bool ok() const { return fd_.get() >= 0; }
  int fd() const { return fd_.get(); }
  // The temporary file's device path, for what must be done to it by name before the rename.
  const char* part_path() const { return part_.c_str(); }

  // Closes the file and renames it over the final name. False (errno set) when that failed,
  // and then the temporary file is gone too.
  bool Commit() {
    if (fd_.get() < 0) return false;
    fd_.reset();
    if (rename(DevPathNoFollow(part_.c_str()), DevPathNoFollow(final_.c_str())) != 0) {
      int err = errno;
      Discard();
      errno = err;
      return false;
    }
    placed_ = true;
    return true;
  }

 private:
  void Discard() {
    fd_.reset();
    if (!placed_) unlink(DevPathNoFollow(part_.c_str()));
    placed_ = true;  // nothing left to remove
  }

  std::string final_;
  std::string part_;
  android::base::unique_fd fd_;
  bool placed_ = false;
};

}  // namespace orba::platform

#endif
