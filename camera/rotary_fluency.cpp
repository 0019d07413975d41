// The rotation fluency test: does the module turn at the speed its period promises? A settle
// timer runs beside the turn and reports how long the angle kept changing.

#include <orbafactory/camera.h>

#include <errno.h>
#include <math.h>
#include <pthread.h>
#include <unistd.h>
#include <stdlib.h>
#include <string.h>

#include <orbafactory/sysaccess.h>
#include <platform/log.h>

#include "camera_nodes.h"
#include "rotary_motor.h"

using namespace orba::camera;

namespace {

constexpr int kSettlePending = -14;
constexpr long long kSettleLimitMs = 4000;
constexpr long long kSelfCheckLimitMs = 16000;

void* SettleTrampoline(void* result) {
  return thread_get_angle_speed_stable_time(static_cast<int*>(result));
}

// The turn a fluency message asks for; the rotated angle's direction; -1 when the turn failed,
// 1 when it ran, 0 for a message that asks for no turn.
int Turn(const char* msg, const RotaryUtil& util) {
  if (strcmp(msg, "negatively") == 0 || strcmp(msg, "positively") == 0) {
    char command[64] = {};
    snprintf(command, sizeof(command), "rotate_to_maximum_angles %s", msg);
    if (rotate_to_max_angles(command) < 0) {
      ORBA_LOG_AS(ANDROID_LOG_ERROR, "camera_rotate_fluency_test", "error: rotate_to_max_angles... buffer = %s", command);
      return -1;
    }
    return 1;
  }
  if (strcmp(msg, "max_pos_to_back_camera") == 0) {
    if (rotate_to_back_camera(util.rotary_interval, util.rotary_timeout, util.angle_precision) <
        0) {
      ORBA_LOG_AS(ANDROID_LOG_ERROR, "camera_rotate_fluency_test", "rotate_to_back_camera : error!!");
      return -1;
    }
    return 1;
  }
  if (strncmp(msg, "rotate_to_appointted_angle ", 26) == 0 && msg[26] == ' ') {
    double deg = atof(msg + 27);
    if (rotate_to_appointted_angles(util.rotary_interval, util.rotary_timeout, deg,
                                    util.angle_precision) < 0) {
      ORBA_LOG_AS(ANDROID_LOG_ERROR, "camera_rotate_fluency_test", "rotate to appointted angle : error!!");
      return -1;
    }
    return 1;
  }
  return 0;
}

}  // namespace

extern "C" ORBA_EXPORT void* thread_get_angle_speed_stable_time(int* result) {
  pthread_detach(pthread_self());
  ORBA_LOGD("start!!");
  long long start = NowMs();
  SleepMs(60);
  int t1 = get_rotary_time_need(1);
  ORBA_LOGD("sample_interval = %d", 2 * t1);
  double a = get_current_angle();
  double b = a + 100, c = a + 200;
  long long elapsed = 0;
  while (!(fabs(b - a) <= 1.0 && fabs(c - a) <= 1.0)) {
    elapsed = NowMs() - start;
    if (elapsed >= kSettleLimitMs) break;
    SleepMs(2 * t1);
    c = b;
    b = a;
    a = get_current_angle();
    ORBA_LOGD("time_used = %d, start_angle = %.2f, middle_angle = %.2f, end_angle = %.2f",
              static_cast<int>(elapsed), c, b, a);
  }
  __atomic_fetch_add(result, static_cast<int>(elapsed - 4), __ATOMIC_RELEASE);
  ORBA_LOGD("finished!!");
  ORBA_LOGD("speed stable time = %d", static_cast<int>(elapsed - 4));
  return nullptr;
}

extern "C" ORBA_EXPORT int camera_rotate_fluency_test(char* msg) {
  ORBA_LOGD("msg = %s", msg != nullptr ? msg : "(null)");
  if (msg == nullptr) return -1;
  double period = 0;
  if (!ReadPeriod(&period)) {
    ORBA_LOGE("read_policy_file error: %s", strerror(errno));
    return -1;
  }
  double start_angle = get_current_avr_angle();
  // The settle timer outlives this call when the turn fails, so its int is its own: it is
  // freed here only once the timer has reported.
  int* settle = static_cast<int*>(malloc(sizeof(int)));
  RotaryUtil* util = static_cast<RotaryUtil*>(malloc(sizeof(RotaryUtil)));
  if (settle == nullptr || util == nullptr) {
    free(settle);
    free(util);
    return -1;
  }
  *settle = kSettlePending;
  pthread_t thread;
  if (pthread_create(&thread, nullptr, SettleTrampoline, settle) != 0) {
    ORBA_LOGE("thread created error!!");
    free(settle);
    free(util);
    return -1;
  }
  init_rotary_util(util);
  int turned = Turn(msg, *util);
  double end_angle = get_current_avr_angle();
  double rotated = turned == 1 ? calculate_rotated_angles(strcmp(msg, "positively") == 0 ? 1 : 0,
                                                          start_angle, end_angle)
                               : 0;
  double theory = NominalSpeed(period);
  int t;
  while ((t = __atomic_load_n(settle, __ATOMIC_ACQUIRE)) == kSettlePending) SleepMs(10);
  double speed = t != 0 ? rotated / (t / 1000.0) : 0;
  ORBA_LOGD("rotated_angle = %.2f, rotated_time = %d, ratary_angle_speed = %.2f; "
            "theory_angle_speed=%.2f",
            rotated, t, speed, theory);
  int result = turned < 0 ? -1 : (speed > 0.7 * theory && speed < 1.7 * theory ? 0 : 1);
  free(settle);
  free(util);
  ORBA_LOGD("msg = %s, result = %d", msg, result);
  return result;
}

extern "C" ORBA_EXPORT void* thread_magnetic_saturation_self_check(int* state) {
  pthread_detach(pthread_self());
  ORBA_LOGD("entered!!");
  long long start = NowMs();
  while (__atomic_load_n(&state[0], __ATOMIC_ACQUIRE) == 0) {
    char axis[16] = "x_axis_int";
    get_current_rotary_hall_data(axis);
    strcpy(axis, "y_axis_int");
    get_current_rotary_hall_data(axis);
    if (NowMs() - start >= kSelfCheckLimitMs) {
      ORBA_LOGE("timeOut!!");
      break;
    }
    usleep(30);
  }
  ORBA_LOGD("thread_state = %d", __atomic_load_n(&state[0], __ATOMIC_ACQUIRE));
  ORBA_LOGD("check over, self_check_ret = %d", __atomic_load_n(&state[1], __ATOMIC_ACQUIRE));
  return nullptr;
}

extern "C" ORBA_EXPORT int wait_for_eng_camera_off(void) {
  for (int i = 0; i < 25; ++i) {
    char state[PROPERTY_TEXT] = {};
    orbaatcmd_get_system_property("sys.camera.socket_service", state, "null");
    ORBA_LOGD("engineer camera state: %s...%s", state, "off");
    if (strcmp(state, "off") == 0) break;
    if (strcmp(state, "null") == 0) {
      ORBA_LOGD("engineer camera not start");
      break;
    }
    SleepMs(200);
  }
  return 0;
}
