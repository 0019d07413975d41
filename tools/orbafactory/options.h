#ifndef ORBA_TOOLS_ORBAFACTORY_OPTIONS_H
#define ORBA_TOOLS_ORBAFACTORY_OPTIONS_H

// The front end's own options, taken from anywhere on the line as git and adb users expect
// (`orbafactory cali list -v`, `orbafactory -v cali list` and `orbafactory cali -v list` are one
// command). What they leave, in order, is the command: family, command name, and the arguments,
// a command's own options (--app, --image FILE, ...) among them.

#include <string>
#include <vector>

namespace orba::cli {

struct Invocation {
  bool verbose = false;  // -v, --verbose
  bool json = false;     // --json
  bool help = false;     // -h, --help
  bool version = false;  // --version
  bool has_root = false;
  std::string root;  // --root DIR, --root=DIR
  // Family, command and arguments. After `--` every word is the command's, the `--` dropped.
  std::vector<std::string> words;
};

// Splits argv into the front end's options and the command's words. A word starting with '-'
// that is none of ours stays with the command, which judges it; before any family it cannot be
// a command's, so it is refused there. Once a command that runs another program's command line
// (`exec [--timeout S] COMMAND [ARG...]`) has reached that COMMAND, the rest of the line is the
// program's, options included, as with `adb shell`. False with `error` set on a refused line.
bool ParseCommandLine(int argc, char** argv, Invocation* invocation, std::string* error);

}  // namespace orba::cli

#endif
