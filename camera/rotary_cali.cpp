// Storing the rotary module's calibration (factory record first, then properties, then the
// motor driver's calibration node) and the half-pop hall calibration.

#include <orbafactory/camera.h>

#include <errno.h>
#include <fcntl.h>
#include <math.h>
#include <pthread.h>
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

constexpr char kCaliWord[] = "set_ratary_camera_cali_data";
constexpr char kPeakSearch[] = "middle_hall_max";
constexpr long long kPeakSearchLimitMs = 3000;
constexpr unsigned kDriverLineLimit = 511;

struct TextField {
  const char* item;
  int values;
  size_t offset;
  size_t width;
  const char* property;
  const char* line;  // the driver line's opening text; "[" closes with "]"
  bool pop_flags;    // also marks the pop calibration as done
};

constexpr TextField kTextFields[] = {
    {"deg0_cali", 4, 804, 64, "sys.rotary_camera.cali_deg0", "deg0_cali[", false},
    {"deg180_cali", 4, 868, 64, "sys.rotary_camera.cali_deg180", "deg180_cali[", false},
    {"half_pop_hall_cali_data", 2, 932, 16, "sys.rotary_camera.half_pop_hall_cali_data",
     "pop_half_cali_data[", true},
    {"pop_cali_data", 2, 948, 16, "sys.rotary_camera.pop_hall_cali_data", "pop_cali_data[", true},
    {"retract_cali_data", 2, 964, 16, "sys.rotary_camera.retract_hall_cali_data",
     "retract_cali_data[", true},
    {"set_border_angle", 2, 784, 16, "sys.rotary_camera.border_angle", "border_angle[", false},
};

constexpr size_t kUnreachedAngleOffset = 800;

// The 0 and 180 degree points must lie well apart: a second point stored within 40 degrees of
// the first is a station error, not a calibration.
bool TooClose(const char* other_property, const char* angle_text, bool zero_point) {
  char value[PROPERTY_TEXT] = {};
  orbaatcmd_get_system_property(other_property, value, "");
  char token[PROPERTY_TEXT] = {};
  if (!FourthToken(value, token, sizeof(token))) return false;
  double other = atof(token);
  double mine = atof(angle_text);
  if (fabs(other - mine) >= 40.0) return false;
  if (zero_point) {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, "set_ratary_camera_cali_data", "angle_180=%.2f, angle_0=%.2f, error:out of scope!!", other, mine);
  } else {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, "set_ratary_camera_cali_data", "angle_0=%.2f, angle_180=%.2f, error:out of scope!!", other, mine);
  }
  return true;
}

int StoreCalibration(char* msg) {
  uint8_t record[XOLE_NV_ITEM_SIZE] = {};
  if (get_XOLE_NV_item(record) != 0) {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, "set_ratary_camera_cali_data", "get xole nv item fail\r\n");
    return 0;
  }
  char* save = nullptr;
  const char* word = strtok_r(msg, " ", &save);
  if (word == nullptr || strcmp(word, kCaliWord) != 0) return 0;
  const char* item = strtok_r(nullptr, " ", &save);
  const char* v[4] = {};
  for (const char*& value : v) value = strtok_r(nullptr, " ", &save);
  if (item == nullptr) item = "";

  char line[256] = {};
  const char* opening = nullptr;
  if (strcmp(item, "set_unreached_angle") == 0) {
    if (v[0] == nullptr) {
      ORBA_LOG_AS(ANDROID_LOG_ERROR, "set_ratary_camera_cali_data", "unknow cmdline");
      return 0;
    }
    float angle = static_cast<float>(atof(v[0]));
    memcpy(record + kUnreachedAngleOffset, &angle, sizeof(angle));
    if (put_XOLE_NV_item(record) != 0) {
      ORBA_LOG_AS(ANDROID_LOG_ERROR, "set_ratary_camera_cali_data", "put_XOLE_NV_item failed");
      return 0;
    }
    char text[PROPERTY_TEXT] = {};
    snprintf(text, sizeof(text), "%.2f", angle);
    orbaatcmd_set_system_property("sys.rotary_camera.unreached_angle", text);
    snprintf(line, sizeof(line), "unreached_angle[%.2f]", angle);
    opening = "unreached_angle[";
  } else {
    const TextField* field = nullptr;
    for (const TextField& f : kTextFields) {
      if (strcmp(item, f.item) == 0) field = &f;
    }
    if (field == nullptr || v[field->values - 1] == nullptr) {
      ORBA_LOG_AS(ANDROID_LOG_ERROR, "set_ratary_camera_cali_data", "unknow cmdline");
      return 0;
    }
    bool zero = strcmp(item, "deg0_cali") == 0;
    if ((zero || strcmp(item, "deg180_cali") == 0) &&
        TooClose(zero ? "sys.rotary_camera.cali_deg180" : "sys.rotary_camera.cali_deg0", v[3],
                 zero)) {
      return 0;
    }
    char text[PROPERTY_TEXT] = {};
    if (field->values == 4) {
      snprintf(text, sizeof(text), "%s %s %s %s", v[0], v[1], v[2], v[3]);
    } else {
      snprintf(text, sizeof(text), "%s %s", v[0], v[1]);
    }
    // The record's field is fixed; a longer text is cut to it, never written past it.
    memset(record + field->offset, 0, field->width);
    memcpy(record + field->offset, text, strnlen(text, field->width));
    if (put_XOLE_NV_item(record) != 0) {
      ORBA_LOG_AS(ANDROID_LOG_ERROR, "set_ratary_camera_cali_data", "put_XOLE_NV_item failed");
      return 0;
    }
    orbaatcmd_set_system_property(field->property, text);
    if (field->values == 4) {
      orbaatcmd_set_system_property("persist.sys.rotary_camera_rotary_cali", "1");
    }
    if (field->pop_flags) {
      orbaatcmd_set_system_property("persist.sys.camera_pop_cali", "1");
      orbaatcmd_set_system_property("persist.sys.hall_cal_flag", "1");
    }
    snprintf(line, sizeof(line), "%s%s]", field->line, text);
    opening = field->line;
  }
  return replace_policy_file(0, kPopMotorCali, O_WRONLY | O_TRUNC, line, kDriverLineLimit,
                             opening, "]");
}

