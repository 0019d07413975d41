// The rotary module's angle from the magnetometer, its motor commands and speed.

#include <orbafactory/camera.h>

#include <errno.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <orbafactory/config.h>
#include <platform/log.h>

#include "camera_nodes.h"
#include "rotary_motor.h"

using namespace orba::camera;

namespace orba::camera {

bool ReadPeriod(double* period) {
  char buf[100] = {};
  if (read_policy_file(0, kRotaryPeriod, buf, sizeof(buf)) != 0) return false;
  *period = atof(buf);
  return true;
}

double PeriodMsPerDegree(double period) { return period * 2112 / 18000; }

double NominalSpeed(double period) { return period > 0 ? 1.8e7 / (period * 32 * 66) : 0; }

bool FourthToken(const char* text, char* out, size_t size) {
  char copy[PROPERTY_TEXT] = {};
  strncpy(copy, text, sizeof(copy) - 1);
  char* save = nullptr;
  char* token = strtok_r(copy, " ", &save);
  for (int i = 0; i < 3 && token != nullptr; ++i) token = strtok_r(nullptr, " ", &save);
  if (token == nullptr || token[0] == '\0') return false;
  snprintf(out, size, "%s", token);
  return true;
}

}  // namespace orba::camera

namespace {

int RotaryCommand(const char* func, int value, const char* failure) {
  char text[128] = {};
  snprintf(text, sizeof(text), "%d", value);
  if (WriteNode(kRotaryMotor, text) != 0) {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, func, "%s%s", failure, strerror(errno));
    return 0;
  }
  return 1;
}

}  // namespace

extern "C" ORBA_EXPORT int stop_motor_rotate(void) {
  return RotaryCommand(__func__, 0, "stop rotary motor error:");
}

extern "C" ORBA_EXPORT int pos_rotate_camera(int ms) {
  return RotaryCommand(__func__, ms + kReverseBit, "postively rotate camera error!:");
}

extern "C" ORBA_EXPORT int neg_rotate_camera(int ms) {
  return RotaryCommand(__func__, ms, "negatively rotate camera error!:");
}

extern "C" ORBA_EXPORT double get_current_angle(void) {
  char buf[100] = {};
  if (read_policy_file(0, kMagnetometer, buf, sizeof(buf)) != 0) {
    ORBA_LOGE("read_policy_file error: %s", strerror(errno));
  }
  char* save = nullptr;
  const char* x = strtok_r(buf, " ", &save);
  const char* y = x != nullptr ? strtok_r(nullptr, " ", &save) : nullptr;
  const char* z = y != nullptr ? strtok_r(nullptr, " ", &save) : nullptr;
  double angle = atan2(y != nullptr ? atof(y) : 0.0, x != nullptr ? atof(x) : 0.0) * 180 /
                 3.141592654;
  if (angle < 0) angle += 360;
  ORBA_LOGD("current angle :x=%s, y=%s, z=%s, angles =%f ", x != nullptr ? x : "",
            y != nullptr ? y : "", z != nullptr ? z : "", angle);
  return angle;
}

extern "C" ORBA_EXPORT double get_current_avr_angle(void) {
  // A plain mean: readings on both sides of 0/360 average to a wrong angle, and callers that
  // know their module keep away from there.
  double sum = 0;
  for (int i = 0; i < 4; ++i) sum += get_current_angle();
  double average = sum / 4;
  ORBA_LOGD("current angle avrage = %.2f", average);
  return average;
}

extern "C" ORBA_EXPORT double calculate_rotated_angles(int direction, double start, double end) {
  double d = fabs(end - start);
  bool positively = (direction & 1) != 0;
  double rotated = positively ? (end > start ? 360 - d : d) : (end > start ? d : 360 - d);
  ORBA_LOGD("start_angle = %.2f, end_angle = %.2f, direction = %s, rotated_angle = %.f", start,
            end, positively ? "positively" : "negatively", rotated);
  return rotated;
}

extern "C" ORBA_EXPORT int get_rotary_time_need(double angle) {
  double period = 0;
  if (!ReadPeriod(&period)) {
    ORBA_LOGE("read_policy_file error: %s", strerror(errno));
    period = 0;
  }
  int time_need = static_cast<int>(period * angle * 32 * 66 / 18 / 1000);
  ORBA_LOGD("rotary_angles = %.2f, time_need = %d", angle, time_need);
  return time_need;
}

extern "C" ORBA_EXPORT int set_rotary_speed(int angle_speed) {
  long long divisor = static_cast<long long>(angle_speed) * 2112;
  long long period = divisor == 0 ? 0 : 18000000 / divisor;
  char text[32] = {};
  snprintf(text, sizeof(text), "%lld", period);
  if (WriteNode(kRotaryPeriod, text) != 0) {
    ORBA_LOGE("set rotary period error:%s", strerror(errno));
    return 0;
  }
  return 1;
}

extern "C" ORBA_EXPORT int get_current_rotary_hall_data(char* inout) {
  if (inout == nullptr) return -99999;
  char buf[64] = {};
  if (read_policy_file(0, kMagnetometer, buf, sizeof(buf)) != 0 || buf[0] == '\0') {
    ORBA_LOGE("read_policy_file error: %s", strerror(errno));
    ORBA_LOGE("goto error");
    return -99999;
  }
  static const char* const kAxes[] = {"x_axis", "y_axis", "z_axis"};
  static const char* const kIntAxes[] = {"x_axis_int", "y_axis_int", "z_axis_int"};
  for (int axis = 0; axis < 3; ++axis) {
    bool as_int = strcmp(inout, kIntAxes[axis]) == 0;
    if (!as_int && strcmp(inout, kAxes[axis]) != 0) continue;
    char copy[64];
    memcpy(copy, buf, sizeof(copy));
    char* save = nullptr;
    char* token = strtok_r(copy, " ", &save);
    for (int i = 0; i < axis && token != nullptr; ++i) token = strtok_r(nullptr, " ", &save);
    if (token == nullptr) {
      ORBA_LOGE("goto error");
      return -99999;
    }
    if (as_int) return atoi(token);
    strcpy(inout, token);
    return 0;
  }
  strcpy(inout, buf);
  return 0;
}
