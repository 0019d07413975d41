// orbafactory toolcmd COMMAND: what the tool-command script answers to a received command, as
// the sequencer hands it to the AT daemon (and the position it records).

#include <stdio.h>

#include <string>

#include <orbafactory/factorydata.h>

#include "command.h"

namespace {

using orba::cli::Args;

// Line breaks made visible, so the answer's exact bytes can be read off a terminal.
std::string Visible(const char* text) {
  std::string out;
  for (const char* p = text; *p != '\0'; ++p) {
    if (*p == '\r') {
      out += "\\r";
    } else if (*p == '\n') {
      out += "\\n";
    } else {
      out += *p;
    }
  }
  return out;
}

int Run(const Args& args, orba::cli::Reply& reply) {
  tool_test_app_command cmd{};
  if (tool_test_app_command_ini(args[0].c_str(), &cmd) != 0) {
    return orba::cli::Fail(reply, "toolcmd: '%s' is not a next command of "
                           "/cache/recovery/last_tool_test_app.ini",
                           args[0].c_str());
  }
  reply.Stream(orba::cli::Format("command=%s\n", cmd.command));
  reply.Stream(orba::cli::Format("delay_time=%d\n", static_cast<int>(cmd.delay_time)));
  reply.Stream(orba::cli::Format("response=%s\n", cmd.response != nullptr ? Visible(cmd.response).c_str() : ""));
  tool_test_app_command_free(&cmd);
  return orba::cli::kOk;
}

const orba::cli::Family kToolcmd{
    "toolcmd",
    "answer a scripted tool command from /cache/recovery/last_tool_test_app.ini",
    {
        {"", "COMMAND", "the delay and response for COMMAND; records the script position", 1, 1,
         Run},
    }};
orba::cli::Registrar registrar(kToolcmd);

}  // namespace
