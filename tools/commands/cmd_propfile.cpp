// orbafactory propfile get|set|del FILE KEY [VALUE]: key=value item files that only the
// AT-command service may touch.

#include <orbafactory/config.h>

#include "command.h"

namespace {

using orba::cli::Args;

int Get(const Args& args, orba::cli::Reply& reply) {
  // "0" is also the answer for a missing file or key: the file format cannot tell them apart.
  reply.Answer({{"value", get_property_file_item_value(args[0].c_str(), args[1].c_str())}});
  return orba::cli::kOk;
}

int Set(const Args& args, orba::cli::Reply& reply) {
  if (set_property_file_item_value(args[0].c_str(), args[1].c_str(), args[2].c_str()) != 0) {
    return orba::cli::FailPaths(reply, {{args[0], orba::cli::PathUse::kWrite, false}},
                                "propfile: cannot set %s in %s", args[1].c_str(), args[0].c_str());
  }
  return orba::cli::kOk;
}

int Del(const Args& args, orba::cli::Reply& reply) {
  if (delete_property_file_item(args[0].c_str(), args[1].c_str()) != 0) {
    return orba::cli::FailPaths(reply, {{args[0], orba::cli::PathUse::kWrite, false}},
                                "propfile: cannot delete %s from %s", args[1].c_str(),
                                args[0].c_str());
  }
  return orba::cli::kOk;
}

const orba::cli::Family kPropfile{
    "propfile",
    "key=value item files, through the AT-command service",
    {
        {"get", "FILE KEY", "the item's value (\"0\" when absent)", 2, 2, Get,
         "propfile get /data/vendor/engineermode/station_items sn"},
        {"set", "FILE KEY VALUE", "set the item; it moves to the end of the file", 3, 3, Set,
         "propfile set /data/vendor/engineermode/station_items sn ORBA0001"},
        {"del", "FILE KEY", "delete the item (absent is fine)", 2, 2, Del,
         "propfile del /data/vendor/engineermode/station_items sn"},
    }};
orba::cli::Registrar registrar(kPropfile);

}  // namespace
