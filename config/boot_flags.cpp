// Flags that outlive a boot: the IMEI recovery flag file and the factory console boot mode.

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <orbafactory/config.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "kernel_cmdline.h"

namespace {

constexpr char kRecoveryFlagPath[] = "/data/vendor/engineermode/imei_recovery_flag";
constexpr size_t kRecoveryFlagSize = 20;

}  // namespace

extern "C" ORBA_EXPORT int write_recovery_flag(int value) {
  // No O_TRUNC: a longer old value keeps its tail, which is harmless since readers look at the
  // first byte only.
  int fd = open(DevPath(kRecoveryFlagPath), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
  if (fd < 0) {
    return ORBA_LOGD("create %s error:%s", kRecoveryFlagPath, strerror(errno));
  }
  char text[kRecoveryFlagSize + 1] = {};
  int n = snprintf(text, sizeof(text), "%d", value);
  if (n > static_cast<int>(kRecoveryFlagSize)) n = static_cast<int>(kRecoveryFlagSize);
  if (TEMP_FAILURE_RETRY(write(fd, text, static_cast<size_t>(n))) != n) {
    ORBA_LOGE("write %s error:%s", kRecoveryFlagPath, strerror(errno));
  }
  return close(fd);
}

extern "C" ORBA_EXPORT int read_recovery_flag(void) {
  android::base::unique_fd fd(open(DevPath(kRecoveryFlagPath), O_RDONLY | O_CLOEXEC));
  if (fd.get() < 0) {
    ORBA_LOGD("open %s error:%s", kRecoveryFlagPath, strerror(errno));
    return 0;
  }
  char text[kRecoveryFlagSize] = {};
  ssize_t n = TEMP_FAILURE_RETRY(read(fd.get(), text, sizeof(text)));
  if (n < 1 || text[0] != '1') return 0;
  // Later boots learn from this property that recovery restored the IMEI match.
  orbaatcmd_set_system_property("ro.imei_match.recovery", "1");
  return 1;
}

extern "C" ORBA_EXPORT int is_factory_boot(void) {
  char cmdline[orba::config::kCmdlineSize + 1];
  int err = 0;
  orba::config::CmdlineRead result = orba::config::ReadKernelCmdline(cmdline, &err);
  if (result == orba::config::CmdlineRead::kOpenFailed) {
    ORBA_LOGD("open cmdline error: %s", strerror(err));
    return 0;
  }
  if (result != orba::config::CmdlineRead::kOk) {
    ORBA_LOGD("read cmdline error: %s", strerror(err));
    return 0;
  }
  return strstr(cmdline, "console-at=sendAT") != nullptr ||
                 strstr(cmdline, "console-at=sendNormal") != nullptr
             ? 1
             : 0;
}
