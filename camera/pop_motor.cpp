// The pop motor's commands and the one-shot hall readings.

#include <orbafactory/camera.h>

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <orbafactory/config.h>
#include <platform/log.h>

#include "camera_nodes.h"

using namespace orba::camera;

namespace {

int MovePop(const char* func, int value) {
  char text[128] = {};
  snprintf(text, sizeof(text), "%d", value);
  if (WriteNode(kPopMotor, text) != 0) {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, func, "pop camera error!:%s", strerror(errno));
    return 0;
  }
  return 1;
}

// Reads a hall's one-shot node into `buf`; logs the failure the way every caller reports it.
bool ReadSingle(const char* path, char* buf, int size) {
  if (read_policy_file(0, path, buf, size) == 0) return true;
  ORBA_LOG_AS(ANDROID_LOG_ERROR, "get_current_pop_hall_data", "read_policy_file error: %s",
              strerror(errno));
  return false;
}

}  // namespace

extern "C" ORBA_EXPORT int stop_motor_pop(void) {
  char text[128] = {};
  snprintf(text, sizeof(text), "%d", 0);
  if (WriteNode(kPopMotor, text) != 0) {
    ORBA_LOGE("stop pop motor error:%s", strerror(errno));
    return 0;
  }
  return 1;
}

extern "C" ORBA_EXPORT int pop_camera(int ms) { return MovePop(__func__, ms); }

extern "C" ORBA_EXPORT int retract_camera(int ms) { return MovePop(__func__, ms + kReverseBit); }

extern "C" ORBA_EXPORT int get_current_pop_hall_data(char* inout) {
  if (inout == nullptr) return -1;
  if (strcmp(inout, "up_hall") == 0 || strcmp(inout, "down_hall") == 0) {
    bool up = inout[0] == 'u';
    char reading[HALL_SAMPLE_TEXT] = {};
    if (!ReadSingle(up ? kUpHallSingle : kDownHallSingle, reading, sizeof(reading))) {
      ORBA_LOGE("goto error");
      return -1;
    }
    memcpy(inout, reading, sizeof(reading));
    if (up) {
      ORBA_LOGD("current hall_up:%s", inout);
    } else {
      ORBA_LOGD("current hall_down:%s", inout);
    }
    return 0;
  }
  char up[8] = {}, middle[8] = {}, down[8] = {};
  if (!ReadSingle(kUpHallSingle, up, sizeof(up)) ||
      !ReadSingle(kMiddleHallSingle, middle, sizeof(middle)) ||
      !ReadSingle(kDownHallSingle, down, sizeof(down))) {
    ORBA_LOGE("goto error");
    return -1;
  }
  snprintf(inout, HALL_SAMPLE_TEXT, "%s %s %s", up, middle, down);
  ORBA_LOGD("current hall:%s", inout);
  return 0;
}
