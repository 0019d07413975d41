// orbafactory ntc: every board thermistor the vendor image declares, in the station's format.

#include <stdio.h>

#include <orbafactory/devices.h>

#include "command.h"

namespace {

using orba::cli::Args;

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
      return orba::cli::Fail(reply, "ntc: type %ld: bad entry or unreadable thermistor (partial: '%s')",
                             type, out);
    }
    reply.Stream(orba::cli::Format("type %ld: %s\n", type, out));
  }
  return orba::cli::kOk;
}

const orba::cli::Family kNtc{
    "ntc",
    "board thermistor temperatures",
    {
        {"", "[TYPE]", "read the type 1 and 2 thermistors (or only TYPE)", 0, 1, Show},
    }};
orba::cli::Registrar registrar(kNtc);

}  // namespace
