#ifndef ORBA_SIM_HW_ROTARY_GEOMETRY_H
#define ORBA_SIM_HW_ROTARY_GEOMETRY_H

// The rotary module's reach: it turns on a full circle but cannot pass its mechanical stop, so
// its state is the travel from the stop (0 at the stop from above, 360 at it from below), and
// the measured angle is the stop angle plus that travel, on the circle.

#include <cmath>
#include <memory>

namespace orba::sim::hw {

constexpr double kPi = 3.141592653589793;

inline double AngleFromTravel(double travel, double stop_angle) {
  double a = std::fmod(stop_angle + travel, 360.0);
  return a < 0 ? a + 360.0 : a;
}

inline double TravelFromAngle(double angle, double stop_angle) {
  double t = std::fmod(angle - stop_angle, 360.0);
  return t < 0 ? t + 360.0 : t;
}

inline double ClampTravel(double travel) { return travel < 0 ? 0 : travel > 360 ? 360 : travel; }

// The nominal speed of the motor at step period P, in degrees per millisecond.
inline double DegreesPerMs(long period) {
  return period > 0 ? 1.8e7 / (static_cast<double>(period) * 32 * 66) / 1000.0 : 0.0;
}

class HardwareModel;
std::unique_ptr<HardwareModel> CreateRotaryModel();

}  // namespace orba::sim::hw

#endif
