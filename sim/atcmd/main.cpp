// orbaatcmd-hal-1-0: the simulated device's AT-command HAL service. Started by orbafactory-sim
// with ORBA_DEVICE_ROOT set; serves until SIGTERM (or SIGINT) and then exits cleanly.

#include <signal.h>
#include <string.h>

#include <android/log.h>
#include <platform/host/device_root.h>

#include "atcmd_service.h"

int main() {
  if (orba_device_root()[0] == '\0') {
    __android_log_print(ANDROID_LOG_ERROR, "orbaatcmd-hal", "ORBA_DEVICE_ROOT is not set");
    return 2;
  }
  // Blocked before any thread starts, so only sigwait below sees them.
  sigset_t stop_signals;
  sigemptyset(&stop_signals);
  sigaddset(&stop_signals, SIGTERM);
  sigaddset(&stop_signals, SIGINT);
  sigaddset(&stop_signals, SIGHUP);
  pthread_sigmask(SIG_BLOCK, &stop_signals, nullptr);
  signal(SIGPIPE, SIG_IGN);

  int error = 0;
  auto server = orba::sim::StartAtcmdService(&error);
  if (server == nullptr) {
    __android_log_print(ANDROID_LOG_ERROR, "orbaatcmd-hal", "cannot register: %s",
                        strerror(-error));
    return 1;
  }
  __android_log_print(ANDROID_LOG_INFO, "orbaatcmd-hal", "serving under %s", orba_device_root());
  int sig = 0;
  sigwait(&stop_signals, &sig);
  __android_log_print(ANDROID_LOG_INFO, "orbaatcmd-hal", "stopping on signal %d", sig);
  server->Stop();
  return 0;
}
