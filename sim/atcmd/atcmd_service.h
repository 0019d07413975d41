#ifndef ORBA_SIM_ATCMD_ATCMD_SERVICE_H
#define ORBA_SIM_ATCMD_ATCMD_SERVICE_H

// The simulated AT-command HAL service: privileged file, property and command work, confined
// to the simulated device's root. The daemon orbaatcmd-hal-1-0 runs it; tests may run it on a
// thread of their own with the same code.

#include <stdint.h>

#include <memory>

#include <platform/hal_wire.h>
#include <platform/host/hal_server.h>

namespace orba::sim {

// Where kpWriteFile stores its data in the device.
constexpr const char kKpDataPath[] = "/data/vendor/orbakp/kp_data";
// The fingerprint engineering service's socket (abstract, through DevSocketName). When nobody
// listens there, sendFingerprintMessage replies "refused error", as the phone's service does
// while the app is not running.
constexpr const char kFingerprintSocket[] = "fingerprint_engineer_socket";

// Decodes and carries out one IOrbaAtcmd call. Returns 0 or a negative errno (HalServer).
int HandleAtcmdCall(uint32_t slot, hal::WireReader& args, hal::WireWriter& results);

// Registers "default" under the current device root and serves until Stop() or destruction.
// Null, with *error set to a negative errno, when it cannot register.
std::unique_ptr<hal::HalServer> StartAtcmdService(int* error);

}  // namespace orba::sim

#endif
