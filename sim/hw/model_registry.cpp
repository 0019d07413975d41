// Every kind of moving hardware the simulated device can have. A device has a model fitted when
// its profile lays out the model's command node, as a phone has a driver node only for the
// hardware it carries.

#include <fcntl.h>
#include <unistd.h>

#include <platform/devpath.h>

#include "device_fs.h"
#include "hw_model.h"
#include "pop_halls.h"
#include "rotary_geometry.h"
#include "touch_model.h"

namespace orba::sim::hw {
namespace {

bool HasNode(const char* device_path) { return OpenInDevice(device_path, O_PATH).get() >= 0; }

}  // namespace

const std::vector<ModelKind>& ModelKinds() {
  static const std::vector<ModelKind> kinds = {
      {"pop", [] { return HasNode("/sys/class/timed_output/motor/enable"); }, CreatePopModel},
      {"rotary", [] { return HasNode("/sys/class/timed_output/motor5/enable"); },
       CreateRotaryModel},
      {"touch", [] { return HasNode(kTouchTestNode); }, CreateTouchModel},
  };
  return kinds;
}

}  // namespace orba::sim::hw
