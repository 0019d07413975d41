#include "kernel_cmdline.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <platform/devpath.h>

namespace orba::config {

CmdlineRead ReadKernelCmdline(char (&text)[kCmdlineSize + 1], int* err) {
  memset(text, 0, sizeof(text));
  android::base::unique_fd fd(open(DevPath("/proc/cmdline"), O_RDONLY | O_CLOEXEC));
  if (fd.get() < 0) {
    *err = errno;
    return CmdlineRead::kOpenFailed;
  }
  ssize_t n = TEMP_FAILURE_RETRY(read(fd.get(), text, kCmdlineSize));
  if (n < 0) {
    *err = errno;
    return CmdlineRead::kReadFailed;
  }
  return CmdlineRead::kOk;
}

}  // namespace orba::config
