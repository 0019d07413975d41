#ifndef ORBA_SIM_DEVICE_SIM_CONTEXT_H
#define ORBA_SIM_DEVICE_SIM_CONTEXT_H

#include <string>

namespace orba::sim {

// Where things are on the host for one simulated device.
struct SimContext {
  std::string root;     // the device root (absolute)
  std::string bin_dir;  // where orbafactory-sim and the service programs were built
  std::string lib_dir;  // where the libraries were built
  std::string self;     // orbafactory-sim itself
};

}  // namespace orba::sim

#endif
