#ifndef ORBA_SIM_DEVICE_DEVICE_LISTING_H
#define ORBA_SIM_DEVICE_DEVICE_LISTING_H

// `orbafactory-sim list`: this user's simulated devices on the host, as `adb devices` lists
// phones. The registry names the devices (stopped ones included); the host's processes add any
// running device the registry missed (one made by a sim whose registry was elsewhere), and that
// device is registered from then on.

#include <string>
#include <vector>

namespace orba::sim {

struct ListedDevice {
  std::string root;
  std::string profile;                // what init recorded, "-" when it recorded nothing
  std::vector<std::string> running;   // the services that run, in start order
  size_t services = 0;                // how many services the device has
};

std::vector<ListedDevice> ListDevices();

// "running" (every service), "stopped" (none) or "partial".
const char* DeviceState(const ListedDevice& device);

// The table `list` prints: a header, then one line per device.
std::string DeviceTable(const std::vector<ListedDevice>& devices);

// Where init records the profile a device was made from (a device path).
constexpr char kProfileRecord[] = "/data/sim/profile";

}  // namespace orba::sim

#endif
