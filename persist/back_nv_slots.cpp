// The back-NV record, one slot at a time. Its digest sits in front and covers the whole rest of
// the 2048-byte slot, padding included, so a slot write cut off anywhere fails verification.

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <orbafactory/persist.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "../digest/digest_internal.h"
#include "back_nv_record.h"
#include "backup_record.h"

using namespace orba::persist;

namespace {

off_t SlotOffset(int slot) { return kBackNvSlotOffset[slot != 0 ? 1 : 0]; }

void DigestSlot(const unsigned char* image, unsigned char out[kBackNvDigestSize]) {
  orba::digest::Md5(image + kBackNvDigestSize, kBackNvSlotSize - kBackNvDigestSize, out);
}

}  // namespace

extern "C" {

ORBA_EXPORT void dump_back_nv(uint8_t* record) {
  if (record == nullptr) return;
  char version[33] = {};
  memcpy(version, record + 52, 32);
  ORBA_LOGD("==dump start==\n");
  ORBA_LOGD("nv_item->ps_cali_data: %d\n", GetInt32(record, 16));
  ORBA_LOGD("nv_item->ps_cali_flag: %d\n", GetInt32(record, 20));
  ORBA_LOGD("nv_item->ps_cali_offset: %d\n", GetInt32(record, 24));
  ORBA_LOGD("nv_item->ps_cali_data_short: %d\n", GetInt32(record, 28));
  ORBA_LOGD("nv_item->ps_cali_offset_data[0]: %d\n", GetInt32(record, 32));
  ORBA_LOGD("nv_item->ps_cali_offset_data[1]: %d\n", GetInt32(record, 36));
  ORBA_LOGD("nv_item->ps_cross_talk: %d\n", GetInt32(record, 40));
  ORBA_LOGD("nv_item->als_cali_data: %d\n", GetInt32(record, 44));
  ORBA_LOGD("nv_item->als_cali_flag: %d\n", GetInt32(record, 48));
  ORBA_LOGD("nv_item->als_cali_ver: %s\n", version);
  ORBA_LOGD("nv_item->cct_cali_data: %f\n", static_cast<double>(GetFloat32(record, 84)));
  ORBA_LOGD("nv_item->cct_data_lux1: %d\n", GetInt32(record, 88));
  ORBA_LOGD("nv_item->cct_data_lux2: %d\n", GetInt32(record, 92));
  ORBA_LOGD("nv_item->cct_cali_flag: %d\n", GetInt32(record, 96));
  ORBA_LOGD("nv_item->als_cali_data_back: %d\n", GetInt32(record, 128));
  ORBA_LOGD("nv_item->als_cali_flag_back: %d\n", GetInt32(record, 132));
  ORBA_LOGD("nv_item->cct_data_lux1_back: %d\n", GetInt32(record, 136));
  ORBA_LOGD("nv_item->light_sensor_leak_cali_factor_k1_back: %.2f\n",
            static_cast<double>(GetFloat32(record, 140)));
  ORBA_LOGD("nv_item->light_sensor_leak_offset_value_back: %.2f\n",
            static_cast<double>(GetFloat32(record, 144)));
  ORBA_LOGD("nv_item->light_sensor_leak_cali_flag_back: %d\n", GetInt32(record, 148));
  ORBA_LOGD("==dump end==\n");
}

ORBA_EXPORT int read_back_nv(uint8_t* record, int slot) {
  if (record == nullptr) return 0;
  android::base::unique_fd fd(TEMP_FAILURE_RETRY(open(DevPath(kBackNvPath), O_RDONLY | O_CLOEXEC)));
  if (fd.get() < 0) {
    ORBA_LOGE("open %s, err:%s", kBackNvPath, strerror(errno));
    return 0;
  }
  const off_t offset = SlotOffset(slot);
  if (lseek(fd.get(), offset, SEEK_SET) != offset) {
    ORBA_LOGE("fsize:%ld error:%s", static_cast<long>(offset), strerror(errno));
    return 0;
  }
  ORBA_LOGD("fsize:%ld", static_cast<long>(offset));
  unsigned char image[kBackNvSlotSize] = {};
  ssize_t got = 0;
  while (got < static_cast<ssize_t>(sizeof(image))) {
    const ssize_t n = TEMP_FAILURE_RETRY(read(fd.get(), image + got, sizeof(image) - got));
    if (n <= 0) break;
    got += n;
  }
  if (got != static_cast<ssize_t>(sizeof(image))) {
    ORBA_LOGE("can't read size=%d from the backup partition ret=%d\n",
              static_cast<int>(sizeof(image)), static_cast<int>(got));
    return 0;
  }
  memcpy(record, image, kBackNvSize);
  dump_back_nv(record);

  unsigned char sum[kBackNvDigestSize];
  DigestSlot(image, sum);
  if (memcmp(sum, record, kBackNvDigestSize) == 0) {
    ORBA_LOGD("verify ok\n");
    return 1;
  }
  for (size_t i = 0; i < kBackNvDigestSize; ++i) {
    ORBA_LOGD("cal_sum:%02x, md5:%02x", sum[i], record[i]);
  }
  ORBA_LOGE("verify fail\n");
  return 2;
}

ORBA_EXPORT int write_back_nv(uint8_t* record, int slot) {
  if (record == nullptr) return 0;
  android::base::unique_fd fd(
      TEMP_FAILURE_RETRY(open(DevPath(kBackNvPath), O_RDWR | O_SYNC | O_CLOEXEC)));
  if (fd.get() < 0) {
    ORBA_LOGE("open %s error:%s", kBackNvPath, strerror(errno));
    return 0;
  }
  unsigned char image[kBackNvSlotSize] = {};
  memcpy(image, record, kBackNvSize);
  DigestSlot(image, image);
  const off_t offset = SlotOffset(slot);
  ORBA_LOGD("fsize:%ld", static_cast<long>(offset));
  const ssize_t n = TEMP_FAILURE_RETRY(pwrite(fd.get(), image, sizeof(image), offset));
  if (n != static_cast<ssize_t>(sizeof(image))) {
    ORBA_LOGE("can't write size=%d to the backup partition ret= %d",
              static_cast<int>(sizeof(image)), static_cast<int>(n));
    return 0;
  }
  ORBA_LOGD("backup fdatasync begin");
  fdatasync(fd.get());
  ORBA_LOGD("backup fdatasync end");
  return 1;
}

}  // extern "C"
