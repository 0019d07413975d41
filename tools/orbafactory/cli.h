#ifndef ORBA_TOOLS_ORBAFACTORY_CLI_H
#define ORBA_TOOLS_ORBAFACTORY_CLI_H

// The orbafactory command line: one family of subcommands per file, each registering itself.
//
//   static const orba::cli::Family kFamily{"nv", "the factory record", {...}};
//   static orba::cli::Registrar registrar(kFamily);
//
// Results go to stdout, diagnostics to stderr; the exit status says how it went. A failed step
// says why with Fail()/FailPaths() (failure.h); long transfers show TransferProgress
// (progress.h) on a terminal.

#include <string>
#include <vector>

#include "failure.h"
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

struct Command {
  const char* name;     // "get"
  const char* args;     // "NAME" (shown in usage)
  const char* summary;  // one line
  int min_args;
  int max_args;         // -1: no limit
  int (*run)(const Args& args);
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

// Diagnostics: "orbafactory: <message>" on stderr; return the code for convenience. For a step
// that failed on the device, Fail()/FailPaths() add the cause.
int Error(int code, const char* fmt, ...) __attribute__((format(printf, 2, 3)));

// Parses a decimal or 0x-hex integer; false (with a message) when it is not one.
bool ParseInt(const std::string& text, const char* what, long* value);

// As ParseInt, and within [min, max]; the message gives the range.
bool ParseIntIn(const std::string& text, const char* what, long min, long max, long* value);

// Reads a whole host file ("-" is stdin) for commands that take data from the engineer's side.
bool ReadHostFile(const std::string& path, std::string* data);

}  // namespace orba::cli

#endif
