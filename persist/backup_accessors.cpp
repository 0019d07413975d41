// Single fields of the XOLE NV record: serial number, theme colour, PCB code and the
// engineer-mode flag. Each setter holds the record's range lock from its get to its put, so a
// put by another process cannot slip in between and be overwritten with stale fields.

#include <stdio.h>
#include <string.h>

#include <orbafactory/persist.h>
#include <platform/log.h>

#include "backup_record.h"
#include "backup_record_lock.h"

using namespace orba::persist;

namespace {

constexpr size_t kSnLength = 15;
constexpr size_t kPcbInputMax = 59;
constexpr size_t kPcbCodeMax = 20;
constexpr size_t kPcbCodeMin = 3;

// A text field up to its first NUL, never beyond its width.
void FieldText(const unsigned char* record, size_t offset, size_t width, char* out) {
  size_t n = 0;
  while (n < width && record[offset + n] != '\0') ++n;
  memcpy(out, record + offset, n);
  out[n] = '\0';
}

// strncpy's contract (callers give zero-filled buffers; a text that fills n has no terminator),
// written out so the compiler does not second-guess the deliberate truncation.
void CopyText(char* dst, const char* src, size_t n) {
  size_t i = 0;
  for (; i < n && src[i] != '\0'; ++i) dst[i] = src[i];
  for (; i < n; ++i) dst[i] = '\0';
}

// The PCB code of the record, or false when the record cannot be read or the code is too short.
bool ReadPcbCode(char code[kPcbSize + 1]) {
  unsigned char record[kXoleNvSize] = {};
  if (get_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("get_XOLE_NV_item(&xole_nvram) failed");
    return false;
  }
  FieldText(record, kPcbOffset, kPcbSize, code);
  return strlen(code) >= kPcbCodeMin;
}

}  // namespace

extern "C" {

ORBA_EXPORT int set_sn_to_backup(const char* sn) {
  if (sn == nullptr || strlen(sn) <= 10) {
    ORBA_LOGE("sn_code is incorrect!!");
    return -1;
  }
  XoleNvLock range_lock;
  unsigned char record[kXoleNvSize] = {};
  if (get_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("get_XOLE_NV_item(&xole_nvram) failed");
    return -1;
  }
  snprintf(reinterpret_cast<char*>(record + kSnOffset), kSnSize, "%s", sn);
  if (put_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("set sn to backup error!");
    return -1;
  }
  return 0;
}

ORBA_EXPORT int get_sn_from_backup(char* out) {
  unsigned char record[kXoleNvSize] = {};
  if (get_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("get_XOLE_NV_item(&xole_nvram) failed");
    return -1;
  }
  if (record[kSnOffset] == 0xFF) {
    ORBA_LOGE("sn_code not initialized!");
    return -1;
  }
  char sn[kSnSize];
  FieldText(record, kSnOffset, kSnSize - 1, sn);
  if (strlen(sn) != kSnLength || out == nullptr) return -1;
  memcpy(out, sn, kSnLength + 1);
  return 0;
}

ORBA_EXPORT int set_theme_color_to_backup(const char* colour) {
  if (colour == nullptr) {
    ORBA_LOGE("theme_color is incorrect!!");
    return -1;
  }
  XoleNvLock range_lock;
  unsigned char record[kXoleNvSize] = {};
  if (get_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("get_XOLE_NV_item(&xole_nvram) failed");
    return -1;
  }
  snprintf(reinterpret_cast<char*>(record + kThemeColorOffset), kThemeColorSize, "%s", colour);
  if (put_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("set theme_color to backup error!");
    return -1;
  }
  return 0;
}

ORBA_EXPORT int get_theme_color_from_backup(char* out) {
  unsigned char record[kXoleNvSize] = {};
  if (get_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("get_XOLE_NV_item(&xole_nvram) failed");
    return -1;
  }
  if (out == nullptr) return -1;
  CopyText(out, reinterpret_cast<const char*>(record + kThemeColorOffset), kThemeColorSize);
  return 0;
}

ORBA_EXPORT int set_pcb_to_backup(const char* code) {
  XoleNvLock range_lock;
  unsigned char record[kXoleNvSize] = {};
  if (get_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("get_XOLE_NV_item fail");
    return -1;
  }
  char input[kPcbInputMax + 1] = {};
  if (code != nullptr) CopyText(input, code, kPcbInputMax);
  ORBA_LOGD("code: %s", input);

  // An AT argument carries the code between double quotes.
  const char* text = input;
  if (char* open = strchr(input, '"')) {
    char* close = strchr(open + 1, '"');
    if (close == nullptr) {
      ORBA_LOGE("parse error");
      return -1;
    }
    *close = '\0';
    text = open + 1;
    ORBA_LOGD("quote:%s", text);
  }
  if (strlen(text) <= 1) {
    ORBA_LOGE("small");
    return -1;
  }
  char cut[kPcbCodeMax + 1] = {};
  CopyText(cut, text, kPcbCodeMax);
  snprintf(reinterpret_cast<char*>(record + kPcbOffset), kPcbSize, "%s", cut);
  if (put_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("put_XOLE_NV_item fail");
    return -1;
  }
  return 0;
}

ORBA_EXPORT int get_pcb_from_backup(char* out) {
  char code[kPcbSize + 1];
  if (!ReadPcbCode(code) || out == nullptr) return -1;
  sprintf(out, "+EGMR:\"%s\"", code);
  return 0;
}

ORBA_EXPORT int get_pcb(char* out) {
  char code[kPcbSize + 1];
  if (!ReadPcbCode(code) || out == nullptr) return -1;
  strcpy(out, code);
  return 0;
}

ORBA_EXPORT int backup_orba_em_mode_flag(int enable) {
  ORBA_LOGD("enable = %d", enable);
  XoleNvLock range_lock;
  unsigned char record[kXoleNvSize] = {};
  if (get_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("get_XOLE_NV_item(&xole_nvram) failed");
    return -1;
  }
  uint32_t flag = static_cast<uint32_t>(GetInt32(record, kUefiFactoryFlagOffset)) & ~kEmModeMask;
  if (enable) {
    flag |= kEmModeEnabled;
  } else {
    record[kEmAuthorizedOffset] = 'n';
  }
  PutInt32(record, kUefiFactoryFlagOffset, static_cast<int32_t>(flag));
  if (put_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("put_XOLE_NV_item(&xole_nvram) failed");
    return -1;
  }
  return 0;
}

ORBA_EXPORT int is_orba_em_mode_from_backup(void) {
  unsigned char record[kXoleNvSize] = {};
  if (get_XOLE_NV_item(record) != 0) {
    // Fail open: a phone whose record cannot be read stays serviceable in engineer mode.
    ORBA_LOGE("get_XOLE_NV_item(&xole_nvram) failed");
    return 1;
  }
  const uint32_t flag = static_cast<uint32_t>(GetInt32(record, kUefiFactoryFlagOffset));
  ORBA_LOGD("uefi_orba_factory_flag = %x", flag);
  if (flag & kEmModeEnabled) {
    ORBA_LOGD("true");
    return 1;
  }
  ORBA_LOGD("false");
  return 0;
}

}  // extern "C"
