// Whether the device's security state is final: secure boot fused, and the replay-protected
// memory block's key provisioned. Absent nodes and tools read as "not yet".

#include <string.h>
#include <unistd.h>

#include <orbafactory/config.h>
#include <orbafactory/devices.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/log.h>

namespace {

constexpr const char* kLifeCycleState = "/proc/sec_oem_lcs";
constexpr const char* kSecureEnable = "/proc/sec_en";
constexpr const char* kFusedState = "0x00000003";
constexpr int kNodeSize = 100;
constexpr int kOutputSize = 1024;
constexpr int kRetries = 10;
constexpr useconds_t kRetryPauseUs = 200000;

}  // namespace

extern "C" {

int secure_boot_is_open(void) {
  char buf[kNodeSize] = {};
  if (access(DevPath(kLifeCycleState), F_OK) == 0) {
    read_policy_file(0, kLifeCycleState, buf, sizeof(buf));
    ORBA_LOGD("read path_fuse_seboot: %s", buf);
    if (strstr(buf, kFusedState) == nullptr) return 0;
  }
  memset(buf, 0, sizeof(buf));
  if (read_policy_file(0, kSecureEnable, buf, sizeof(buf)) != 0) return 0;
  ORBA_LOGD("read reg: %s", buf);
  return buf[0] == '1' ? 1 : 0;
}

int is_rpmb_provisioned(void) {
  ORBA_LOGD("tlcrpmb_gp check");
  char out[kOutputSize] = {};
  exec_shell_vendor("tlcrpmb_gp getflag", out, kOutputSize - 1);
  // "result=2": the secure world is not up yet; it answers within a couple of seconds of boot.
  for (int count = kRetries; count > 0 && strstr(out, "result=2") != nullptr; --count) {
    ORBA_LOGD("need retry, count: %d", count);
    usleep(kRetryPauseUs);
    memset(out, 0, sizeof(out));
    exec_shell_vendor("tlcrpmb_gp getflag", out, kOutputSize - 1);
  }
  return strstr(out, "result=1") != nullptr ? 1 : 0;
}

}  // extern "C"
