// Character-class and range checks for AT-command arguments and values read from the device.

#include <string.h>

#include <orbafactory/foundation.h>
#include <platform/log.h>

namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsUpperHex(char c) { return IsDigit(c) || (c >= 'A' && c <= 'F'); }
bool IsAnyHex(char c) { return IsUpperHex(c) || (c >= 'a' && c <= 'f'); }

// The shared check: the first offender is logged in the name of the function that owns the rule
// (is_Int reports as isDigitValue, the check it is built on).
int AllOf(const char* s, bool (*accept)(char), const char* owner) {
  if (s == nullptr) return 0;
  for (int i = 0; s[i] != '\0'; ++i) {
    if (!accept(s[i])) {
      ORBA_LOG_AS(ANDROID_LOG_DEBUG, owner, "value[%d]:%c", i, s[i]);
      return 0;
    }
  }
  return 1;
}

}  // namespace

extern "C" {

int isDigitValue(const char* s) { return AllOf(s, IsDigit, "isDigitValue"); }

int is_Int(const char* s) {
  // A null pointer and a lone "-" pass: long-standing callers rely on both.
  if (s == nullptr) return 1;
  if (*s == '-') ++s;
  return AllOf(s, IsDigit, "isDigitValue");
}

int isHexValue(const char* s) { return AllOf(s, IsUpperHex, __func__); }

int isNHexValue(const char* s) { return AllOf(s, IsAnyHex, __func__); }

int is_in_scope(const char* msg, int v, int lo, int hi) {
  if (lo < v && v < hi) return 1;
  ORBA_LOGD("out of scope: msg = %s : data = %d, lower_limit = %d, upper_limit = %d", msg, v, lo,
            hi);
  return 0;
}

int is_in_scope_d(const char* msg, double v, double lo, double hi) {
  if (lo < v && v < hi) return 1;
  ORBA_LOGD("out of scope: msg = %s : data = %.2f, lower_limit = %.2f, upper_limit = %.2f", msg, v,
            lo, hi);
  return 0;
}

}  // extern "C"