// The half-pop result buffer is shared with the peak-search thread without a lock: the thread
// publishes its text with the first byte written last, and the caller waits on that byte.
void PublishText(char* dst, const char* text, size_t size) {
  char staged[16] = {};
  strncpy(staged, text, sizeof(staged) - 1);
  for (size_t i = 1; i < size && i < sizeof(staged); ++i) {
    __atomic_store_n(&dst[i], staged[i], __ATOMIC_RELAXED);
  }
  __atomic_store_n(&dst[0], staged[0], __ATOMIC_RELEASE);
}

bool StillSearching(const char* buf) {
  return __atomic_load_n(&buf[0], __ATOMIC_ACQUIRE) == kPeakSearch[0];
}

void* PeakTrampoline(void* inout) {
  return sample_of_max_appointted_hall_thread(static_cast<char*>(inout));
}

}  // namespace

extern "C" ORBA_EXPORT int set_ratary_camera_cali_data(char* msg) {
  ORBA_LOGD("msg=%s", msg != nullptr ? msg : "(null)");
  if (msg == nullptr) return 0;
  char copy[1024] = {};
  strncpy(copy, msg, sizeof(copy) - 1);
  int ret = StoreCalibration(copy);
  ORBA_LOGD("ret = %d", ret);
  return ret;
}

extern "C" ORBA_EXPORT void* sample_of_max_appointted_hall_thread(char* inout) {
  pthread_detach(pthread_self());
  ORBA_LOGD("sample_thread_of_max_appointted_hall start");
  char request[16] = {};
  for (size_t i = 0; i < sizeof(request) - 1; ++i) {
    request[i] = __atomic_load_n(&inout[i], __ATOMIC_RELAXED);
  }
  if (strcmp(request, kPeakSearch) == 0) {
    long long start = NowMs();
    long previous_m = -999;
    char previous[HALL_SAMPLE_TEXT] = {};
    while (NowMs() - start < kPeakSearchLimitMs) {
      char reading[HALL_SAMPLE_TEXT] = "all";
      if (get_current_pop_hall_data(reading) != 0) {
        ORBA_LOGE("get_current_pop_hall_data error: cur_pop_hall_data=%s", reading);
        break;
      }
      char copy[HALL_SAMPLE_TEXT];
      memcpy(copy, reading, sizeof(copy));
      char* save = nullptr;
      strtok_r(copy, " ", &save);
      const char* middle = strtok_r(nullptr, " ", &save);
      long m = labs(middle != nullptr ? atol(middle) : 0);
      if (m + 1 < previous_m) {
        PublishText(inout, previous, 16);
        break;
      }
      previous_m = m;
      memcpy(previous, reading, sizeof(previous));
    }
  }
  char result[16] = {};
  for (size_t i = 0; i < sizeof(result) - 1; ++i) {
    result[i] = __atomic_load_n(&inout[i], __ATOMIC_RELAXED);
  }
  ORBA_LOGD("sample_thread_of_max_appointted_hall end: result = %s", result);
  return nullptr;
}

extern "C" ORBA_EXPORT int camera_cali_half_pop(int pop_ms, int direction) {
  // Shared with the detached search thread, which may outlive a failed calibration: it lives as
  // long as the process.
  static char result[16];
  PublishText(result, kPeakSearch, sizeof(result));
  long long start = NowMs();
  pthread_t thread;
  if (pthread_create(&thread, nullptr, PeakTrampoline, result) != 0) {
    ORBA_LOGE("thread created error!!");
    return -1;
  }
  char text[32] = {};
  snprintf(text, sizeof(text), "%d", pop_ms + ((direction & 1) != 0 ? kReverseBit : 0));
  if (WriteNode(kPopMotor, text) != 0) {
    ORBA_LOGE("pop motor error:%s", strerror(errno));
    return -1;
  }
  while (StillSearching(result)) {
    if (NowMs() - start >= pop_ms) {
      ORBA_LOGE("failed!!");
      return -1;
    }
  }
  if (WriteNode(kPopMotor, "0") != 0) ORBA_LOGE("stop pop motor error:%s", strerror(errno));
  char found[16] = {};
  for (size_t i = 0; i < sizeof(found) - 1; ++i) {
    found[i] = __atomic_load_n(&result[i], __ATOMIC_RELAXED);
  }
  if (found[0] == '\0' || strcmp(found, "-999") == 0) {
    ORBA_LOGE("error:half_pop_hall_data=%s", found);
    return -1;
  }
  char msg[128] = {};
  snprintf(msg, sizeof(msg), "%s half_pop_hall_cali_data %s", kCaliWord, found);
  if (set_ratary_camera_cali_data(msg) != 1) {
    ORBA_LOGE("set_rotary_camera_cali_data error");
    return -1;
  }
  int used = static_cast<int>(NowMs() - start);
  ORBA_LOGD("success!");
  ORBA_LOGD("time used is:%d", used);
  return used;
}
