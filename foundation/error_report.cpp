// Error reports for hardware modules. A report line carries the thread id and module name
// instead of the usual "<line>:<function>(): " prefix, so the station log can tell concurrent
// test threads apart; the caller's func/line are accepted for the interface and left out.

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <orbafactory/foundation.h>
#include <platform/log.h>

namespace {

const char* const kModuleNames[] = {
    "ENGINEER_MODE", "AUDIO", "CAMERA", "POWER", "SOC", "SENSOR",
    "LCM", "WIFI", "NFC", "BT", "UWB", "SOFTWARE",
};

constexpr size_t kMessageMax = 1024;

// Read and written without a lock: a late view of the switch is harmless for diagnostics.
volatile unsigned char g_debug_log = 0;

const char* ModuleName(int module) { return kModuleNames[module]; }

}  // namespace

extern "C" {

int log_em_call_err(int module, const char* func, int line, int ret, char* err_out) {
  (void)func;
  (void)line;
  // The report line keeps a leading slot that is always empty, so it starts with "TID:".
  char prefix[64] = {};
  const char* name = ModuleName(module);
  if (err_out != nullptr) sprintf(err_out, "%s error. call module function fail. ret:%d", name, ret);
  return __android_log_print(ANDROID_LOG_ERROR, ORBA_LOG_TAG,
                             "%sTID:%d MODULE:%s error. call module function fail. ret:%d", prefix,
                             gettid(), name, ret);
}

int log_em_system_api_err(int module, const char* func, int line, const char* api,
                          const char* arg, char* err_out) {
  (void)func;
  (void)line;
  if (api == nullptr) return 0;
  const char* reason = strerror(errno);
  char prefix[64] = {};
  const char* name = ModuleName(module);
  if (arg != nullptr) {
    // The buffer text has no "fail" while the log line has: stations parse the buffer as is.
    if (err_out != nullptr) sprintf(err_out, "%s error. %s %s. reason:%s", name, api, arg, reason);
    return __android_log_print(ANDROID_LOG_ERROR, ORBA_LOG_TAG,
                               "%sTID:%d MODULE:%s error. %s %s fail. reason:%s", prefix, gettid(),
                               name, api, arg, reason);
  }
  if (err_out != nullptr) sprintf(err_out, "%s error. call %s fail. reason:%s", name, api, reason);
  return __android_log_print(ANDROID_LOG_ERROR, ORBA_LOG_TAG,
                             "%sTID:%d MODULE:%s error. call %s fail. reason:%s", prefix, gettid(),
                             name, api, reason);
}

int log_em_check_val_err(int module, const char* func, int line, char* err_out, const char* fmt,
                         ...) {
  (void)func;
  (void)line;
  char message[kMessageMax] = {};
  va_list ap;
  va_start(ap, fmt);
  vsnprintf(message, sizeof(message), fmt, ap);
  va_end(ap);
  char prefix[64] = {};
  if (err_out != nullptr) sprintf(err_out, "%s", message);
  return __android_log_print(ANDROID_LOG_ERROR, ORBA_LOG_TAG, "%sTID:%d MODULE:%s %s", prefix,
                             gettid(), ModuleName(module), message);
}

int log_em_module(int level, int module, const char* func, int line, const char* fmt, ...) {
  // Only the formatted message is reported: the module, function and line are not part of it.
  (void)module;
  (void)func;
  (void)line;
  char message[kMessageMax] = {};
  va_list ap;
  va_start(ap, fmt);
  int ret = vsnprintf(message, sizeof(message), fmt, ap);
  va_end(ap);
  int prio;
  switch (level) {
    case ORBA_EM_LEVEL_ERROR:
      prio = ANDROID_LOG_ERROR;
      break;
    case ORBA_EM_LEVEL_INFO:
      prio = ANDROID_LOG_INFO;
      break;
    case ORBA_EM_LEVEL_DEBUG:
      if (g_debug_log != 1) return ret;
      prio = ANDROID_LOG_DEBUG;
      break;
    default:
      return ret;
  }
  return __android_log_print(prio, ORBA_LOG_TAG, "TID:%d MODULE:%s", gettid(), message);
}

void enable_debug_log(void) { g_debug_log = 1; }

void disable_debug_log(void) { g_debug_log = 0; }

}  // extern "C"
