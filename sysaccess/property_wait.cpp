// Reading, setting and waiting for system properties with the caller's own rights.

#include <cutils/properties.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/system_properties.h>
#include <time.h>

#include <orbafactory/sysaccess.h>
#include <platform/log.h>

namespace {

struct CopyRequest {
  char* value;
  int len;
  const char* default_value;
};

// Copies a terminated text into a buffer of len bytes without passing its end. A correct caller
// never needs the bound; it keeps a default longer than the buffer from overrunning it.
void CopyBounded(char* dst, int len, const char* src) {
  size_t n = strlen(src);
  if (n > static_cast<size_t>(len) - 1) n = static_cast<size_t>(len) - 1;
  memcpy(dst, src, n);
  dst[n] = '\0';
}

void CopyValueOrDefault(void* cookie, const char* /*name*/, const char* value,
                        uint32_t /*serial*/) {
  auto* req = static_cast<CopyRequest*>(cookie);
  // An over-long value is replaced by the default rather than cut.
  CopyBounded(req->value, req->len,
              strlen(value) < static_cast<size_t>(req->len) ? value : req->default_value);
}

int64_t NowMs() {
  timespec ts;
  clock_gettime(CLOCK_REALTIME, &ts);
  return static_cast<int64_t>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

// The time left until the deadline, or false when it has passed.
bool Remaining(int64_t deadline_ms, timespec* left) {
  int64_t ms = deadline_ms - NowMs();
  if (ms <= 0) return false;
  left->tv_sec = static_cast<time_t>(ms / 1000);
  left->tv_nsec = static_cast<long>((ms % 1000) * 1000000);
  return true;
}

struct CompareRequest {
  const char* expected;
  bool equal;
};

void CompareValue(void* cookie, const char* /*name*/, const char* value, uint32_t /*serial*/) {
  auto* req = static_cast<CompareRequest*>(cookie);
  req->equal = strcmp(value, req->expected) == 0;
  if (req->equal) {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, "wait_for_property", "wait ok. expected:%s value:%s",
                req->expected, value);
  } else {
    ORBA_LOG_AS(ANDROID_LOG_ERROR, "wait_for_property", "value not equal. expected:%s value:%s",
                req->expected, value);
  }
}

}  // namespace

extern "C" ORBA_EXPORT int get_property_with_len(const char* name, char* value, int len,
                                                 const char* default_value) {
  if (len < 1 || name == nullptr || value == nullptr || default_value == nullptr) return -1;
  const prop_info* pi = __system_property_find(name);
  if (pi == nullptr) {
    // strncpy's zero fill, but a default that fills the buffer is cut one byte short so the
    // value always reads as a string (orbaatcmd_get_system_property hands its 92-byte buffer
    // here when the service is away).
    strncpy(value, default_value, static_cast<size_t>(len));
    value[len - 1] = '\0';
    return 0;
  }
  CopyRequest req{value, len, default_value};
  __system_property_read_callback(pi, CopyValueOrDefault, &req);
  return 0;
}

extern "C" ORBA_EXPORT int wait_for_property(const char* name, const char* expected,
                                             int timeout_ms) {
  if (name == nullptr || expected == nullptr) {
    ORBA_LOGE("name or expected value is null");
    return 0;
  }
  const int64_t deadline = NowMs() + (timeout_ms > 0 ? timeout_ms : 0);
  timespec left;
  const prop_info* pi = __system_property_find(name);
  while (pi == nullptr) {
    if (!Remaining(deadline, &left)) return 0;
    uint32_t area_serial = __system_property_area_serial();
    // Re-check after taking the serial so a property added in between is not missed.
    pi = __system_property_find(name);
    if (pi != nullptr) break;
    __system_property_wait(nullptr, area_serial, &area_serial, &left);
    pi = __system_property_find(name);
  }
  for (;;) {
    uint32_t serial = __system_property_serial(pi);
    CompareRequest req{expected, false};
    __system_property_read_callback(pi, CompareValue, &req);
    if (req.equal) return 1;
    if (!Remaining(deadline, &left)) return 0;
    __system_property_wait(pi, serial, &serial, &left);
  }
}

extern "C" ORBA_EXPORT int property_set_args(const char* name, const char* fmt, ...) {
  if (name == nullptr || fmt == nullptr) {
    ORBA_LOGE("name or format is null");
    return -1;
  }
  char buffer[PROPERTY_VALUE_MAX];
  va_list ap;
  va_start(ap, fmt);
  int n = vsnprintf(buffer, sizeof(buffer), fmt, ap);
  va_end(ap);
  if (n < 0 || static_cast<size_t>(n) >= sizeof(buffer)) {
    ORBA_LOGE("value too long for %s", name);
    return -1;
  }
  ORBA_LOGE("buffer = %s", buffer);
  return property_set(name, buffer);
}
