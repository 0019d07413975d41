// orbafactory laser: the TMF8801 time-of-flight sensor. Each command is one process, so the
// sensor opened by a command is closed when it ends; steps that must share an open sensor
// (reading, the two clock-calibration steps) run within one command.

#include <pthread.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <cutils/properties.h>

#include <orbafactory/sensors.h>

#include "command.h"
#include "words.h"

namespace {

using orba::cli::Args;

// The library's readings are decimal texts; an answer carries them as numbers.
void AnswerMeasurement(orba::cli::Reply& reply, const char* distance, const char* confidence) {
  reply.Answer({{"distance_mm", orba::cli::IntegerOrText(distance)},
                {"confidence", orba::cli::IntegerOrText(confidence)}});
}

void AnswerCrosstalk(orba::cli::Reply& reply, const char* photon, const char* bin) {
  reply.Answer(
      {{"photon_num", orba::cli::IntegerOrText(photon)}, {"bin", orba::cli::IntegerOrText(bin)}});
}

int Open(const Args&, orba::cli::Reply& reply) {
  if (on_off_laser_TMF8801(true) != 1) {
    return orba::cli::Fail(reply, "laser open: the sensor library refused");
  }
  reply.Answer({{"state", "opened"}});
  on_off_laser_TMF8801(false);
  return orba::cli::kOk;
}

int Close(const Args&, orba::cli::Reply& reply) {
  on_off_laser_TMF8801(false);
  reply.Answer({{"state", "closing"}});
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
  AnswerMeasurement(reply, distance, confidence);
  return orba::cli::kOk;
}

int ReadOnce(const Args&, orba::cli::Reply& reply) {
  char distance[16] = {};
  char confidence[16] = {};
  if (get_laser_data_TMF8801_sync(distance, confidence) != 1) {
    return orba::cli::Error(reply, orba::cli::kFailed,
                            "laser read-once: no measurement within 3 s");
  }
  AnswerMeasurement(reply, distance, confidence);
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
    reply.Answer({{"step", step}, {"result", ret}});
    int expected = step == "enable" ? 0 : 2;
    if (ret != expected) {
      return orba::cli::Error(
          reply, orba::cli::kFailed, "laser clock-cali %s failed (%d)%s", step.c_str(), ret,
          ret == -2 && args.size() == 1 ? ": run 'enable get_result' together" : "");
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
    return orba::cli::Error(reply, orba::cli::kFailed, "laser xtalk-cali failed (%d): %s", ret,
                            msg);
  }
  AnswerCrosstalk(reply, photon, bin);
  return orba::cli::kOk;
}

int Xtalk(const Args&, orba::cli::Reply& reply) {
  char photon[32] = {};
  char bin[32] = {};
  if (get_crosstalk_value_TMF8801(photon, bin) != 1) {
    return orba::cli::Error(reply, orba::cli::kFailed, "laser xtalk: no crosstalk result");
  }
  AnswerCrosstalk(reply, photon, bin);
  return orba::cli::kOk;
}

int Firmware(const Args&, orba::cli::Reply& reply) {
  load_firmware_TMF8801();
  reply.Note("the sensor library's result is in the log (-v)");
  reply.Answer({{"state", "requested"}});
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
    if (waited % 10 == 9 && reply.Interactive()) {
      reply.Note(orba::cli::Format("laser detect: %lds...", (waited + 1) / 10));
    }
    usleep(100 * 1000);
  }
  reply.Answer({{"result", verdict[0] != '\0' ? verdict : "none"}});
  usleep(100 * 1000);  // lets the closing thread reach the sensor library before exit
  return strcmp(verdict, "success") == 0 ? orba::cli::kOk : orba::cli::kFailed;
}

std::vector<std::string> ClockSteps(size_t index) {
  if (index > 1) return {};
  return {"enable", "get_result"};
}

const orba::cli::Family kLaser{
    "laser",
    "the TMF8801 laser ranging sensor",
    {
        {"open", "", "open the sensor (closed again when the command ends); answers opened", 0, 0,
         Open, "laser open"},
        {"close", "", "start closing the sensor; answers closing", 0, 0, Close, "laser close"},
        {"read", "", "open, read distance (mm) and confidence, close", 0, 0, Read, "laser read"},
        {"read-once", "", "one measurement on a sensor opened for it (3 s deadline)", 0, 0,
         ReadOnce, "laser read-once"},
        {"clock-cali", "[enable] [get_result]",
         "clock trim, one answer per step with the library's result (enable 0, get_result 2 "
         "when it worked); both steps by default, recorded in the record, registry and "
         "properties",
         0, 2, ClockCali, "laser clock-cali enable get_result", ClockSteps},
        {"xtalk-cali", "",
         "crosstalk calibration, recorded like the clock's; answers the photon "
         "count and bin",
         0, 0, XtalkCali, "laser xtalk-cali"},
        {"xtalk", "", "the last crosstalk result (photon count and bin)", 0, 0, Xtalk,
         "laser xtalk"},
        {"firmware", "", "download the sensor firmware; answers requested", 0, 0, Firmware,
         "laser firmware"},
        {"detect", "SECONDS",
         "frozen-data check for SECONDS (0 to 3600); answers success, failed or none (no "
         "verdict), exit 1 unless success",
         1, 1, DetectFrozen, "laser detect 1"},
    }};
orba::cli::Registrar registrar(kLaser);

}  // namespace
