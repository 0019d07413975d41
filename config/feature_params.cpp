// Bracketed parameter lists inside feature values: "front[1,2]" or "I[1,2];II[3]".

#include <string.h>

#include <orbafactory/config.h>
#include <platform/log.h>

extern "C" ORBA_EXPORT int parse_parameters(char* text, const char* key, char* dst, int size) {
  if (text == nullptr || key == nullptr || dst == nullptr || size < 0) {
    ORBA_LOGD("pars error %s:%s", text != nullptr ? text : "(null)",
              key != nullptr ? key : "(null)");
    return -1;
  }
  // A plain substring: key "I" also finds the start of "II[...]"; callers order their values
  // with that in mind.
  const char* at = strstr(text, key);
  if (at == nullptr) {
    ORBA_LOGD("not found %s:%s", text, key);
    return -1;
  }
  const char* open = strchr(at, '[');
  const char* close = strchr(at, ']');
  if (open == nullptr || close == nullptr || close - open < 2) {
    ORBA_LOGD("pars error %s:%s", text, key);
    return -1;
  }
  memset(dst, 0, static_cast<size_t>(size));
  size_t distance = static_cast<size_t>(close - open);
  // A list that does not fit fills dst whole, without a terminator.
  size_t n = distance < static_cast<size_t>(size) ? distance - 1 : static_cast<size_t>(size);
  memcpy(dst, open + 1, n);
  return 0;
}
