// Turning the rotary module: to an angle, by an angle, to its end stops, to the calibrated front
// and back positions.

#include <orbafactory/camera.h>

#include <errno.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <orbafactory/config.h>
#include <orbafactory/persist.h>
#include <orbafactory/sysaccess.h>
#include <platform/log.h>

#include "camera_nodes.h"
#include "rotary_motor.h"

using namespace orba::camera;

namespace {

constexpr size_t kUnreachedAngleOffset = 800;
constexpr int kMaxSeries = 14;
constexpr long long kMaxAngleLimitMs = 3600;

bool StopRotaryLogged(const char* func) {
  if (WriteNode(kRotaryMotor, "0") != 0) {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, func, "stop motor rotating error:%s", strerror(errno));
    return false;
  }
  return true;
}

// The calibrated angle stored in a calibration property, if the fourth token is there.
bool CalibratedAngle(const char* property, double* angle) {
  char value[PROPERTY_TEXT] = {};
  orbaatcmd_get_system_property(property, value, "");
  char token[PROPERTY_TEXT] = {};
  if (!FourthToken(value, token, sizeof(token))) return false;
  *angle = atof(token);
  return true;
}

bool Calibrated() {
  char flag[PROPERTY_TEXT] = {};
  orbaatcmd_get_system_property("persist.sys.rotary_camera_rotary_cali", flag, "0");
  return strcmp(flag, "1") == 0;
}

// Front is the 180 degree point, back the 0 degree point; each is found from the other when only
// that one was stored.
int RotateToCalibrated(const char* func, bool front, int interval, int timeout_ms,
                       double precision) {
  if (!Calibrated()) {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, func, "not calibrated yet!!");
    return -1;
  }
  const char* own = front ? "sys.rotary_camera.cali_deg180" : "sys.rotary_camera.cali_deg0";
  const char* other = front ? "sys.rotary_camera.cali_deg0" : "sys.rotary_camera.cali_deg180";
  char value[PROPERTY_TEXT] = {};
  orbaatcmd_get_system_property(own, value, "");
  ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "%s = %s", front ? "cali_180_deg" : "cali_0_deg", value);
  double target = 0;
  if (value[0] != '\0') {
    char token[PROPERTY_TEXT] = {};
    if (!FourthToken(value, token, sizeof(token))) return -1;
    target = atof(token);
  } else {
    memset(value, 0, sizeof(value));
    orbaatcmd_get_system_property(other, value, "");
    ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "%s = %s", front ? "cali_0_deg" : "cali_180_deg",
                value);
    char token[PROPERTY_TEXT] = {};
    if (!FourthToken(value, token, sizeof(token))) return -1;
    target = fmod(atof(token) + (front ? 180 : 540), 360);
  }
  int time = rotate_to_appointted_angles(interval, timeout_ms, target, precision);
  ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "time = %d", time);
  return time;
}

}  // namespace

extern "C" ORBA_EXPORT int rotate_to_appointted_angles(int interval, int timeout_ms, double dest,
                                                       double precision) {
  ORBA_LOGD(" dest angles=%.2f, interval=%d, timeout=%d, precision=%.2f", dest, interval,
            timeout_ms, precision);
  char period_text[100] = {};
  if (read_policy_file(0, kRotaryPeriod, period_text, sizeof(period_text)) != 0) {
    ORBA_LOGE("read_policy_file error:get current period error");
    return -1;
  }
  int period = atoi(period_text);
  ORBA_LOGD("period_int = %d", period);
  uint8_t record[XOLE_NV_ITEM_SIZE] = {};
  if (get_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("get xole nv item fail\r\n");
    return -1;
  }
  float unreached = 0;
  memcpy(&unreached, record + kUnreachedAngleOffset, sizeof(unreached));
  if (unreached == -1.0f) {
    ORBA_LOGE("error: need to calibrate positive/negative maximum angle first!!");
    return -1;
  }
  const double u = unreached;
  const double ms_per_degree = PeriodMsPerDegree(period);
  long long start = NowMs();
  long long elapsed = 0;
  if (timeout_ms >= 0) {
    for (;;) {
      double current = get_current_avr_angle();
      ORBA_LOGD("current angles=%.2f, dest angles=%.2f, rest_angles=%.2f, unreached_angle = "
                "%.2f\n",
                current, dest, dest - current, u);
      if (fabs(dest - current) <= precision) {
        ORBA_LOGD("rotate_to_appointted_angles: success!");
        break;
      }
      // The module cannot pass the unreached angle: when it lies on the short way, the turn
      // goes the long way round instead.
      double command;
      if (dest < current) {
        if (u >= dest && current >= u) {
          ORBA_LOGD("negative rotate, and between rotary routeline");
          command = (360 - fabs(dest - current)) * ms_per_degree;
        } else {
          ORBA_LOGD("positive rotate, but not between rotary routeline");
          command = fabs(dest - current) * ms_per_degree + kReverseBit;
        }
      } else if (u <= dest && current <= u) {
        ORBA_LOGD("positive rotate, and between rotary routeline");
        command = (360 - (dest - current)) * ms_per_degree + kReverseBit;
      } else {
        ORBA_LOGD("negative rotate, but not between rotary routeline");
        command = (dest - current) * ms_per_degree;
      }
      int value = static_cast<int>(command);
      char text[32] = {};
      snprintf(text, sizeof(text), "%d", value);
      if (WriteNode(kRotaryMotor, text) != 0) {
        ORBA_LOGE("continue motor rotating error:%s", strerror(errno));
        return -1;
      }
      int rest = value >= kReverseBit ? value - kReverseBit : value;
      ORBA_LOGD("rest_rotary_time = %d", rest);
      // Half the remaining time, then measure again: the turn is corrected while it runs.
      SleepMs(((rest > 30 ? rest : 30) - 30) / 2);
      elapsed = NowMs() - start;
      if (elapsed > timeout_ms) break;
    }
  }
  if (!StopRotaryLogged(__func__)) return -1;
  ORBA_LOGD("sum_time = %d", static_cast<int>(elapsed));
  return static_cast<int>(elapsed);
}

