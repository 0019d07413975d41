#ifndef ORBA_SIM_DEVICE_DEVICE_SWEEP_H
#define ORBA_SIM_DEVICE_DEVICE_SWEEP_H

// Finding a device's processes without its pid files: a root removed while its device ran takes
// the pid files with it, and a service that died leaves its children (a command it ran) behind.
//
// A process belongs to the device when it runs with the device's root in its environment and
// either runs one of the device's service programs or lives in a session one of them leads or
// led: each service leads a session of its own, and its children stay in it. A shell or tool
// that merely has the device's environment (the engineer's own shell after `env`) lives in its
// terminal's session, whose leader is no service, and is left alone.

#include <sys/types.h>

#include <string>
#include <vector>

#include "sim_context.h"

namespace orba::sim {

std::vector<pid_t> DeviceProcesses(const SimContext& ctx);

// SIGTERM to each, SIGKILL to whatever is left after 3 s. False, with a message, when some
// process outlives both.
bool EndDeviceProcesses(const SimContext& ctx, std::string* error);

}  // namespace orba::sim

#endif
