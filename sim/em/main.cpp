// orbaem-hal-1-0: the simulated device's engineer-mode HAL service, with the apps behind it.
// Started by orbafactory-sim with ORBA_DEVICE_ROOT set; serves until SIGTERM or SIGINT.

#include <android/log.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>

#include <platform/host/device_root.h>

#include "em_service.h"

int main() {
  if (orba_device_root()[0] == '\0') {
    fprintf(stderr, "orbaem-hal-1-0: no device: set " ORBA_DEVICE_ROOT_ENV
                    " (orbafactory-sim start does)\n");
    return 2;
  }
  // Blocked before any thread exists, so every thread inherits the mask and only sigwait
  // below sees the stop request.
  sigset_t stop_signals;
  sigemptyset(&stop_signals);
  sigaddset(&stop_signals, SIGTERM);
  sigaddset(&stop_signals, SIGINT);
  pthread_sigmask(SIG_BLOCK, &stop_signals, nullptr);
  signal(SIGPIPE, SIG_IGN);

  orba::sim::EmService service;
  int rc = service.Start();
  if (rc != 0) {
    __android_log_print(ANDROID_LOG_ERROR, "orbaem-hal-1-0", "cannot register: %s",
                        strerror(-rc));
    return 1;
  }
  __android_log_print(ANDROID_LOG_INFO, "orbaem-hal-1-0", "serving under %s",
                      orba_device_root());
  int sig = 0;
  sigwait(&stop_signals, &sig);
  __android_log_print(ANDROID_LOG_INFO, "orbaem-hal-1-0", "stopping on signal %d", sig);
  service.Stop();
  return 0;
}
