// orbafactory sn get|set: the device serial number kept in the factory record.

#include <stdio.h>

#include <orbafactory/persist.h>

#include "cli.h"

namespace {

using orba::cli::Args;

int Get(const Args&) {
  char sn[64] = {};
  if (get_sn_from_backup(sn) != 0) {
    return orba::cli::Fail("sn: no 15-character serial number stored");
  }
  printf("%s\n", sn);
  return orba::cli::kOk;
}

int Set(const Args& args) {
  if (args[0].size() <= 10) {
    return orba::cli::Error(orba::cli::kUsage, "sn: '%s' is too short (more than 10 characters)",
                            args[0].c_str());
  }
  // The record's field holds 31 characters; a reader only accepts exactly 15.
  if (args[0].size() > 31) {
    return orba::cli::Error(orba::cli::kUsage, "sn: '%s' is longer than the field (31)",
                            args[0].c_str());
  }
  if (set_sn_to_backup(args[0].c_str()) != 0) {
    return orba::cli::Fail("sn: cannot store the serial number");
  }
  if (args[0].size() != 15) {
    fprintf(stderr, "orbafactory: stored, but only a 15-character serial number reads back\n");
  }
  printf("%s\n", args[0].c_str());
  return orba::cli::kOk;
}

const orba::cli::Family kSn{"sn",
                            "the serial number in the factory record",
                            {
                                {"get", "", "print the stored serial number", 0, 0, Get},
                                {"set", "SERIAL", "store a serial number (15 characters)", 1, 1, Set},
                            }};
orba::cli::Registrar registrar(kSn);

}  // namespace
