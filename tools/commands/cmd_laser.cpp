// orbafactory laser: the TMF8801 time-of-flight sensor. Each command is one process, so the
// sensor opened by a command is closed when it ends; steps that must share an open sensor
// (reading, the two clock-calibration steps) run within one command.

#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include <cutils/properties.h>

#include <orbafactory/sensors.h>

#include "command.h"

namespace {

using orba::cli::Args;

int Open(const Args&, orba::cli::Reply& reply) {
  if (on_off_laser_TMF8801(true) != 1) {
    return orba::cli::Fail(reply, "laser open: the sensor library refused");
  }
  reply.Stream(orba::cli::Format("open: success\n"));
  on_off_laser_TMF8801(false);
  return orba::cli::kOk;
}

int Close(const Args&, orba::cli::Reply& reply) {
  on_off_laser_TMF8801(false);
  reply.Stream(orba::cli::Format("close: started\n"));
  return orba::cli::kOk;
}

int Read(const Args&, orba::cli::Reply& reply) {
  if (on_off_laser_TMF8801(true) != 1) {
    return orba::cli::Fail(reply, "laser read: the sensor did not open");
  }
  char distance[16] = {};
  char confidence[16] = {};
  bool ok = get_laser_data_TMF8801(distance, "distance") == 1 &&
            get_laser_data_TMF8801(confidence, "confidence") == 1;
  on_off_laser_TMF8801(false);
  if (!ok) return orba::cli::Fail(reply, "laser read: no measurement");
  reply.Stream(orba::cli::Format("distance %s mm, confidence %s\n", distance, confidence));
  return orba::cli::kOk;
}

int ReadOnce(const Args&, orba::cli::Reply& reply) {
  char distance[16] = {};
  char confidence[16] = {};
  if (get_laser_data_TMF8801_sync(distance, confidence) != 1) {
    return orba::cli::Error(reply, orba::cli::kFailed, "laser read-once: no measurement within 3 s");
  }
  reply.Stream(orba::cli::Format("distance %s mm, confidence %s\n", distance, confidence));
  return orba::cli::kOk;
}

int ClockCali(const Args& args, orba::cli::Reply& reply) {
  Args steps = args.empty() ? Args{"enable", "get_result"} : args;
  for (const std::string& step : steps) {
    if (step != "enable" && step != "get_result") {
      return orba::cli::Error(reply, orba::cli::kUsage, "laser clock-cali: unknown step '%s'",
                              step.c_str());
    }
    int ret = clock_cali_TMF8801(step.c_str());
    reply.Stream(orba::cli::Format("%s: %d\n", step.c_str(), ret));
    int expected = step == "enable" ? 0 : 2;
    if (ret != expected) {
      return orba::cli::Error(reply, orba::cli::kFailed, "laser clock-cali %s failed (%d)%s",
                              step.c_str(), ret,
                              ret == -2 && args.size() == 1 ? ": run 'enable get_result' together"
                                                            : "");
    }
  }
  return orba::cli::kOk;
}

int XtalkCali(const Args&, orba::cli::Reply& reply) {
  char photon[32] = {};
  char bin[32] = {};
  char msg[128] = {};
  int ret = crosstalk_cali_TMF8801(photon, bin, msg);
  if (ret != 0) {
    return orba::cli::Error(reply, orba::cli::kFailed, "laser xtalk-cali failed (%d): %s", ret, msg);
  }
  reply.Stream(orba::cli::Format("crosstalk calibrated: photon_num %s, bin %s\n", photon, bin));
  return orba::cli::kOk;
}

int Xtalk(const Args&, orba::cli::Reply& reply) {
  char photon[32] = {};
  char bin[32] = {};
  if (get_crosstalk_value_TMF8801(photon, bin) != 1) {
    return orba::cli::Error(reply, orba::cli::kFailed, "laser xtalk: no crosstalk result");
  }
  reply.Stream(orba::cli::Format("photon_num %s, bin %s\n", photon, bin));
  return orba::cli::kOk;
}

int Firmware(const Args&, orba::cli::Reply& reply) {
  load_firmware_TMF8801();
  reply.Stream(orba::cli::Format("firmware download requested (the sensor library's result is in the log, -v)\n"));
  return orba::cli::kOk;
}

void* Detect(void* seconds) {
  return laser_8801_detect_background_thread(static_cast<unsigned*>(seconds));
}

int DetectFrozen(const Args& args, orba::cli::Reply& reply) {
  long seconds = 0;
  if (!orba::cli::ParseInt(reply, args[0], "seconds", &seconds)) return orba::cli::kUsage;
  if (seconds < 0 || seconds > 3600) {
    return orba::cli::Error(reply, orba::cli::kUsage, "laser detect: SECONDS from 0 to 3600");
  }
  static unsigned value;
  value = static_cast<unsigned>(seconds);
  constexpr const char* kVerdict = "sys.orba.laser_8801_detect_ret";
  property_set(kVerdict, "");
  pthread_t thread;
  if (int err = pthread_create(&thread, nullptr, Detect, &value); err != 0) {
    return orba::cli::Error(reply, orba::cli::kFailed, "laser detect: cannot start the check: %s",
                            strerror(err));
  }
  // The check runs half a second plus SECONDS; its verdict is the property.
  char verdict[PROPERTY_VALUE_MAX] = {};
  for (long waited = 0; waited < (seconds + 5) * 10; ++waited) {
    property_get(kVerdict, verdict, "");
    if (strcmp(verdict, "success") == 0 || strcmp(verdict, "failed") == 0) break;
    if (waited % 10 == 9) fprintf(stderr, "laser detect: %lds...\n", (waited + 1) / 10);
    usleep(100 * 1000);
  }
  reply.Stream(orba::cli::Format("%s\n", verdict[0] != '\0' ? verdict : "no verdict"));
  usleep(100 * 1000);  // lets the closing thread reach the sensor library before exit
  return strcmp(verdict, "success") == 0 ? orba::cli::kOk : orba::cli::kFailed;
}

const orba::cli::Family kLaser{
    "laser",
    "the TMF8801 laser ranging sensor",
    {
        {"open", "", "open the sensor (closed again when the command ends)", 0, 0, Open},
        {"close", "", "start closing the sensor", 0, 0, Close},
        {"read", "", "open, read distance and confidence, close", 0, 0, Read},
        {"read-once", "", "one measurement on a sensor opened for it (3 s deadline)", 0, 0,
         ReadOnce},
        {"clock-cali", "[enable] [get_result]",
         "clock trim; both steps by default, recorded in the record, registry and properties", 0,
         2, ClockCali},
        {"xtalk-cali", "", "crosstalk calibration, recorded like the clock's", 0, 0, XtalkCali},
        {"xtalk", "", "the last crosstalk result (photon count and bin)", 0, 0, Xtalk},
        {"firmware", "", "download the sensor firmware", 0, 0, Firmware},
        {"detect", "SECONDS", "frozen-data check for SECONDS; prints success or failed", 1, 1,
         DetectFrozen},
    }};
orba::cli::Registrar registrar(kLaser);

}  // namespace
