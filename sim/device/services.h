#ifndef ORBA_SIM_DEVICE_SERVICES_H
#define ORBA_SIM_DEVICE_SERVICES_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "sim_context.h"

namespace orba::sim {

// A service of the simulated device: a real process, started from a program built beside the
// sim. A HAL service counts as ready once its socket accepts connections, any other service once
// it has written its ready file.
struct ServiceSpec {
  const char* name;            // init's service name, as `start NAME` takes it
  const char* program;         // the program in the sim's bin directory
  const char* hal_descriptor;  // the HAL interface it serves, or null
  const char* ready_file;      // device path the service writes when it is ready, or null
};

const std::vector<ServiceSpec>& DeviceServices();
const ServiceSpec* FindService(const std::string& name);

// Starts a service unless it runs already. With wait_ready, returns once it serves (at most 5 s).
// Sets init.svc.NAME as init does.
bool StartService(const SimContext& ctx, const ServiceSpec& service, bool wait_ready,
                  std::string* error);
// Stops a running service (SIGTERM, then SIGKILL after 3 s). Stopping a stopped one is fine.
bool StopService(const SimContext& ctx, const ServiceSpec& service, std::string* error);
// The pid of a running service, or 0. A pid file naming a process that is not this device's
// service (another device's, a host process) reads as not running, with a note on stderr.
// Whether the service `pid` answers under its own name (true for services without one).
bool ServiceAnswers(const ServiceSpec& service, pid_t pid);

pid_t ServicePid(const SimContext& ctx, const ServiceSpec& service);

}  // namespace orba::sim

#endif
