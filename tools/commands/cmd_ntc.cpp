// orbafactory ntc: every board thermistor the vendor image declares, in the station's format.

#include <stdlib.h>

#include <string>
#include <string_view>
#include <vector>

#include <orbafactory/devices.h>

#include "command.h"

namespace {

using orba::cli::Args;

struct Reading {
  std::string name;
  double celsius;
};

// The library answers in the station's form, "name:36.5," for each thermistor.
std::vector<Reading> Readings(std::string_view text) {
  std::vector<Reading> readings;
  while (!text.empty()) {
    size_t comma = text.find(',');
    std::string_view item = text.substr(0, comma);
    text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
    size_t colon = item.rfind(':');
    if (colon == std::string_view::npos) continue;
    readings.push_back({std::string(item.substr(0, colon)),
                        strtod(std::string(item.substr(colon + 1)).c_str(), nullptr)});
  }
  return readings;
}

int Show(const Args& args, orba::cli::Reply& reply) {
  long first = 1;
  long last = 2;
  if (!args.empty()) {
    if (!orba::cli::ParseInt(reply, args[0], "type", &first)) return orba::cli::kUsage;
    if (first != 1 && first != 2) {
      return orba::cli::Error(reply, orba::cli::kUsage, "ntc: TYPE is 1 or 2");
    }
    last = first;
  }
  for (long type = first; type <= last; ++type) {
    char out[1024] = {};
    int ret = get_ntc_temperature_ini(out, sizeof(out) - 1, static_cast<int>(type));
    if (ret == 0) {
      return orba::cli::Error(reply, orba::cli::kFailed, "ntc: the device declares no thermistors");
    }
    if (ret < 0) {
      return orba::cli::Fail(
          reply, "ntc: type %ld: bad entry or unreadable thermistor (partial: '%s')", type, out);
    }
    for (const Reading& r : Readings(out)) {
      reply.Answer(
          {{"type", type}, {"name", r.name}, {"celsius", orba::cli::Value::Real(r.celsius, 1)}});
    }
  }
  return orba::cli::kOk;
}

std::vector<std::string> Types(size_t index) {
  if (index != 0) return {};
  return {"1", "2"};
}

const orba::cli::Family kNtc{
    "ntc",
    "board thermistor temperatures",
    {
        {"", "[TYPE]",
         "read the type 1 and 2 thermistors (or only TYPE, 1 or 2): one answer per thermistor "
         "with its type, name and temperature in degrees Celsius",
         0, 1, Show, "ntc 1", Types},
    }};
orba::cli::Registrar registrar(kNtc);

}  // namespace
