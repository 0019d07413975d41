#ifndef ORBA_CAMERA_ROTARY_MOTOR_H
#define ORBA_CAMERA_ROTARY_MOTOR_H

#include <stddef.h>

namespace orba::camera {

// Property values are at most 91 bytes; calibration texts fit in one.
constexpr size_t PROPERTY_TEXT = 92;

// The rotary motor's step period from its driver node; false when the node cannot be read.
bool ReadPeriod(double* period);
// Milliseconds the motor needs per degree at `period` (2112 = 32 steps * 66 / 1000 * 1000 / 18).
double PeriodMsPerDegree(double period);
// The nominal angular speed at `period`, degrees per second.
double NominalSpeed(double period);
// The fourth blank-separated token of a calibration text (the calibrated angle).
bool FourthToken(const char* text, char* out, size_t size);

}  // namespace orba::camera

#endif
