// orbafactory feature get NAME [KEY]: a feature line of /etc/em_features.xml, or one bracketed
// parameter list of its value.

#include <string.h>

#include <orbafactory/config.h>

#include "command.h"

namespace {

using orba::cli::Args;

int Get(const Args& args, orba::cli::Reply& reply) {
  char value[1024] = {};
  if (get_feature_value(args[0].c_str(), value, sizeof(value) - 1) != 0) {
    return orba::cli::Fail(reply, "feature: no usable value for %s", args[0].c_str());
  }
  // The library answers 0 without a value when it cannot read the file at all.
  if (value[0] == '\0') {
    return orba::cli::FailPaths(reply, {{"/etc/em_features.xml", orba::cli::PathUse::kRead, false}},
                                "feature: cannot read /etc/em_features.xml");
  }
  if (args.size() == 1) {
    reply.Answer({{"value", value}});
    return orba::cli::kOk;
  }
  char list[1024] = {};
  if (parse_parameters(value, args[1].c_str(), list, sizeof(list) - 1) != 0) {
    return orba::cli::Error(reply, orba::cli::kFailed, "feature: no list %s in %s=%s",
                            args[1].c_str(), args[0].c_str(), value);
  }
  reply.Answer({{"value", list}});
  return orba::cli::kOk;
}

const orba::cli::Family kFeature{
    "feature",
    "device features of /etc/em_features.xml",
    {{"get", "NAME [KEY]", "the feature's value, or the bracketed list after KEY in it", 1, 2,
      Get, "feature get camera_motor_type"}}};
orba::cli::Registrar registrar(kFeature);

}  // namespace
