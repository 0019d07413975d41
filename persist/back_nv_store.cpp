// The back-NV record as a whole: get with its one repair, put with the text file.

#include <errno.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>

#include <orbafactory/persist.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "back_nv_record.h"
#include "backup_record.h"
#include "backup_record_lock.h"
#include "text_view.h"

using namespace orba::persist;

namespace {

constexpr const char kTextPath[] = "/data/vendor/engineermode/back_nv_item";

// Back-NV puts have their own lock, apart from backup_mutex: the two records never share a slot.
pthread_mutex_t back_nv_mutex = PTHREAD_MUTEX_INITIALIZER;

void WriteTextFile(const unsigned char* r) {
  char version[33] = {};
  memcpy(version, r + 52, 32);
  char text[2048];
  const int len = snprintf(
      text, sizeof(text),
      "ps_cali_data_b=%d\r\nps_cali_flag_b=%d\r\nps_cali_offset_b=%d\r\n"
      "ps_cali_data_short_b=%d\r\nals_cali_data_b=%d\r\nals_cali_flag_b=%d\r\n"
      "als_cali_ver_b=%s\r\ncct_cali_data_b=%f\r\nps_cali_data_low=%d\r\n"
      "ps_cali_flag_low=%d\r\nps_cali_offset_low=%d\r\nps_cali_data_short_low=%d\r\n"
      "als_cali_data_back=%d\r\nals_cali_flag_back=%d\r\ncct_data_lux1_back=%d\r\n"
      "light_sensor_leak_cali_factor_k1_back=%.2f\r\n"
      "light_sensor_leak_offset_value_back=%.2f\r\nlight_sensor_leak_cali_flag_back=%d\r\n",
      GetInt32(r, 16), GetInt32(r, 20), GetInt32(r, 24), GetInt32(r, 28), GetInt32(r, 44),
      GetInt32(r, 48), version, static_cast<double>(GetFloat32(r, 84)), GetInt32(r, 100),
      GetInt32(r, 104), GetInt32(r, 108), GetInt32(r, 112), GetInt32(r, 128), GetInt32(r, 132),
      GetInt32(r, 136), static_cast<double>(GetFloat32(r, 140)),
      static_cast<double>(GetFloat32(r, 144)), GetInt32(r, 148));
  // Floats print at most ~50 characters: the view always fits.
  if (len > 0 && static_cast<size_t>(len) < sizeof(text)) {
    ReplaceTextView(kTextPath, text, static_cast<size_t>(len));
  }
}

}  // namespace

extern "C" {

ORBA_EXPORT int get_back_nv_item(uint8_t* record) {
  if (record == nullptr) {
    ORBA_LOGE("read_back_nv failed");
    return -1;
  }
  BackNvLock range_lock;
  const int first = read_back_nv(record, 0);
  if (first == 1) return 0;
  if (first == 0) {
    ORBA_LOGE("read_back_nv failed");
    return -1;
  }
  const int second = read_back_nv(record, 1);
  if (second == 0) {
    ORBA_LOGE("read_back_nv failed");
    return -1;
  }
  if (second == 1) {
    write_back_nv(record, 0);
    return 0;
  }
  // Neither copy holds: the caller starts from zeros, and nothing is stored until it puts.
  memset(record, 0, kBackNvSize);
  return 0;
}

ORBA_EXPORT int put_back_nv_item(uint8_t* record) {
  if (record == nullptr) {
    ORBA_LOGE("write xole nv to backup failed");
    return -ENOENT;
  }
  BackNvLock range_lock;
  const bool locked = pthread_mutex_lock(&back_nv_mutex) == 0;
  if (!locked) ORBA_LOGE("put xole nv to backup pthread_mutex_lock ERROR!");
  if (write_back_nv(record, 0) == 0) {
    ORBA_LOGE("write xole nv to backup failed");
    if (locked) pthread_mutex_unlock(&back_nv_mutex);
    return -ENOENT;
  }
  write_back_nv(record, 1);
  WriteTextFile(record);
  if (locked) pthread_mutex_unlock(&back_nv_mutex);
  return 0;
}

}  // extern "C"
