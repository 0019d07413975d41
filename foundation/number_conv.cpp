// Number parsing for AT arguments, sysfs values and NV fields. Each parser has its own
// tolerance for junk; callers were written against exactly these rules.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <orbafactory/foundation.h>
#include <platform/log.h>

namespace {

constexpr size_t kNumberBufferSize = 92;
char g_itof_buffer[kNumberBufferSize];

bool IsHexDigit(char c) {
  return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

}  // namespace

extern "C" {

int hex2Dec(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return 0;
}

unsigned long atolhex(const char* s, int n) {
  if (s == nullptr || n < 1) return 0;
  unsigned long v = 0;
  bool ended = false;
  for (int i = 0; i < n; ++i) {
    // Past the terminator the remaining places count as zero digits instead of being read.
    ended = ended || s[i] == '\0';
    v = (v << 4) | static_cast<unsigned long>(ended ? 0 : hex2Dec(s[i]));
  }
  return v;
}

int charToDec(const char* s) {
  if (s == nullptr) return 0;
  unsigned v = 0;  // wraps like the historical int arithmetic, without undefined overflow
  if (s[0] == '0' && s[1] == 'x') {
    for (const char* p = s + 2; IsHexDigit(*p); ++p) v = v * 16 + static_cast<unsigned>(hex2Dec(*p));
    return static_cast<int>(v);
  }
  bool negative = *s == '-';
  if (negative) ++s;
  for (; *s >= '0' && *s <= '9'; ++s) v = v * 10 + static_cast<unsigned>(*s - '0');
  return static_cast<int>(negative ? 0u - v : v);
}

int GetDEC_Value(const char* s, char stop) {
  if (s == nullptr) return 0;
  const char* p = s;
  // The terminator ends the search too: a string with neither a digit nor `stop` gives 0
  // instead of reading past its end.
  while (!(*p >= '0' && *p <= '9')) {
    if (*p == stop || *p == '\0') return 0;
    ++p;
  }
  bool negative = p > s && p[-1] == '-';
  unsigned v = 0;
  for (; *p >= '0' && *p <= '9'; ++p) v = v * 10 + static_cast<unsigned>(*p - '0');
  return static_cast<int>(negative ? 0u - v : v);
}

int get_int_from_char(char c) {
  char text[2] = {c, '\0'};
  return atoi(text);
}

int get_esbp_value(const char* s) {
  if (s == nullptr || strnlen(s, 10) < 10) return 0;
  return get_int_from_char(s[9]);
}

int getHexToBinaryBit(const char* hex, int bit) {
  int num = hex != nullptr ? static_cast<int>(strtol(hex, nullptr, 16)) : 0;
  int result = 0;
  if (bit >= 0 && bit < 32) {
    // Arithmetic shift of the masked value: bit 31 set reads as -1, as callers expect.
    int masked = static_cast<int>(static_cast<unsigned>(num) & (1u << bit));
    result = masked >> bit;
  }
  ORBA_LOGI("%d,%d,%d", num, bit, result);
  return result;
}

char* itof(double x) {
  snprintf(g_itof_buffer, sizeof(g_itof_buffer), "%f", x);
  ORBA_LOGD("num = %f, buffer = %s", x, g_itof_buffer);
  return g_itof_buffer;
}

}  // extern "C"
