#ifndef ORBA_SIM_DEVICE_DEVICE_REGISTRY_H
#define ORBA_SIM_DEVICE_DEVICE_REGISTRY_H

// The devices this user has made on this host, for `orbafactory-sim list`.
//
// Each device root is one small file in the user's state directory
// ($XDG_STATE_HOME/orbafactory-sim/devices, else ~/.local/state/orbafactory-sim/devices), written
// by init and again by start. A state directory and not $XDG_RUNTIME_DIR: a device root in the
// home directory outlives the login session (and a runtime directory is missing under ssh
// without a session manager, cron and containers), and a stopped device is still a device.
// Roots are removed with rm -rf, never through the sim, so the registry does not trust itself:
// every read drops an entry whose root no longer holds a device. One file per root, written
// whole and renamed into place, lets two inits or an init and a list run at once.

#include <string>
#include <vector>

namespace orba::sim {

// The registry directory, or "" when the user has no home to keep it in.
std::string RegistryDir();

// Records a device root (absolute). Returns false with a message when it cannot.
bool RegisterDevice(const std::string& root, std::string* error);

// Whether a host directory holds a simulated device (its property area is there).
bool HoldsDevice(const std::string& root);

// The registered roots that still hold a device, sorted; entries of removed devices are
// dropped from the registry as they are found.
std::vector<std::string> RegisteredDevices();

}  // namespace orba::sim

#endif
