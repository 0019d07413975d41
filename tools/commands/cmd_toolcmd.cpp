// orbafactory toolcmd COMMAND: what the tool-command script answers to a received command, as
// the sequencer hands it to the AT daemon (and the position it records).

#include <stdio.h>

#include <orbafactory/factorydata.h>

#include "command.h"

namespace {

using orba::cli::Args;

int Run(const Args& args, orba::cli::Reply& reply) {
  tool_test_app_command cmd{};
  if (tool_test_app_command_ini(args[0].c_str(), &cmd) != 0) {
    return orba::cli::Fail(reply,
                           "toolcmd: '%s' is not a next command of "
                           "/cache/recovery/last_tool_test_app.ini",
                           args[0].c_str());
  }
  // The response keeps its own bytes (line ends and all): the reply decides how to show them.
  reply.Answer({{"command", cmd.command},
                {"delay_time", cmd.delay_time},
                {"response", cmd.response != nullptr ? cmd.response : ""}});
  tool_test_app_command_free(&cmd);
  return orba::cli::kOk;
}

const orba::cli::Family kToolcmd{
    "toolcmd",
    "answer a scripted tool command from /cache/recovery/last_tool_test_app.ini",
    {
        {"", "COMMAND",
         "the delay and response for COMMAND (fields command, delay_time, response); records "
         "the script position",
         1, 1, Run, "toolcmd AT+TQ_SLEEP"},
    }};
orba::cli::Registrar registrar(kToolcmd);

}  // namespace
