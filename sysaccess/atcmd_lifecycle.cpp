// Restarting the AT-command service and waiting for it to register.

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <orbafactory/sysaccess.h>
#include <platform/hal.h>
#include <platform/log.h>

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

extern "C" ORBA_EXPORT int restart_orbaatcmd_server(void) {
  FILE* stream = popen("stop orbaatcmd-hal-1-0 && start orbaatcmd-hal-1-0", "r");
  if (stream == nullptr) {
    return ORBA_LOGE("restart orbaatcmd-hal-1-0 error:%s\n", strerror(errno));
  }
  ORBA_LOGE("restart orbaatcmd-hal-1-0 sucess\n");
  // Not waiting for re-registration: the caller that found the service absent has already
  // taken its fallback.
  return pclose(stream);
}
