// Clearing the factory logs, and switching the device's log-collection apps on and off. The apps
// take their orders as broadcasts through the engineer-mode service.

#include <stdio.h>
#include <string.h>

#include <cutils/properties.h>

#include <orbafactory/engineer.h>
#include <orbafactory/persist.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "log_capture_files.h"

using namespace orba::persist;

namespace {

constexpr const char kMtkLoggerAction[] = "com.mediatek.mtklogger.ADB_CMD";
constexpr const char kOrbaLogAction[] = "com.orbalog.controllog";

const char* const kCacheLogs[] = {
    "/cache/recovery/last_factory_adb.log",
    "/cache/recovery/last_factory_kernel.log",
    "/cache/recovery/last_factory_lk.log",
    "/cache/recovery/last_atcid_sys_adc_test",
    "/cache/recovery/last_atcid_sys_adc_voltage_sample",
    "/cache/recovery/last_atcid_sys_adc_current_sample",
};
// The AT session's own logs: not removed here, but their presence means the clean-up is not
// complete.
const char* const kAtSessionLogs[] = {
    "/cache/recovery/last_AT_adb.log",
    "/cache/recovery/last_AT_kernel.log",
};

int Broadcast(const char* action, const char* extras) {
  return sendBroadcastFromAtcid(nullptr, action, extras) ? 1 : 0;
}

}  // namespace

extern "C" int clear_factory_log(const char* dir) {
  if (dir == nullptr) return -1;
  if (strcmp(dir, kEngineerModeDir) == 0) {
    remove(DevPathNoFollow(kFactoryAdbLog));
    remove(DevPathNoFollow(kFactoryKernelLog));
    return 0;
  }
  for (const char* path : kCacheLogs) orbaatcmd_remove_system_file(path);
  for (const char* path : kAtSessionLogs) {
    if (orbaatcmd_sizeof_system_file(path) >= 1) {
      ORBA_LOGE("files still exist, clear factory log failed!");
      return -1;
    }
  }
  return 0;
}

extern "C" int is_orbalog_running(void) {
  char value[PROPERTY_VALUE_MAX] = {};
  orbaatcmd_get_system_property("persist.sys.log.ctrl", value, "no");
  ORBA_LOGD("persist.sys.log.ctrl: %s", value);
  return strcmp(value, "yes") == 0 ? 1 : 0;
}

extern "C" int control_orba_Log(int already_running, long log_type) {
  if (already_running == 1) {
    ORBA_LOGI("already loging");
    return 0;
  }
  ORBA_LOGI("send broadcast to log type: %ld", log_type);
  if (log_type < 0) return 0;
  if (log_type == 0) {
    Broadcast(kMtkLoggerAction, "-e cmd_name stop --ei cmd_target 7");
    return Broadcast(kOrbaLogAction, "--es cmd_name stop --es from atcid");
  }
  // Types 1 and 7 also start the platform logger (on those targets); every positive type starts
  // the maker's own log app.
  if (log_type == 7) {
    Broadcast(kMtkLoggerAction, "-e cmd_name start --ei cmd_target 7");
  } else if (log_type == 1) {
    Broadcast(kMtkLoggerAction, "-e cmd_name start --ei cmd_target 1");
  }
  char para[128];
  snprintf(para, sizeof(para), "--es cmd_name start --es from atcid --el logtype %ld", log_type);
  ORBA_LOGD("para: %s\r\n", para);
  return Broadcast(kOrbaLogAction, para);
}

extern "C" int clear_qzt_Log(void) {
  return Broadcast(kOrbaLogAction, "--es from atcid --es cmd_name clear");
}

extern "C" int open_ex_log(int already_running, long exception_type) {
  if (already_running == 1) {
    ORBA_LOGI("already loging");
    return 0;
  }
  char para[128];
  snprintf(para, sizeof(para), "-e cmd_name start -e from atcid --ei exptype %ld", exception_type);
  ORBA_LOGD("para: %s\r\n", para);
  return Broadcast(kOrbaLogAction, para);
}
