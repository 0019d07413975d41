#ifndef ORBA_TOOLS_ORBAFACTORY_DEVICE_CHECK_H
#define ORBA_TOOLS_ORBAFACTORY_DEVICE_CHECK_H

// Whether there is a device for a command to act on. On the phone there always is; on a host
// it is the simulated device the root names, and only while it runs.

#include "command.h"

namespace orba::cli {

// kOk, or the failure (kNoDevice) already given to `reply`. `args` are the command's, since a
// command given a partition image (--image FILE) makes a device of its own around it.
int CheckDevice(Reply& reply, const Args& args);

}  // namespace orba::cli

#endif
