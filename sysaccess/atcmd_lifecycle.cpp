// Restarting the AT-command service and waiting for it to register.

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <orbafactory/sysaccess.h>
#include <platform/hal.h>
#include <platform/devpath.h>
#include <platform/log.h>
#include <platform/spawn.h>

extern "C" ORBA_EXPORT int orbaatcmd_wait_started(void) {
  // A fixed ten probes, even once the service is there: callers budget for the worst case
  // (about five seconds) and the present case stays cheap.
  for (int i = 0; i < 10; ++i) {
    if (!orba::hal::IOrbaAtcmd::isRegistered("default")) {
      ORBA_LOGE("not found IOrbaAtcmd service wait 0.5s");
      usleep(500000);
    }
  }
  return 0;
}

namespace {

constexpr char kService[] = "orbaatcmd-hal-1-0";

// Runs one of the device's init tools on the service; its wait status, or -1 with errno. The
// tools are taken from the device's /system/bin, never from PATH: on a host, a PATH set up for
// another simulated device holds tools bound to that device, and the restart would act there.
int RunInitTool(const char* tool) {
  DevPath program(tool);
  if (!program.ok()) {
    errno = ENAMETOOLONG;
    return -1;
  }
  const char* name = strrchr(tool, '/') + 1;
  pid_t pid = orba::platform::StartChild(program.c_str(), {name, kService}, {});
  return pid < 0 ? -1 : orba::platform::WaitChild(pid);
}

}  // namespace

extern "C" ORBA_EXPORT int restart_orbaatcmd_server(void) {
  int status = RunInitTool("/system/bin/stop");
  if (status == 0) status = RunInitTool("/system/bin/start");
  if (status < 0) {
    return ORBA_LOGE("restart orbaatcmd-hal-1-0 error:%s\n", strerror(errno));
  }
  if (status != 0) {
    // A device that refuses (on a host, one nobody started) says why on the tool's stderr.
    ORBA_LOGE("restart orbaatcmd-hal-1-0 error:init tool wait status %d\n", status);
    return status;
  }
  ORBA_LOGE("restart orbaatcmd-hal-1-0 sucess\n");
  // Not waiting for re-registration: the caller that found the service absent has already
  // taken its fallback.
  return 0;
}
