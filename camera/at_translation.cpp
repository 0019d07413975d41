// The station's camera AT commands as camera-service messages, and the service's answers as AT
// responses.

#include <orbafactory/camera.h>

#include <stdio.h>
#include <string.h>
#include <strings.h>

#include <platform/log.h>

#include "camera_tables.h"

using namespace orba::camera;

namespace {

constexpr size_t kCommandMax = 4096;
constexpr int kMaxResponsePieces = 128;

// Copies `text` into out[size] as a terminated string; false (and nothing written past size)
// when it does not fit.
bool CopyOut(char* out, int size, const char* text) {
  if (out == nullptr || size <= 0) return false;
  int n = snprintf(out, static_cast<size_t>(size), "%s", text);
  return n >= 0 && n < size;
}

}  // namespace

extern "C" ORBA_EXPORT int transform_atcmd_cam_position(const char* pos, char* out, int size) {
  const char* name = nullptr;
  if (pos != nullptr && strcmp(pos, "F") == 0) name = "front";
  if (pos != nullptr && strcmp(pos, "R") == 0) name = "rear";
  if (name == nullptr) {
    CopyOut(out, size, "NULL");
    ORBA_LOGE("not support camera position!!");
    return -1;
  }
  return CopyOut(out, size, name) ? 0 : -1;
}

extern "C" ORBA_EXPORT int transform_atcmd_cam_type(const char* type, char* out, int size) {
  for (size_t i = 0; type != nullptr && i < kCameraTypeCount; ++i) {
    if (strcmp(type, kCameraTypes[i].at_name) == 0) {
      return CopyOut(out, size, kCameraTypes[i].camera_name) ? 0 : -1;
    }
  }
  CopyOut(out, size, "NULL");
  ORBA_LOGE("not support camera type");
  return -1;
}

extern "C" ORBA_EXPORT int transform_at_cmd_to_camera_info(const char* atcmd, char* message,
                                                           int size, char* item) {
  ORBA_LOGD("enter with: %s", atcmd != nullptr ? atcmd : "(null)");
  if (atcmd == nullptr || message == nullptr) return -1;
  char command[kCommandMax] = {};
  strncpy(command, atcmd, sizeof(command) - 1);
  char position[32] = "NULL", type1[32] = "NULL", type2[32] = "NULL";
  const char* function = "NULL";

  const CameraAtcmdRow* row = nullptr;
  for (size_t i = 0; i < kCameraAtcmdCount && row == nullptr; ++i) {
    if (strstr(command, kCameraAtcmds[i].atcmd) != nullptr) row = &kCameraAtcmds[i];
  }
  if (row == nullptr) {
    ORBA_LOGE("not find atcmd in table!");
    return -1;
  }
  function = row->function;
  if (item != nullptr) strcpy(item, row->item);

  char* save = nullptr;
  strtok_r(command, ",", &save);  // the command itself
  const char* pos = strtok_r(nullptr, ",", &save);
  if (transform_atcmd_cam_position(pos, position, sizeof(position)) != 0) return -1;
  const char* first = strtok_r(nullptr, ",", &save);
  if (transform_atcmd_cam_type(first, type1, sizeof(type1)) != 0) return -1;
  const char* params = strtok_r(nullptr, ",", &save);
  if (params != nullptr) {
    if (transform_atcmd_cam_type(params, type2, sizeof(type2)) == 0) {
      params = strtok_r(nullptr, ",", &save);
    } else {
      ORBA_LOGD("not found msg_camera_type_2");
    }
  }
  ORBA_LOGD("atcmd_last_params:%s", params != nullptr ? params : "NULL");

  char parameters[kCommandMax] = {};
  if (params == nullptr) {
    strcpy(parameters, "NULL#NULL");
  } else if (strchr(params, '#') != nullptr) {
    snprintf(parameters, sizeof(parameters), "%s", params);
  } else if (strchr(params, ' ') != nullptr) {
    snprintf(parameters, sizeof(parameters), "%s#NULL", params);
  } else {
    snprintf(parameters, sizeof(parameters), "param %s#NULL", params);
  }

  int n;
  if (type2[0] != '\0' && strcmp(type2, "NULL") != 0) {
    n = snprintf(message, static_cast<size_t>(size > 0 ? size : 0), "eng_AT_camera#%s#%s&%s#%s#%s",
                 position, type1, type2, function, parameters);
  } else {
    n = snprintf(message, static_cast<size_t>(size > 0 ? size : 0), "eng_AT_camera#%s#%s#%s#%s",
                 position, type1, function, parameters);
  }
  int ret = n >= 0 && n < size ? 0 : -1;
  if (ret != 0) ORBA_LOGE("message does not fit in %d bytes", size);
  ORBA_LOGD("ret = %d", ret);
  return ret;
}

extern "C" ORBA_EXPORT int transform_camera_ret_to_at_resp(const char* ret, char* resp,
                                                           int size) {
  if (resp == nullptr || size <= 0) return 8;
  memset(resp, 0, static_cast<size_t>(size));
  if (ret == nullptr) return 8;
  if (strncasecmp(ret, "success", 7) != 0) {
    strncpy(resp, ret, static_cast<size_t>(size) - 1);
    return 8;
  }
  char answer[kCommandMax] = {};
  strncpy(answer, ret, sizeof(answer) - 1);
  char* save = nullptr;
  strtok_r(answer, "#", &save);  // "success"
  size_t used = 0;
  for (int i = 0; i < kMaxResponsePieces; ++i) {
    char* piece = strtok_r(nullptr, "#", &save);
    char* blank = piece != nullptr ? strchr(piece, ' ') : nullptr;
    if (blank == nullptr) break;
    *blank = '\0';
    int n = snprintf(resp + used, static_cast<size_t>(size) - used, "+%s:\"%s\"\r\n", piece,
                     blank + 1);
    // A line that does not fit is left out whole rather than cut.
    if (n < 0 || used + static_cast<size_t>(n) >= static_cast<size_t>(size)) {
      resp[used] = '\0';
      ORBA_LOGE("response does not fit in %d bytes", size);
      break;
    }
    used += static_cast<size_t>(n);
  }
  return 7;
}
