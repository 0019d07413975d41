// When a motor counts as blocked (its hall readings have settled) and when a turn runs at a
// steady speed.

#include <orbafactory/camera.h>

#include <math.h>
#include <stdlib.h>

#include <platform/log.h>

#include "block_rule.h"

namespace orba::camera {

bool SettledWithin(const int* samples, int n, int tolerance, int* average) {
  long long sum = 0;
  for (int i = 0; i < n; ++i) sum += samples[i];
  *average = n > 0 ? static_cast<int>(sum / n) : 0;
  for (int i = 0; i < n; ++i) {
    if (llabs(static_cast<long long>(samples[i]) - *average) > tolerance) return false;
  }
  return true;
}

}  // namespace orba::camera

namespace {

int BlockPrecision(const char* func, const int* samples, int n, int tolerance) {
  int average = 0;
  if (n >= 1 && !orba::camera::SettledWithin(samples, n, tolerance, &average)) return 0;
  ORBA_LOG_AS(ANDROID_LOG_INFO, func, "motor is block success, state average: %d", average);
  return 1;
}

int BlockDouble(const char* func, const double* samples, int n, double tolerance) {
  double average = 0;
  if (n >= 1) {
    double sum = 0;
    for (int i = 0; i < n; ++i) sum += samples[i];
    average = sum / n;
    for (int i = 0; i < n; ++i) {
      if (fabs(samples[i] - average) > tolerance) return 0;
    }
  }
  ORBA_LOG_AS(ANDROID_LOG_INFO, func, "hall is stable success, hall average: %f", average);
  return 1;
}

}  // namespace

extern "C" ORBA_EXPORT int is_motor_block(const int* samples, int n) {
  return BlockPrecision(__func__, samples, n, 2);
}

extern "C" ORBA_EXPORT int is_motor_block_precision(const int* samples, int n, int tolerance) {
  return BlockPrecision(__func__, samples, n, tolerance);
}

extern "C" ORBA_EXPORT int is_motor_block_double(const double* samples, int n) {
  return BlockDouble(__func__, samples, n, 1.0);
}

extern "C" ORBA_EXPORT int is_motor_block_double_precision(const double* samples, int n,
                                                           double tolerance) {
  return BlockDouble(__func__, samples, n, tolerance);
}

extern "C" ORBA_EXPORT int is_speed_stable(const double* positions, int array_num, int avr_num,
                                           int begin_num, int end_num, double interval_time,
                                           double stable_speed) {
  ORBA_LOGD("entered: array_num=%d, avr_num=%d, begin_num=%d, end_num=%d, interval_time=%.2f",
            array_num, avr_num, begin_num, end_num, interval_time);
  for (int i = 0; i < array_num; ++i) ORBA_LOGD("pos_sample[%d]=%.2f", i, positions[i]);
  int result = 0;
  double cur_speed = 0;
  // Both averaging windows must lie inside the series; a window reaching past it is refused as
  // the bad parameters it is, instead of reading past the caller's array.
  if (avr_num < 1 || begin_num < 0 || end_num < begin_num || begin_num < 1 ||
      end_num + avr_num - 1 > array_num) {
    ORBA_LOGD("para error");
  } else {
    double begin = 0, end = 0;
    for (int i = 0; i < avr_num; ++i) {
      begin += positions[begin_num - 1 + i] / avr_num;
      end += positions[end_num - 1 + i] / avr_num;
    }
    cur_speed = fabs(end - begin) / interval_time;
    result = cur_speed <= fabs(stable_speed) &&
                     fabs(positions[0] - positions[array_num - 1]) < 1.0
                 ? 1
                 : 0;
  }
  ORBA_LOGD("finished: stable_speed = %.2f, cur_speed = %.2f, result : %d", stable_speed,
            cur_speed, result);
  return result;
}
