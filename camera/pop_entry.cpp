// The two entry points the AT-command daemon calls to pop the camera.

#include <orbafactory/camera.h>

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <orbafactory/engineer.h>
#include <platform/log.h>

#include "camera_nodes.h"

using namespace orba::camera;

namespace {

char g_time_used[128];

// The milliseconds a move took, or -1 when it could not run.
int PopByEngineer(char* msg) {
  char* save = nullptr;
  char* command = strtok_r(msg, " ", &save);
  char* value = strtok_r(nullptr, " ", &save);
  char* interval = strtok_r(nullptr, " ", &save);
  char* timeout = strtok_r(nullptr, " ", &save);
  if (command == nullptr || value == nullptr || interval == nullptr || timeout == nullptr ||
      (strcmp(command, "pop_all") != 0 && strcmp(command, "retract_all") != 0)) {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, "pop_up_camera_by_engineer_interface", "para error!!");
    return -1;
  }
  int ret = WriteNode(kPopMotor, value);
  if (ret != 0) {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, "pop_up_camera_by_engineer_interface", "write_policy_file error: ret=%d: %s", ret, strerror(-ret));
    return -1;
  }
  switch (get_camera_motor_type()) {
    case 1:
      return get_motor_blocked_time(atoi(interval), atoi(timeout));
    case 2: {
      const char* halls[] = {kUpHallSingle, kDownHallSingle};
      return get_appointted_pop_halls_blocked_time(halls, 2, atoi(interval), atoi(timeout));
    }
    default:
      return -1;
  }
}

}  // namespace

extern "C" ORBA_EXPORT char* pop_up_camera_by_engineer_interface(char* msg) {
  ORBA_LOGD("msg = %s", msg != nullptr ? msg : "(null)");
  int used = msg != nullptr ? PopByEngineer(msg) : -1;
  memset(g_time_used, 0, sizeof(g_time_used));
  snprintf(g_time_used, sizeof(g_time_used), "%d", used);
  ORBA_LOGD("str_time_used = %s", g_time_used);
  return g_time_used;
}

extern "C" ORBA_EXPORT const char* pop_up_camera_by_system_interface(const char* msg) {
  const char* result;
  switch (get_camera_motor_type()) {
    case 1:
      result = sendMessage(msg != nullptr ? msg : "");
      break;
    case 2:
      result = "";
      break;
    default:
      result = "-1#0";
      break;
  }
  ORBA_LOGD("result = %s", result != nullptr ? result : "(null)");
  if (result == nullptr || result[0] == '\0' || strcmp(result, "error") == 0) result = "-1#0";
  return result;
}
