// The tool-command sequencer: a scripted test tool sends its commands one by one, and the
// script under the recovery cache says what each one answers and how long the tool waits.
// The position is kept in the script and in properties so that a run survives a reboot.

#include <cutils/properties.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <orbafactory/factorydata.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "../config/dictionary_store.h"
#include "../config/iniparser_dump.h"
#include "../config/iniparser_load.h"
#include "../config/iniparser_query.h"

namespace {

namespace ini = orba::ini;

constexpr const char kScript[] = "/cache/recovery/last_tool_test_app.ini";
constexpr const char kLoopTotal[] = "tool_test_app:loop_total";
constexpr const char kLoopCurrent[] = "tool_test_app:loop_current";
constexpr const char kCmdTotal[] = "tool_test_app:cmd_total";
constexpr const char kCmdCurrent[] = "tool_test_app:cmd_current";
constexpr const char kLoopProperty[] = "sys.tool_test_app.loop_current";
constexpr const char kCmdProperty[] = "sys.tool_test_app.cmd_current";

struct Script {
  dictionary* d;
  ~Script() { ini::DictDel(d); }
};

int Counter(const dictionary* d, const char* key) { return atoi(ini::IniGetString(d, key, "0")); }

const char* Command(const dictionary* d, int loop, int index, char* key, size_t room) {
  snprintf(key, room, "loop%d:command%d", loop, index);
  return ini::IniGetString(d, key, nullptr);
}

// Mirrors a position counter to its property and to the script held in memory.
void Record(dictionary* d, const char* property, const char* key, int value) {
  char text[16];
  snprintf(text, sizeof(text), "%d", value);
  property_set(property, text);
  ini::IniSet(d, key, text);
}

char* CopyText(const char* text) {
  size_t len = strlen(text);
  auto* copy = static_cast<char*>(malloc(len + 1));
  memcpy(copy, text, len + 1);
  return copy;
}

// The script's text plus "\r\n"; a doubled backslash inside the text also means a line break.
char* ResponseText(const char* text) {
  size_t len = strlen(text);
  auto* out = static_cast<char*>(malloc(len + 3));
  memcpy(out, text, len);
  memcpy(out + len, "\r\n", 3);
  for (size_t i = 0; i + 1 < len;) {
    if (out[i] == '\\' && out[i + 1] == '\\') {
      out[i] = '\r';
      out[i + 1] = '\n';
      i += 2;
    } else {
      ++i;
    }
  }
  return out;
}

}  // namespace

extern "C" ORBA_EXPORT void tool_test_app_command_free(tool_test_app_command* cmd) {
  if (cmd == nullptr) return;
  free(cmd->command);
  free(cmd->response);
  cmd->command = nullptr;
  cmd->response = nullptr;
}

extern "C" ORBA_EXPORT int tool_test_app_command_ini(const char* received,
                                                     tool_test_app_command* out) {
  if (received == nullptr || out == nullptr) return -1;
  if (access(DevPath(kScript), F_OK) != 0) return -1;
  Script script{ini::IniLoad(kScript)};
  if (script.d == nullptr) {
    ORBA_LOGI("cannot parse file: %s", kScript);
    return -1;
  }
  dictionary* d = script.d;
  const int loop_total = Counter(d, kLoopTotal);
  const int loop = Counter(d, kLoopCurrent);
  const int cmd_total = Counter(d, kCmdTotal);
  int cmd_current = Counter(d, kCmdCurrent);
  ORBA_LOGI("loop_total=%d,loop_current=%d,cmd_total=%d,cmd_current=%d", loop_total, loop,
            cmd_total, cmd_current);

  int position = cmd_current;
  if (cmd_current < 0 || cmd_current >= cmd_total - 1) {
    property_set(kCmdProperty, "-1");
    ini::IniSet(d, kCmdCurrent, "-1");
    position = 0;
  }

  // Normally the received command is the one after the last match; anything else is looked
  // for from the top of the loop.
  char key[64];
  int start = position;
  const char* next = Command(d, loop, position + 1, key, sizeof(key));
  if (next == nullptr || next[0] == '\0' || strcmp(next, received) != 0) {
    start = 0;
    ORBA_LOGD("found next cmd_current=%d", start);
  }

  int match = -1;
  const char* text = nullptr;
  for (int i = start; i < cmd_total; ++i) {
    text = Command(d, loop, i, key, sizeof(key));
    if (text == nullptr || strlen(text) < 2) {
      ORBA_LOGD("not found %s", key);
      tool_test_app_command_free(out);
      return -1;
    }
    if (strcmp(text, received) == 0) {
      match = i;
      break;
    }
  }
  if (match < 0) {
    ORBA_LOGD("error:cmd_total=%d,cmd_current=%d", cmd_total, cmd_current);
    tool_test_app_command_free(out);
    return -1;
  }
  ORBA_LOGD("found:%s=%s", key, text);

  tool_test_app_command_free(out);
  out->command = CopyText(text);
  snprintf(key, sizeof(key), "loop%d:delay_time%d", loop, match);
  out->delay_time = ini::IniGetInt(d, key, 0);
  snprintf(key, sizeof(key), "loop%d:response%d", loop, match);
  const char* response = ini::IniGetString(d, key, nullptr);
  if (response != nullptr && response[0] != '\0') out->response = ResponseText(response);

  if (match >= cmd_total - 1) {
    // The loop numbered loop_total - 1 is never entered, deliberately; scripts are written
    // with that in mind.
    int next_loop = loop + 1 < loop_total - 1 ? loop + 1 : 0;
    Record(d, kLoopProperty, kLoopCurrent, next_loop);
  }
  Record(d, kCmdProperty, kCmdCurrent, match);

  if (ini::IniDumpPath(d, kScript) != 0) ORBA_LOGE("cannot rewrite %s", kScript);
  return 0;
}
