#ifndef ORBA_SIM_HW_POP_HALLS_H
#define ORBA_SIM_HW_POP_HALLS_H

// What the pop module's three hall sensors read at a position of the module (0 fully in,
// 1 fully out), before noise: the up hall rises and the down hall falls along the travel, and
// the middle hall peaks half-way, where the half-pop calibration looks for it.

#include <memory>

namespace orba::sim::hw {

struct PopHallReadings {
  int up;
  int middle;
  int down;
};

inline PopHallReadings PopHallsAt(double position) {
  double half = position < 0.5 ? position * 2 : (1.0 - position) * 2;
  return {120 + static_cast<int>(880 * position), 200 + static_cast<int>(800 * half),
          1000 - static_cast<int>(880 * position)};
}

class HardwareModel;
std::unique_ptr<HardwareModel> CreatePopModel();

}  // namespace orba::sim::hw

#endif
