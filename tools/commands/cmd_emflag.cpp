// orbafactory em-flag get|set: whether the engineer mode is enabled, as the boot firmware sees it
// in the factory record.

#include <string>
#include <vector>

#include <orbafactory/persist.h>

#include "command.h"

namespace {

using orba::cli::Args;

int Get(const Args&, orba::cli::Reply& reply) {
  // The library answers "on" when the record cannot be read; say so rather than hide it.
  reply.Answer({{"state", is_orba_em_mode_from_backup() ? "on" : "off"}});
  return orba::cli::kOk;
}

int Set(const Args& args, orba::cli::Reply& reply) {
  int enable;
  if (args[0] == "on" || args[0] == "1") {
    enable = 1;
  } else if (args[0] == "off" || args[0] == "0") {
    enable = 0;
  } else {
    return orba::cli::Error(reply, orba::cli::kUsage, "em-flag set: 'on' or 'off', not '%s'",
                            args[0].c_str());
  }
  if (backup_orba_em_mode_flag(enable) != 0) {
    return orba::cli::Fail(reply, "em-flag: cannot store the flag");
  }
  reply.Answer({{"state", enable ? "on" : "off"}});
  return orba::cli::kOk;
}

// The states a user types, as get answers them.
std::vector<std::string> States(size_t index) {
  if (index != 0) return {};
  return {"on", "off"};
}

const orba::cli::Family kEmFlag{
    "em-flag",
    "the engineer-mode flag in the factory record",
    {
        {"get", "", "on or off (on also when the record cannot be read)", 0, 0, Get,
         "em-flag get"},
        {"set", "on|off", "enable (on or 1) or disable (off or 0; also withdraws the "
         "authorisation), and answer the state stored", 1, 1, Set, "em-flag set on", States},
    }};
orba::cli::Registrar registrar(kEmFlag);

}  // namespace
