// Reading and writing one item's state in the result and bg/dark files. The files are owned by
// system users the calling daemon cannot write to, so every access goes through the AT-command
// service; on the uart = 0 path the engineer-mode app writes them instead, and only one of the two
// writers ever handles a request.

#include <stdio.h>
#include <string.h>

#include <android/log.h>

#include <orbafactory/engineer.h>
#include <orbafactory/persist.h>
#include <orbafactory/sysaccess.h>
#include <platform/log.h>

#include "calibration_files.h"

namespace orba::persist {

int ReadCaliFile(const char* path, char* buf) {
  memset(buf, 0, kCaliFileBufferSize);
  if (orbaatcmd_fread_system_file(path, buf, kCaliFileBufferSize - 1) != 0) return -1;
  return static_cast<int>(strlen(buf));
}

bool CaliFileAbsent(const char* path) {
  return orbaatcmd_sizeof_system_file(path) <= kCaliFileMinSize;
}

int ReadItemState(const char* path, const char* item, const char* func) {
  char text[kCaliFileBufferSize];
  int len = ReadCaliFile(path, text);
  if (len <= kCaliFileMinSize) {
    ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "read error:%s %d", path, len);
    return 0;
  }
  if (item == nullptr) return 0;
  size_t item_len = strlen(item);
  for (char* line = text; line != nullptr && *line != '\0';) {
    char* next = strchr(line, '\n');
    if (next != nullptr) *next++ = '\0';
    if (strncmp(line, item, item_len) == 0 && line[item_len] == ' ') {
      // The value is the second space-separated word of the line.
      char* save = nullptr;
      strtok_r(line, " ", &save);
      const char* value = strtok_r(nullptr, " ", &save);
      if (value == nullptr) {
        ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "get  value error:%s %s", item, line);
        return 0;
      }
      int state = static_cast<unsigned char>(value[0]) - '0';
      ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "%s %d", item, state);
      return state;
    }
    line = next;
  }
  return 0;
}

int StoreItemState(const char* path, const char* item, const char* value, const char* func) {
  char text[kCaliFileBufferSize];
  int len = ReadCaliFile(path, text);
  if (len < 0) {
    ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "read error:%s %d", path, len);
    return -1;
  }
  char prefix[kCaliFileBufferSize];
  int prefix_len = snprintf(prefix, sizeof(prefix), "%s ", item);
  if (prefix_len < 0 || static_cast<size_t>(prefix_len) >= sizeof(prefix)) {
    ORBA_LOG_AS(ANDROID_LOG_INFO, func, "No memory:%d,%s,%d", len, item,
                static_cast<int>(kCaliFileBufferSize) - len);
    return -1;
  }
  char* found = strstr(text, prefix);
  if (found != nullptr) {
    char* slot = found + prefix_len;
    if (*slot == '\0') {
      ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "read error:%d,%s,%d", static_cast<int>(found - text),
                  item, len);
      return -1;
    }
    // One character only: the line keeps its length, so nothing after it moves.
    *slot = value[0];
    ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "changeItem %s %s", item, value);
  } else {
    int free_bytes = static_cast<int>(kCaliFileBufferSize) - len;
    // The whole value is appended, so it must fit as well as the name (the buffer keeps its
    // terminator); with the usual one-character value this is the name, the value and the NUL.
    if (free_bytes < prefix_len + static_cast<int>(strlen(value)) + 1) {
      ORBA_LOG_AS(ANDROID_LOG_INFO, func, "No memory:%d,%s,%d", len, item, free_bytes);
      return -1;
    }
    // No line end: the engineer-mode app writes new items the same way, and readers expect it.
    snprintf(text + len, static_cast<size_t>(free_bytes), "%s %s", item, value);
    ORBA_LOG_AS(ANDROID_LOG_DEBUG, func, "newItem %s %s", item, value);
  }
  if (orbaatcmd_fwrite_system_file(path, "w+", text) < 0) {
    ORBA_LOG_AS(ANDROID_LOG_INFO, func, "open error:%s", path);
    return -1;
  }
  return 0;
}

