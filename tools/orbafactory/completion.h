#ifndef ORBA_TOOLS_ORBAFACTORY_COMPLETION_H
#define ORBA_TOOLS_ORBAFACTORY_COMPLETION_H

// The bash completion script, written from the command table: families, commands, the front
// end's options and every argument value a command names. The lists are embedded, so completing
// costs no process and works with no device; the build writes the script out and installs it.

#include <string>

namespace orba::cli {

std::string BashCompletionScript();

// A word as a bash single-quoted string.
std::string ShellQuoted(const std::string& word);

}  // namespace orba::cli

#endif
