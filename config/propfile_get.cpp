// Reading one item of a key=value file that only the AT-command service may read.

#include <string.h>
#include <strings.h>

#include <orbafactory/config.h>
#include <orbafactory/engineer.h>
#include <orbafactory/sysaccess.h>
#include <platform/log.h>

#include "propfile_text.h"

namespace {

using orba::config::kPropFileSize;
using orba::config::kPropPrefixSize;

char* Answer(const char* text, size_t length) {
  memset(recv_buf, 0, sizeof(recv_buf));
  if (length > sizeof(recv_buf) - 1) length = sizeof(recv_buf) - 1;
  memcpy(recv_buf, text, length);
  return recv_buf;
}

}  // namespace

extern "C" ORBA_EXPORT char* get_property_file_item_value(const char* path, const char* key) {
  char buffer[kPropFileSize] = {};
  if (path == nullptr) return Answer("0", 1);
  int ret = orbaatcmd_fread_system_file(path, buffer, kPropFileSize - 1);
  // No file worth the name holds fewer than ten characters.
  if (ret != 0 || strlen(buffer) < 10) {
    ORBA_LOGD("read error:%s %d", path, ret);
    return Answer("0", 1);
  }
  char prefix[kPropPrefixSize];
  if (!orba::config::BuildPrefix(key, prefix)) {
    ORBA_LOGE("key too long: %s", key != nullptr ? key : "(null)");
    return Answer("0", 1);
  }
  size_t prefix_length = strlen(prefix);
  for (const char* line = buffer; *line != '\0';) {
    const char* newline = strchr(line, '\n');
    const char* line_end = newline != nullptr ? newline : line + strlen(line);
    if (static_cast<size_t>(line_end - line) >= prefix_length &&
        strncasecmp(line, prefix, prefix_length) == 0) {
      // The value runs from the first '=' to the next one or the end of the line.
      const char* value = static_cast<const char*>(memchr(line, '=', line_end - line)) + 1;
      const char* value_end = value;
      while (value_end < line_end && *value_end != '=') ++value_end;
      char* answer = Answer(value, static_cast<size_t>(value_end - value));
      ORBA_LOGI("%s=%s", key, answer);
      return answer;
    }
    if (newline == nullptr) break;
    line = newline + 1;
  }
  return Answer("0", 1);
}
