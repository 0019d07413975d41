// The one process-wide reporter for parser messages.

#include "iniparser_error.h"

#include <stdarg.h>
#include <stdio.h>

#include <atomic>

namespace orba::ini {

namespace {

int default_error_callback(const char* format, ...) {
  va_list args;
  va_start(args, format);
  int written = vfprintf(stderr, format, args);
  va_end(args);
  return written;
}

// Atomic so that a thread installing a reporter never hands another a torn pointer.
std::atomic<ErrorCallback> g_error_callback{default_error_callback};

}  // namespace

void SetErrorCallback(ErrorCallback callback) {
  g_error_callback.store(callback != nullptr ? callback : default_error_callback);
}

ErrorCallback CurrentErrorCallback() { return g_error_callback.load(); }

}  // namespace orba::ini
