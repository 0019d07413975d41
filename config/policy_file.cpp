// Whole-file writes of small text files: kernel attribute nodes and flag files.

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <orbafactory/config.h>
#include <platform/devpath.h>
#include <platform/log.h>

extern "C" ORBA_EXPORT int write_policy_file(int /*flag*/, const char* path, int oflag,
                                             const char* content) {
  if (path == nullptr) return -1;
  // The caller's flags as they stand: sysfs nodes must not be created or truncated.
  android::base::unique_fd fd(open(DevPath(path), oflag | O_CLOEXEC, 0660));
  if (fd.get() < 0) {
    int err = errno;
    ORBA_LOGD("write_file failed to open %s, errno: %s\n", path, strerror(err));
    return -err;
  }
  char buffer[1024] = {};
  int formatted = snprintf(buffer, sizeof(buffer), "%s", content != nullptr ? content : "");
  // Longer content is cut at the buffer; its terminator never reaches the file.
  size_t n = formatted < 0 ? 0 : static_cast<size_t>(formatted);
  if (n > sizeof(buffer) - 1) n = sizeof(buffer) - 1;
  ssize_t ret = write(fd.get(), buffer, n);
  int err = errno;
  ORBA_LOGD("write file %s ret: %d, buffer:%s, errno: %s\n", path, static_cast<int>(ret), buffer,
            strerror(err));
  fdatasync(fd.get());
  return ret == -1 ? -err : 0;
}
