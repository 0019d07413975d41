// orbafactory als: the ambient-light sensor's colour calibration values from a station line.

#include <stdio.h>

#include <cutils/properties.h>

#include <orbafactory/sensors.h>

#include <string>
#include <vector>

#include "command.h"

namespace {

using orba::cli::Args;

int Store(const Args& args, orba::cli::Reply& reply) {
  long type = 0;
  if (!orba::cli::ParseInt(reply, args[0], "type", &type)) return orba::cli::kUsage;
  int ret = als_cct_parse_rgbcw(args[1].c_str(), static_cast<int>(type));
  if (ret == 9) {
    return orba::cli::Error(reply, orba::cli::kUsage,
                            "als store: LINE must be the %d-character command prefix followed by "
                            "c;r;g;b;w (every value set, none -1)",
                            type == 0 ? 16 : 18);
  }
  if (ret != 7) {
    return orba::cli::Fail(reply, "als store: the factory record could not be read or written (%d)",
                           ret);
  }
  const char* prefix = type == 0 ? "persist.sys.metal_data" : "persist.sys.mscct.metal_data";
  for (const char* channel : {"c", "r", "g", "b", "w"}) {
    char name[64];
    snprintf(name, sizeof(name), "%s.%s", prefix, channel);
    char value[PROPERTY_VALUE_MAX] = {};
    property_get(name, value, "");
    reply.Answer({{"property", name}, {"value", value}});
  }
  return orba::cli::kOk;
}

std::vector<std::string> Types(size_t index) {
  if (index == 0) return {"0", "1"};
  return {};
}

const orba::cli::Family kAls{
    "als",
    "ambient-light colour calibration values",
    {
        {"store", "TYPE LINE",
         "parse the station's line (TYPE 0: ordinary sensor, 1: mscct) into the record and "
         "properties; one answer per published property (channels c, r, g, b, w)",
         2, 2, Store, "als store 0 'AT+ALSCALI=0000,812.5;402;388;221;1030'", Types},
    }};
orba::cli::Registrar registrar(kAls);

}  // namespace
