#ifndef ORBA_TOOLS_ORBAFACTORY_HELP_H
#define ORBA_TOOLS_ORBAFACTORY_HELP_H

// The help texts, written for the width of the terminal they land on: the whole tool, one
// family (each command with its summary), and one command (usage, what it does, the values its
// arguments take, an example to copy).

#include <stdio.h>

#include <string>
#include <vector>

#include "command.h"

namespace orba::cli {

// The width help is wrapped to: the terminal's when stdout is one, else $COLUMNS, else 80.
size_t HelpWidth();

// `text` broken at spaces into lines of at most `width` columns (a longer word stands alone on
// its line), the first line taking `first` columns of indentation already written, the others
// indented by `indent`; ends with a newline.
std::string Wrap(const std::string& text, size_t width, size_t first, size_t indent);

// "nv get FIELD ..." for a usage line; the family alone for a family of one unnamed command.
std::string CommandLine(const Family& family, const Command& command);

// The name of the command's positional argument `index` as its usage shows it ("FIELD"), or
// "argument N" where the usage does not say.
std::string ArgumentName(const Command& command, size_t index);

// The values of each positional argument that has a known set, in order of position.
struct ArgumentValues {
  size_t index;
  std::vector<std::string> values;
};
std::vector<ArgumentValues> KnownValues(const Command& command);

void PrintToolHelp(FILE* out, size_t width);
void PrintFamilyHelp(FILE* out, const Family& family, size_t width);
void PrintCommandHelp(FILE* out, const Family& family, const Command& command, size_t width);

}  // namespace orba::cli

#endif
