#ifndef ORBA_SIM_DEVICE_PROCESS_TABLE_H
#define ORBA_SIM_DEVICE_PROCESS_TABLE_H

#include <string>

namespace orba::sim {

// The device's `ps`: the host processes that run on this simulated device (those whose
// ORBA_DEVICE_ROOT is its root), in toybox's columns:
//   USER PID PPID VSZ RSS WCHAN ADDR S NAME
// Host processes outside the device are not listed, so nothing that reads this list can signal
// them.
std::string ProcessTable(const std::string& root);

}  // namespace orba::sim

#endif
