#ifndef ORBA_SIM_DEVICE_VENDOR_LIBRARIES_H
#define ORBA_SIM_DEVICE_VENDOR_LIBRARIES_H

#include <string>

#include "sim_context.h"

namespace orba::sim {

// The directory of the device's vendor libraries; `env` puts it on the library path, as the
// phone's linker namespace has /vendor/lib64 on its search path.
constexpr const char kVendorLibDir[] = "/vendor/lib64";

// Copies the doubles of the vendor libraries that the library loads at run time into the
// device's /vendor/lib64. Copies, not links: a test that removes one leaves the build alone.
bool InstallVendorLibraries(const SimContext& ctx, std::string* error);

}  // namespace orba::sim

#endif
