// Read/write checks of the preload media: a file the user cannot open is a factory defect.

#include <cutils/properties.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <platform/devpath.h>
#include <platform/log.h>

#include "tf_list.h"

namespace {

// Paths are examined through a 128-byte copy; longer ones could not be examined faithfully and
// are skipped rather than cut.
constexpr size_t kMediaPathBuffer = 128;

bool IsMediaPath(const char* path) {
  static const char* const kMarkers[] = {".mp4", ".lrc", ".flac", ".jpg", "orbaDemoVideo", "Music"};
  for (const char* marker : kMarkers) {
    if (strstr(path, marker) != nullptr) return true;
  }
  return false;
}

bool Exists(const char* path) { return access(DevPath(path), F_OK) == 0; }

}  // namespace

extern "C" ORBA_EXPORT int is_tf_file_permission_abormal(const char* path) {
  if (path == nullptr || !Exists(path)) {
    ORBA_LOGD("skip file:%s not exist!!", path != nullptr ? path : "(null)");
    return 0;
  }
  if (access(DevPath(path), R_OK | W_OK) != 0) {
    ORBA_LOGD("error: RW_permission_error for path: %s", path);
    return 1;
  }
  ORBA_LOGD("okay: RW_permission_ok for path: %s", path);
  return 0;
}

extern "C" ORBA_EXPORT int check_tfdata_time_permission_abnormal(const tf_data_list* list) {
  if (list == nullptr) {
    ORBA_LOGE("error: tf_data_list is NULL");
    return 0;
  }
  for (const tf_data_list* node = list; node != nullptr; node = node->next) {
    if (!Exists(node->path)) {
      ORBA_LOGD("file not exist:continue:%s", node->path);
      continue;
    }
    // Checked twice on purpose: media scanning can change a file's mode right after the first
    // look, and a factory check must not pass on a transient state.
    if (is_tf_file_permission_abormal(node->path) != 0 ||
        is_tf_file_permission_abormal(node->path) != 0) {
      ORBA_LOGD("error exception:%s", node->path);
      return 0;
    }
  }
  return 1;
}

extern "C" ORBA_EXPORT int isAllTfFilePermissionOk(void) {
  ORBA_LOGD("entered!!");
  char mode[PROPERTY_VALUE_MAX] = {};
  property_get("persist.sys.factory.mode", mode, "no");
  if (strstr(mode, "yes") == nullptr) {
    ORBA_LOGD("not under factory_mode, just return ATOK");
    ORBA_LOGD("end!!");
    return 1;
  }
  tf_data_list* list = get_tf_data_file_list();
  if (list == nullptr) return 1;
  int result = 1;
  for (const tf_data_list* node = list; node != nullptr; node = node->next) {
    if (strlen(node->path) >= kMediaPathBuffer) {
      ORBA_LOGD("skip file: %s", node->path);
      continue;
    }
    char path[kMediaPathBuffer];
    memcpy(path, node->path, strlen(node->path) + 1);  // its length was checked just above
    if (!IsMediaPath(path)) {
      ORBA_LOGD("skip file: %s", path);
      continue;
    }
    if (is_tf_file_permission_abormal(path) != 0) {
      result = 0;
      break;
    }
  }
  tf_data_list_free(list);
  return result;
}
