#ifndef ORBA_SIM_ATCID_DEVICE_COMMANDS_H
#define ORBA_SIM_ATCID_DEVICE_COMMANDS_H

#include "at_engine.h"

namespace orba::at {

// The phone's identification commands (ATI, +CGMI, +CGMM, +CGMR, +CGSN), answered by the
// library: the build's properties through the AT-command service, the serial number from the
// factory record.
void AddDeviceCommands(AtEngine* engine);

}  // namespace orba::at

#endif
