// orba-hw-models: the simulated device's moving hardware (the camera's pop and rotary motors
// with their hall sensors and magnetometer). Started by orbafactory-sim with ORBA_DEVICE_ROOT
// set; runs until SIGTERM or SIGINT.

#include <android/log.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <string>

#include <platform/host/device_root.h>

#include "model_service.h"

int main() {
  if (orba_device_root()[0] == '\0') {
    fprintf(stderr, "orba-hw-models: no device: set " ORBA_DEVICE_ROOT_ENV
                    " (orbafactory-sim start does)\n");
    return 2;
  }
  sigset_t stop_signals;
  sigemptyset(&stop_signals);
  sigaddset(&stop_signals, SIGTERM);
  sigaddset(&stop_signals, SIGINT);
  sigprocmask(SIG_BLOCK, &stop_signals, nullptr);
  int stop_fd = signalfd(-1, &stop_signals, SFD_CLOEXEC);
  if (stop_fd < 0) {
    perror("orba-hw-models: signalfd");
    return 1;
  }
  // Hardware does not wait for a busy CPU. A model starved on a loaded machine leaves its
  // readings standing while the module moves, and a step that watches for the readings to settle
  // takes a moving module for a resting one. A head start among ordinary processes (nice -10)
  // still left readings standing for milliseconds beside a busy process on every core: the
  // scheduler lets the running task finish its slice first. So the lowest real-time priority,
  // above every ordinary process and below whatever the host itself runs in real time; the
  // models sleep whenever nothing moves and take a fraction of a core while a motor turns.
  // Without the privilege, the head start.
  // A model that spun in the real-time class would hold a core of the engineer's workstation
  // (the kernel's throttle leaves others a twentieth of it): past 200 ms of CPU without a
  // blocking call it gets SIGXCPU and ends, a failed device rather than a frozen desk. The models
  // block every half millisecond at the most.
  const rlimit spin_limit = {200000, 400000};  // microseconds
  const bool bounded = setrlimit(RLIMIT_RTTIME, &spin_limit) == 0;
  sched_param realtime{};
  realtime.sched_priority = sched_get_priority_min(SCHED_FIFO);
  const bool in_time =
      bounded && sched_setscheduler(0, SCHED_FIFO | SCHED_RESET_ON_FORK, &realtime) == 0;
  const char* scheduled = "running in the real-time class";
  if (!in_time) {
    scheduled = setpriority(PRIO_PROCESS, 0, -10) == 0
                    ? "no real-time class for the models: running at nice -10"
                    : "no real-time class for the models, nor nice -10: running as any process";
  }
  __android_log_print(ANDROID_LOG_INFO, "orba-hw-models", "%s", scheduled);
  orba::sim::hw::ModelService service(stop_fd);
  std::string error;
  if (!service.Start("/data/sim/run/orba-hw-models.ready", &error)) {
    __android_log_print(ANDROID_LOG_ERROR, "orba-hw-models", "%s", error.c_str());
    return 1;
  }
  service.Run();
  __android_log_print(ANDROID_LOG_INFO, "orba-hw-models", "stopping");
  close(stop_fd);
  return 0;
}
