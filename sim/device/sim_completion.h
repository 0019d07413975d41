#ifndef ORBA_SIM_DEVICE_SIM_COMPLETION_H
#define ORBA_SIM_DEVICE_SIM_COMPLETION_H

// The bash completion of orbafactory-sim: its commands, options, and the profiles init takes
// (those the sim was built with). The build writes it out beside orbafactory's.

#include <string>

namespace orba::sim {

std::string SimCompletionScript();

}  // namespace orba::sim

#endif
