// Hexadecimal text to bytes and back, for AT arguments and responses. The converters differ in
// what they accept (case, junk, odd digits); each keeps the rules its callers were written for.

#include <stdio.h>
#include <string.h>

#include <orbafactory/foundation.h>
#include <platform/log.h>

namespace {

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

extern "C" {

int str_to_hex(unsigned char* dst, const char* src, int dst_len) {
  if (dst == nullptr || src == nullptr) {
    log_em_check_val_err(ORBA_MODULE_ENGINEER_MODE, __func__, __LINE__, nullptr,
                         "src or dest is null.");
    return -1;
  }
  int len = static_cast<int>(strlen(src));
  if (len % 2 != 0 || len / 2 > dst_len) {
    log_em_check_val_err(ORBA_MODULE_ENGINEER_MODE, __func__, __LINE__, nullptr,
                         "src str len error:%d", len);
    return -1;
  }
  int n = 0;
  for (int i = 0; i < len; i += 2) {
    int hi = HexValue(src[i]);
    if (hi < 0) {
      log_em_check_val_err(ORBA_MODULE_ENGINEER_MODE, __func__, __LINE__, nullptr,
                           "char not a hex:%c", src[i]);
      return -1;
    }
    int lo = HexValue(src[i + 1]);
    if (lo < 0) {
      log_em_check_val_err(ORBA_MODULE_ENGINEER_MODE, __func__, __LINE__, nullptr,
                           "char not a hex:%c", src[i + 1]);
      return -1;
    }
    dst[n] = static_cast<unsigned char>((hi << 4) | lo);
    ORBA_LOGD("test:%02x", dst[n]);
    ++n;
  }
  return n;
}

int hex2Ascii(const char* hex, unsigned char* out) {
  if (hex == nullptr || out == nullptr) return 0;
  int n = 0;
  bool high_done = false;
  for (const char* p = hex; *p != '\0'; ++p) {
    int v = HexValue(*p);
    if (v < 0) continue;
    if (!high_done) {
      out[n] = static_cast<unsigned char>(v << 4);  // an odd last digit stays here, uncounted
    } else {
      out[n] = static_cast<unsigned char>(out[n] | v);
      ++n;
    }
    high_done = !high_done;
  }
  return n;
}

int hex_to_byte(const char* hex, unsigned char* out) {
  if (hex == nullptr || out == nullptr) return 0;
  // Only upper-case letters are digits here; anything else is taken as (code - '0').
  auto nibble = [](char c) { return (c >= 'A' && c <= 'F') ? c - 'A' + 10 : c - '0'; };
  int n = 0;
  for (const char* p = hex; p[0] != '\0' && p[1] != '\0'; p += 2) {
    out[n++] = static_cast<unsigned char>((nibble(p[0]) << 4) | (nibble(p[1]) & 0x0F));
  }
  return n;
}

const char* char_to_hex(const char* src, unsigned char* dst, int n) {
  if (src == nullptr || dst == nullptr) return src;
  for (int i = 0; i < n; ++i) {
    unsigned hi = static_cast<unsigned char>(src[2 * i]);
    unsigned lo = static_cast<unsigned char>(src[2 * i + 1]);
    dst[i] = static_cast<unsigned char>((hi << 4) | (lo & 0x0F));
  }
  return src;
}

int byte_to_hex(const unsigned char* in, char* out, int n) {
  if (out == nullptr) return 0;
  out[0] = '\0';
  if (in == nullptr) return 0;
  for (int i = 0; i < n; ++i) sprintf(out + 2 * i, "%02X", in[i]);
  return 0;
}

int hexToAscii(const unsigned char* in, char* dst, int n) {
  if (in == nullptr || dst == nullptr) return 0;
  char* end = dst + strlen(dst);
  for (int i = 0; i < n; ++i) end += sprintf(end, "%02x", in[i]);
  return 0;
}

void str2hstr(const char* s, char* dst) {
  if (s == nullptr || dst == nullptr) return;
  size_t pos = 0;
  char digits[4];
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(s); *p != '\0'; ++p) {
    int len = snprintf(digits, sizeof(digits), "%X", *p);
    memcpy(dst + pos, digits, static_cast<size_t>(len));  // no terminator: dst comes zero-filled
    pos += static_cast<size_t>(len);
  }
}

}  // extern "C"
