#ifndef ORBA_SIM_DEVICE_DEVICE_LAYOUT_H
#define ORBA_SIM_DEVICE_DEVICE_LAYOUT_H

#include <string>

#include "profile.h"
#include "sim_context.h"

namespace orba::sim {

// Size of the blank backup partition image: two record copies, the quarantine slot and the two
// back-NV copies all fit, with room to spare.
constexpr size_t kBackupImageSize = 64 * 1024;
constexpr size_t kOtpImageSize = 64 * 1024;

// Lays out a fresh device root from a profile: directories, partition images, kernel and sysfs
// nodes, the feature file, the property area with the profile's properties, and the device's
// tools. The root must be empty or absent.
bool InitDevice(const SimContext& ctx, const Profile& profile, std::string* error);

}  // namespace orba::sim

#endif
