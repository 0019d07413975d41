// libuwbrwpersist.so on a host: the UWB calibration store. Each call answers
// sim.uwbpersist.<function>.ret (default 0) and is logged with its argument; setting the UWB
// properties publishes what the store would have written.

#include <stdint.h>

#include <string>

#include <android-base/stringprintf.h>
#include <cutils/properties.h>

#include "double_knobs.h"

namespace {

constexpr const char* kCallLog = "/data/sim/uwbpersist_calls";

int Answer(const char* function, const std::string& args) {
  orba::sim::AppendCall(kCallLog, args.empty() ? function : std::string(function) + " " + args);
  std::string knob = android::base::StringPrintf("sim.uwbpersist.%s.ret", function);
  return static_cast<int>(orba::sim::KnobInt(knob.c_str()));
}

std::string Hex(uint64_t v) {
  return android::base::StringPrintf("0x%llx", static_cast<unsigned long long>(v));
}

}  // namespace

#define PERSIST_EXPORT extern "C" __attribute__((visibility("default")))

PERSIST_EXPORT int Uwb_WriteAllCalDataToPersist(uint64_t arg) {
  return Answer("Uwb_WriteAllCalDataToPersist", Hex(arg));
}

PERSIST_EXPORT int Uwb_WriteSmtCalDataToPersist(uint64_t arg) {
  return Answer("Uwb_WriteSmtCalDataToPersist", Hex(arg));
}

PERSIST_EXPORT void set_property_for_uwb(void) {
  if (Answer("set_property_for_uwb", "") == 0) property_set("persist.vendor.uwb.cali_done", "1");
}