namespace {

// A negative relative angle turns by its size the same way as a positive one.
double RelativeTurn(double relative) { return relative > 0 ? relative : fabs(relative) + 360; }

}  // namespace

extern "C" ORBA_EXPORT int rotate_to_relative_angle(int interval, int timeout_ms, double src,
                                                    double relative, double precision) {
  ORBA_LOGD("src_angle = %.2f, relative_angle = %.2f", src, relative);
  int time = rotate_to_appointted_angles(interval, timeout_ms,
                                         fmod(RelativeTurn(relative) + src, 360), precision);
  ORBA_LOGD("time = %d", time);
  return time;
}

extern "C" ORBA_EXPORT int rotate_by_relative_angle(int interval, int timeout_ms,
                                                    double relative, double precision) {
  double current = get_current_avr_angle();
  ORBA_LOGD("current_angle = %.2f, relative_angle =%.2f", current, relative);
  int time = rotate_to_appointted_angles(interval, timeout_ms,
                                         fmod(current + RelativeTurn(relative), 360), precision);
  ORBA_LOGD("time = %d", time);
  return time;
}

extern "C" ORBA_EXPORT int rotate_to_max_angles(char* msg) {
  ORBA_LOGD("msg = %s", msg != nullptr ? msg : "(null)");
  long long start = NowMs();
  double period = 0;
  if (!ReadPeriod(&period)) ORBA_LOGE("read_policy_file error: %s", strerror(errno));
  const char* way = nullptr;
  if (msg != nullptr && strncasecmp(msg, "rotate_to_maximum_angles", 24) == 0) {
    char copy[256] = {};
    strncpy(copy, msg, sizeof(copy) - 1);
    char* save = nullptr;
    strtok_r(copy, " ", &save);
    const char* second = strtok_r(nullptr, " ", &save);
    if (second != nullptr && strcmp(second, "positively") == 0) way = "positively";
    if (second != nullptr && strcmp(second, "negatively") == 0) way = "negatively";
  }
  if (way == nullptr) {
    ORBA_LOGE("para error");
    ORBA_LOGE("error: return -1");
    return -1;
  }
  bool positively = way[0] == 'p';
  int command = get_rotary_time_need(360) + (positively ? kReverseBit : 0);
  char text[32] = {};
  snprintf(text, sizeof(text), "%d", command);
  if (WriteNode(kRotaryMotor, text) != 0) {
    if (positively) {
      ORBA_LOGE("positively motor rotate error:%s", strerror(errno));
    } else {
      ORBA_LOGE("negatively motor rotate error:%s", strerror(errno));
    }
    ORBA_LOGE("error: return -1");
    return -1;
  }
  // One fifth of the nominal speed: slower than that, the module is resting on its stop.
  double threshold = period > 0 ? 1.8e7 / period / 32 / 66 * 0.2 : 0;
  SleepMs(200);
  // The first place starts at 9999 and the rest at 0, so the series cannot look settled before
  // it holds real angles.
  double series[kMaxSeries] = {9999.0};
  long long pass_ms = 2;
  long long elapsed = 0;
  for (;;) {
    long long pass_start = NowMs();
    elapsed = pass_start - start;
    SleepMs(2);
    if (is_speed_stable(series, kMaxSeries, 4, 1, 11, pass_ms / 1000.0 * 10, threshold)) break;
    memmove(series, series + 1, sizeof(series) - sizeof(series[0]));
    series[kMaxSeries - 1] = get_current_avr_angle();
    pass_ms = NowMs() - pass_start;
    if (elapsed > kMaxAngleLimitMs) break;
  }
  if (!StopRotaryLogged(__func__)) {
    ORBA_LOGE("error: return -1");
    return -1;
  }
  ORBA_LOGD("rotate_to_max_angles success, time=%d", static_cast<int>(elapsed));
  return static_cast<int>(elapsed);
}

extern "C" ORBA_EXPORT int rotate_to_front_camera(int interval, int timeout_ms,
                                                  double precision) {
  return RotateToCalibrated(__func__, true, interval, timeout_ms, precision);
}

extern "C" ORBA_EXPORT int rotate_to_back_camera(int interval, int timeout_ms, double precision) {
  return RotateToCalibrated(__func__, false, interval, timeout_ms, precision);
}

extern "C" ORBA_EXPORT double get_front_back_camera_angle(int flag) {
  if (!Calibrated()) {
    ORBA_LOGE("not calibrated yet!!");
    return -999.0;
  }
  double angle = 0;  // a stored text without its fourth token reads as 0, as atof("") does
  CalibratedAngle((flag & 1) != 0 ? "sys.rotary_camera.cali_deg0" : "sys.rotary_camera.cali_deg180",
                  &angle);
  ORBA_LOGD("flag = %d, degree = %.2f", flag, angle);
  return angle;
}