namespace {

// The engineer-mode app writes the file itself; "ok" is its only success answer.
bool AskEngineerApp(const char* command, const char* item, const char* value, const char* func) {
  char message[kCaliFileBufferSize];
  int n = snprintf(message, sizeof(message), "%s %s %s", command, item, value);
  if (n < 0 || static_cast<size_t>(n) >= sizeof(message)) {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, func, "message too long:%s", item);
    return false;
  }
  const char* reply = sendMessage(message);
  if (reply == nullptr || strcmp(reply, "ok") != 0) {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, func, "%s reply:%s", command, reply != nullptr ? reply : "");
    return false;
  }
  return true;
}

// Not in the item's text contract, but an empty value would put the terminator into the file and
// cut every line after the item; a missing item or value is refused before anything is sent.
bool ValidRequest(const char* item, const char* value, const char* func) {
  if (item == nullptr || item[0] == '\0' || value == nullptr || value[0] == '\0') {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, func, "invalid item or value");
    return false;
  }
  return true;
}

}  // namespace

}  // namespace orba::persist

using namespace orba::persist;

extern "C" int get_calibrate_item_state(const char* item) {
  return ReadItemState(kCaliResultPath, item, __func__);
}

extern "C" int get_calibrate_item_bg_dark(const char* item) {
  return ReadItemState(kCaliBgDarkPath, item, __func__);
}

extern "C" int set_calibrate_item_state(const char* item, const char* value, int uart) {
  ORBA_LOGD("entered!! special_item = %s, new_value = %s, uart = %d", item ? item : "",
            value ? value : "", uart);
  if (!ValidRequest(item, value, __func__)) return -1;
  if (uart == 0) {
    if (!AskEngineerApp("TQEGMCDK_clear", item, value, __func__)) return -1;
    clear_backup_calibrate_item(item, value);
    return 0;
  }
  if (CaliFileAbsent(kCaliResultPath)) {
    char text[kCaliFileBufferSize];
    int needed = 0;
    if (!BuildCaliListText(text, sizeof(text), "%s 0\n", 0, &needed)) {
      ORBA_LOGI("No memory:%d,%d", needed, static_cast<int>(sizeof(text)));
      return -1;
    }
    if (orbaatcmd_fwrite_system_file(kCaliResultPath, "w+", text) < 0) {
      ORBA_LOGI("open error:%s", kCaliResultPath);
      return -1;
    }
    ORBA_LOGD("create %s success!", kCaliResultPath);
  }
  if (StoreItemState(kCaliResultPath, item, value, __func__) != 0) return -1;
  clear_backup_calibrate_item(item, value);
  return 0;
}

extern "C" int set_calibrate_item_bg_dark(const char* item, const char* value, int uart) {
  ORBA_LOGD("entered!! special_item = %s, new_value = %s, uart = %d", item ? item : "",
            value ? value : "", uart);
  if (!ValidRequest(item, value, __func__)) return -1;
  if (uart == 0) return AskEngineerApp("TQEGMCDK_dark", item, value, __func__) ? 0 : -1;
  if (CaliFileAbsent(kCaliBgDarkPath) && set_calibrate_list_bg_dark(nullptr, 0) != 0) return -1;
  return StoreItemState(kCaliBgDarkPath, item, value, __func__);
}

extern "C" int set_calibrate_list_bg_dark(const char* /*unused*/, int value) {
  char text[kCaliFileBufferSize];
  int needed = 0;
  if (!BuildCaliListText(text, sizeof(text), "%s %d\n", value, &needed)) {
    ORBA_LOGD("No memory:%d,%d", needed, static_cast<int>(sizeof(text)));
    return -1;
  }
  ORBA_LOGI("%s", text);
  if (orbaatcmd_fwrite_system_file(kCaliBgDarkPath, "w+", text) < 0) {
    ORBA_LOGD("open error:%s", kCaliBgDarkPath);
    return -1;
  }
  ORBA_LOGD("create %s success!", kCaliBgDarkPath);
  return 0;
}
