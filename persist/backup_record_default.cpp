// The built-in default record and little-endian field access.

#include <string.h>

#include "backup_record.h"

namespace orba::persist {

int32_t GetInt32(const unsigned char* r, size_t offset) {
  const unsigned char* p = r + offset;
  return static_cast<int32_t>(uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 |
                              uint32_t{p[3]} << 24);
}

void PutInt32(unsigned char* r, size_t offset, int32_t value) {
  const uint32_t v = static_cast<uint32_t>(value);
  for (int i = 0; i < 4; ++i) r[offset + i] = static_cast<unsigned char>(v >> (8 * i));
}

float GetFloat32(const unsigned char* r, size_t offset) {
  const uint32_t bits = static_cast<uint32_t>(GetInt32(r, offset));
  float f;
  memcpy(&f, &bits, sizeof(f));
  return f;
}

void PutFloat32(unsigned char* r, size_t offset, float value) {
  uint32_t bits;
  memcpy(&bits, &value, sizeof(bits));
  PutInt32(r, offset, static_cast<int32_t>(bits));
}

namespace {

void PutInt(unsigned char* r, size_t offset, int32_t value) { PutInt32(r, offset, value); }
void PutFloat(unsigned char* r, size_t offset, float value) { PutFloat32(r, offset, value); }
void PutText(unsigned char* r, size_t offset, const char* text) {
  memcpy(r + offset, text, strlen(text));
}

struct DefaultRecord {
  unsigned char bytes[kXoleNvSize] = {};
  DefaultRecord() {
    unsigned char* r = bytes;
    // Fields shown in the text dump.
    PutInt(r, 8, 255);
    PutText(r, 16, "xole");
    PutInt(r, 68, 65535);
    PutInt(r, 484, 65535);
    PutInt(r, 72, 500);
    r[240] = 0x01;
    PutText(r, 244, "N");
    PutInt(r, 260, 2);
    PutText(r, 288, "alsxole");
    PutInt(r, 320, 1);
    PutInt(r, 388, -1);
    PutText(r, 540, "V00");
    PutText(r, 544, "N");
    PutFloat(r, 668, 1.0f);
    PutInt(r, 684, -1);
    PutFloat(r, 780, -1.0f);
    PutFloat(r, 1440, -1.0f);
    PutInt(r, 1008, 1);
    PutInt(r, 1276, 100);
    r[1280] = 'n';
    PutText(r, 1356, "DYNN");
    PutInt(r, 1532, 40);
    PutFloat(r, 1552, 1.0f);
    r[1588] = 'n';
    PutInt(r, 1580, -1);
    PutInt(r, 1584, -1);
    // Areas the dump does not show, which other test steps read.
    PutInt(r, 264, 2013);
    PutText(r, kThemeColorOffset, "N");
    PutInt(r, 664, 48);
    PutFloat(r, 800, -1.0f);
  }
};

}  // namespace

const unsigned char* DefaultXoleNv() {
  static const DefaultRecord record;
  return record.bytes;
}

}  // namespace orba::persist
