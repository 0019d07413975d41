#ifndef ORBA_SIM_HW_TOUCH_MODEL_H
#define ORBA_SIM_HW_TOUCH_MODEL_H

#include <memory>

#include "hw_model.h"

namespace orba::sim::hw {

constexpr char kTouchTestNode[] = "/sys/touchscreen/at_sensor_test";

std::unique_ptr<HardwareModel> CreateTouchModel();

}  // namespace orba::sim::hw

#endif
