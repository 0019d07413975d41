#include "text_view.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include <android-base/file.h>
#include <android-base/stringprintf.h>
#include <android-base/unique_fd.h>
#include <platform/devpath.h>
#include <platform/log.h>

namespace orba::persist {

int ReplaceTextView(const char* device_path, const char* text, size_t len) {
  // Unique per process and call, so two writers never share a temporary file.
  static std::atomic<unsigned> sequence{0};
  const std::string temp_name = android::base::StringPrintf(
      "%s.%d.%u.tmp", device_path, static_cast<int>(getpid()), sequence.fetch_add(1));
  DevPathNoFollow temp(temp_name.c_str());
  DevPathNoFollow target(device_path);

  android::base::unique_fd fd(
      open(temp, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0664));
  if (fd.get() < 0) {
    const int err = errno;
    ORBA_LOGE("fopen %s error:%s", device_path, strerror(err));
    return -err;
  }
  // fchmod, not the creation mode: the process umask would take the group's write bit.
  if (!android::base::WriteFully(fd, text, len) || fchmod(fd.get(), 0664) != 0) {
    const int err = errno;
    ORBA_LOGE("write %s error:%s", device_path, strerror(err));
    unlink(temp);
    return -err;
  }
  fd.reset();
  if (rename(temp, target) != 0) {
    const int err = errno;
    ORBA_LOGE("rename %s error:%s", device_path, strerror(err));
    unlink(temp);
    return -err;
  }
  return 0;
}

}  // namespace orba::persist
