#ifndef ORBA_SIM_DEVICE_DEVICE_TOOLS_H
#define ORBA_SIM_DEVICE_DEVICE_TOOLS_H

#include <string>

#include "sim_context.h"

namespace orba::sim {

// Installs the device's own tools: /system/bin/{start,stop,ps,logcat,getprop,setprop,tlcrpmb_gp}
// and /vendor/bin/sh. They act on this device only, whatever the caller's environment.
bool InstallDeviceTools(const SimContext& ctx, std::string* error);

// Single-quotes a word for /bin/sh.
std::string ShellQuote(const std::string& word);

}  // namespace orba::sim

#endif
