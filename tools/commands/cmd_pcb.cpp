// orbafactory pcb get|set: the PCB code kept in the factory record.

#include <orbafactory/persist.h>

#include "command.h"

namespace {

using orba::cli::Args;

int Get(const Args& args, orba::cli::Reply& reply) {
  char code[64] = {};
  bool at_form = !args.empty() && args[0] == "--at";
  if (!args.empty() && !at_form)
    return orba::cli::Error(reply, orba::cli::kUsage, "pcb get [--at]");
  if ((at_form ? get_pcb_from_backup(code) : get_pcb(code)) != 0) {
    return orba::cli::Fail(reply, "pcb: no PCB code stored");
  }
  reply.Answer({{"pcb", code}});
  return orba::cli::kOk;
}

int Set(const Args& args, orba::cli::Reply& reply) {
  if (set_pcb_to_backup(args[0].c_str()) != 0) {
    return orba::cli::Fail(reply, "pcb: '%s' was not stored (2 to 20 characters, optionally in "
                           "double quotes)",
                           args[0].c_str());
  }
  char code[64] = {};
  if (get_pcb(code) == 0) reply.Answer({{"pcb", code}});
  return orba::cli::kOk;
}

const orba::cli::Family kPcb{
    "pcb",
    "the PCB code in the factory record",
    {
        {"get", "[--at]", "the stored code (--at: as the AT reply +EGMR:\"CODE\")", 0, 1, Get,
         "pcb get"},
        {"set", "CODE",
         "store a code of 2 to 20 characters and answer it as read back; a quoted code inside "
         "an AT argument is taken out of it",
         1, 1, Set, "pcb set PCB0001"},
    }};
orba::cli::Registrar registrar(kPcb);

}  // namespace
