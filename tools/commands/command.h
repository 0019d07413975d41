#ifndef ORBA_TOOLS_COMMANDS_COMMAND_H
#define ORBA_TOOLS_COMMANDS_COMMAND_H

// The command table: every test step a front end offers, one family of commands per file, each
// family registering itself. `orbafactory` serves it from a shell, the factory AT daemon over the
// station's serial line: one tree, two transports.
//
//   const orba::cli::Family kFamily{"nv", "the factory record", {...}};
//   orba::cli::Registrar registrar(kFamily);
//
// A command answers through the Reply it is given (reply.h), never on stdout, and returns its
// exit code, which is its verdict. A failed step says why with Fail()/FailPaths() (failure.h);
// long transfers show TransferProgress (progress.h) when someone watches.

#include <string>
#include <vector>

#include "failure.h"
#include "reply.h"
#include "interrupt.h"
#include "progress.h"

namespace orba::cli {

enum ExitCode {
  kOk = 0,        // the step succeeded
  kFailed = 1,    // the library reported a failure
  kUsage = 2,     // the command line was wrong
  kNoDevice = 3,  // no device to work on (host without a simulated device)
};

using Args = std::vector<std::string>;

// The values an argument takes, for completion and help: record field names, calibration items.
// `index` counts the command's positional arguments from 0; empty when any value goes.
using ArgValues = std::vector<std::string> (*)(size_t index);

struct Command {
  const char* name;     // "get"
  const char* args;     // "NAME" (shown in usage)
  const char* summary;  // what it does; every value list in full
  int min_args;
  int max_args;         // -1: no limit
  int (*run)(const Args& args, Reply& reply);
  const char* example = nullptr;  // one runnable line, after "orbafactory " ("sn get")
  ArgValues values = nullptr;     // where the arguments come from a known set
  // The trailing words are another program's command line (exec): from its first word that is no
  // option of this command's own, every word is that program's, options included.
  bool runs_command_line = false;
};

struct Family {
  const char* name;     // "prop"
  const char* summary;  // one line
  std::vector<Command> commands;
};

class Registrar {
 public:
  explicit Registrar(const Family& family);
};

const std::vector<const Family*>& Families();

// A failure that is the message alone, mostly a command line that was wrong (kUsage); returns
// the code. For a step that failed on the device, Fail()/FailPaths() add the cause.
int Error(Reply& reply, int code, const char* fmt, ...) __attribute__((format(printf, 3, 4)));

// Parses a decimal or 0x-hex integer; false (with the failure given to `reply`) when it is not one.
bool ParseInt(Reply& reply, const std::string& text, const char* what, long* value);

// As ParseInt, and within [min, max]; the message gives the range.
bool ParseIntIn(Reply& reply, const std::string& text, const char* what, long min, long max,
                long* value);

// Reads a whole host file ("-" is stdin) for commands that take data from the engineer's side.
bool ReadHostFile(const std::string& path, std::string* data);

}  // namespace orba::cli

#endif
