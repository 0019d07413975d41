// Ambient-light colour calibration: the station measures the five channel responses (c, r, g,
// b, w) behind the cover glass and sends them in one AT line. They are kept in the factory
// record, which survives a reset, and published as properties for the sensor service.
//
// -1.0 marks a channel the line did not fill. A channel that really measured -1.0 is refused
// with it: no sensor reports a negative response, so the sentinel cannot hide a good line.

#include <stdint.h>
#include <stdlib.h>
#include <string.h>

#include <cutils/properties.h>

#include <orbafactory/foundation.h>
#include <orbafactory/persist.h>
#include <orbafactory/sensors.h>
#include <platform/log.h>

namespace {

constexpr int kStored = 7;
constexpr int kUnparsable = 9;
constexpr int kRecordFailed = 4;
constexpr float kUnset = -1.0f;
constexpr int kChannels = 5;
constexpr size_t kTokenSize = 40;

struct AlsSet {
  size_t prefix;            // characters of the AT command before the values
  size_t offset;            // c, r, g, b, w, then the written flag, as float32 in the record
  const char* properties[kChannels];
  const char* written;
};

const AlsSet kOrdinary = {16,
                          732,
                          {"persist.sys.metal_data.c", "persist.sys.metal_data.r",
                           "persist.sys.metal_data.g", "persist.sys.metal_data.b",
                           "persist.sys.metal_data.w"},
                          "persist.sys.metal_data_written"};
const AlsSet kMultispectral = {18,
                               1392,
                               {"persist.sys.mscct.metal_data.c", "persist.sys.mscct.metal_data.r",
                                "persist.sys.mscct.metal_data.g", "persist.sys.mscct.metal_data.b",
                                "persist.sys.mscct.metal_data.w"},
                               "persist.sys.mscct.metal_data_written"};

// c, r, g and b end at a ";"; whatever follows b, separators included, is w's token.
void ParseValues(const char* text, float (&values)[kChannels]) {
  for (float& v : values) v = kUnset;
  char token[kTokenSize] = {};
  size_t len = 0;
  int next = 0;
  for (const char* p = text; *p != '\0'; ++p) {
    if (*p == ';' && next < kChannels - 1) {
      values[next++] = static_cast<float>(atof(token));
      memset(token, 0, sizeof(token));
      len = 0;
      continue;
    }
    // The token buffer is fixed; characters past it cannot change atof's leading number.
    if (len + 1 < kTokenSize) token[len++] = *p;
  }
  if (len > 0) values[kChannels - 1] = static_cast<float>(atof(token));
}

bool Store(const AlsSet& set, const float (&values)[kChannels]) {
  uint8_t record[XOLE_NV_ITEM_SIZE] = {};
  if (get_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("als_cct_parse_rgbcw Read backup fail\r\n");
    return false;
  }
  const float written = 1.0f;
  memcpy(record + set.offset, values, sizeof(values));
  memcpy(record + set.offset + sizeof(values), &written, sizeof(written));
  if (put_XOLE_NV_item(record) != 0) {
    ORBA_LOGE("als_cct_parse_rgbcw put xole_nv from backup fail\r\n");
    return false;
  }
  return true;
}

}  // namespace

extern "C" int als_cct_parse_rgbcw(const char* cmdline, int type) {
  ORBA_LOGD("als_cct_parse_rgbcw test type=%d\r\n", type);
  const AlsSet& set = type == 0 ? kOrdinary : kMultispectral;
  if (cmdline == nullptr || strlen(cmdline) <= set.prefix) {
    ORBA_LOGE("als_cct_parse_rgbcw parse cmdline is too short\r\n");
    return kUnparsable;
  }
  float v[kChannels];
  ParseValues(cmdline + set.prefix, v);
  ORBA_LOGD("als_cct_parse_rgbcw result  c r g b w %.2f %.2f %.2f %.2f %.2f \r\n", v[0], v[1],
            v[2], v[3], v[4]);
  for (float value : v) {
    if (value == kUnset) {
      ORBA_LOGE("als_cct_parse_rgbcw parse error c r g b w %f %f %f %f %f \r\n", v[0], v[1], v[2],
                v[3], v[4]);
      return kUnparsable;
    }
  }
  if (!Store(set, v)) return kRecordFailed;
  for (int i = 0; i < kChannels; ++i) property_set(set.properties[i], itof(v[i]));
  property_set(set.written, "1");
  return kStored;
}
