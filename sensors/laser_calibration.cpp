// The laser sensor's two calibrations, clock trim and crosstalk, and its firmware download. A
// passing calibration is recorded three ways, because three readers look for it: the flag in the
// factory record (survives a reset), the calibration registry (what the station asks) and a
// property (what the sensor service reads at boot).

#include <errno.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>

#include <orbafactory/persist.h>
#include <orbafactory/sensors.h>
#include <orbafactory/sysaccess.h>
#include <platform/log.h>

#include "laser_state.h"
#include "sensor_laser_8801.h"

using namespace orba::laser;

namespace {

constexpr size_t kClockFlagOffset = 980;
constexpr size_t kCrosstalkFlagOffset = 984;
constexpr int kTrimDone = 2;
constexpr const char* kClockItem = "laser_focus_clock_cali_TMF8801";
constexpr const char* kCrosstalkItem = "laser_focus_crosstalk_cali_TMF8801";

enum class FlagResult { kOk, kReadFailed, kWriteFailed };

FlagResult SetRecordFlag(size_t offset) {
  uint8_t record[XOLE_NV_ITEM_SIZE] = {};
  if (get_XOLE_NV_item(record) != 0) return FlagResult::kReadFailed;
  const int32_t one = 1;
  memcpy(record + offset, &one, sizeof(one));
  if (put_XOLE_NV_item(record) != 0) return FlagResult::kWriteFailed;
  return FlagResult::kOk;
}

// "get_result": the trim result decides; either way the object's work is done. It is closed,
// not only freed: the library still holds it (a streaming open before would go on delivering).
int ClockResult() {
  void* object = TakeObject();
  if (object == nullptr) {
    ORBA_LOGE("NULL pointer error!!");
    return -ENOENT;
  }
  int ret = sensor_laser_8801_clk_trim_result(object);
  CloseObject(object);
  if (ret != kTrimDone) {
    ORBA_LOGE("get clock resul error!!... ret = %d", ret);
    return ret;
  }
  FlagResult flag = SetRecordFlag(kClockFlagOffset);
  if (flag == FlagResult::kReadFailed) {
    ORBA_LOGE("read backup_nv error!");
    return -ENOENT;
  }
  if (flag == FlagResult::kWriteFailed) {
    ORBA_LOGE("save nv error!");
    return -ENOENT;
  }
  int save_ok = set_calibrate_item_state(kClockItem, "1", 1);
  ORBA_LOGD("save_ok = %d", save_ok);
  orbaatcmd_set_system_property("persist.sys.cali.TMF8801.clock", "1");
  return save_ok == 0 ? kTrimDone : -ENOENT;
}

int ClockEnable() {
  uint64_t serial = 0;
  void* object = ReplaceObject(&serial);
  if (object == nullptr) {
    ORBA_LOGE("malloc error!!");
    return -1;
  }
  int ret = sensor_laser_8801_clk_trim_enable(object);
  if (ret != 0) {
    ORBA_LOGE("enable error!!");
    CloseObject(TakeObjectIf(serial));
  }
  return ret;
}

void PutMsg(char* msg, const char* text) {
  if (msg != nullptr) strcpy(msg, text);
}

int RunCrosstalk(char* photon_num, char* bin, char* msg) {
  if (!is_calibrated_by_last_xml(kCrosstalkItem, "1")) {
    // Crosstalk is meant to follow the clock trim; the station decides, so this only warns.
    ORBA_LOGE("\r\n\"error!! please cali clock at first!!\"\r\n");
  }
  int ret = sensor_laser_8801_crosstalk_calibration();
  if (ret != 0) {
    PutMsg(msg, "crosstalk cali error!!");
    return ret;
  }
  ORBA_LOGD("crosstalk cali pass!!");
  int photons = 0;
  int bins = 0;
  if (sensor_laser_8801_get_calibration_result(&photons, &bins) != 0) {
    PutMsg(msg, "\r\n\"get corsstalk data error\"\r\n");
    return -1;
  }
  sprintf(photon_num, "%d", photons);
  sprintf(bin, "%d", bins);
  ORBA_LOGD("get crosstalk value success!!");
  FlagResult flag = SetRecordFlag(kCrosstalkFlagOffset);
  if (flag != FlagResult::kOk) {
    PutMsg(msg, flag == FlagResult::kReadFailed ? "read backup_nv error!" : "save nv error!");
    return -1;
  }
  int save_ok = set_calibrate_item_state(kCrosstalkItem, "1", 1);
  ORBA_LOGD("set_item_cali_state... save_ok = %d", save_ok);
  if (save_ok != 0) {
    PutMsg(msg, "\r\n\"set_item_cali_state... error\"\r\n");
    return -1;
  }
  orbaatcmd_set_system_property("persist.sys.cali.TMF8801.crosstalk", "1");
  return 0;
}

}  // namespace

extern "C" {

int clock_cali_TMF8801(const char* msg) {
  ORBA_LOGD("BEGIN, msg = %s", msg != nullptr ? msg : "(null)");
  int ret;
  if (msg != nullptr && strcmp(msg, "enable") == 0) {
    ret = ClockEnable();
  } else if (msg != nullptr && strcmp(msg, "get_result") == 0) {
    ret = ClockResult();
  } else {
    CloseObject(TakeObject());
    ret = -1;
  }
  ORBA_LOGD("END, ret = %d", ret);
  return ret;
}

int crosstalk_cali_TMF8801(char* photon_num, char* bin, char* msg) {
  int ret = RunCrosstalk(photon_num, bin, msg);
  ORBA_LOGD("ret = %d, photon_num=%s, msg=%s", ret, photon_num != nullptr ? photon_num : "",
            msg != nullptr ? msg : "");
  return ret;
}

int get_crosstalk_value_TMF8801(char* photon_num, char* bin) {
  int photons = 0;
  int bins = 0;
  int ret = sensor_laser_8801_get_calibration_result(&photons, &bins);
  if (ret == 0) {
    sprintf(photon_num, "%d", photons);
    sprintf(bin, "%d", bins);
  }
  ORBA_LOGD("ret = %d, cali %s:photon_num = %s, bin = %s", ret, ret == 0 ? "pass" : "error",
            photon_num, bin);
  return ret == 0 ? 1 : 0;
}

int load_firmware_TMF8801(void) {
  ORBA_LOGD("entered!!");
  int ret = sensor_laser_8801_firmware_download();
  ORBA_LOGD("END, ret = %d", ret);
  return 0;
}

}  // extern "C"
