#ifndef ORBA_TOOLS_COMMANDS_WORDS_H
#define ORBA_TOOLS_COMMANDS_WORDS_H

// The words of a device's text, turned into typed values of an answer. (A request rebuilt from
// the command line's words is libbase's Join.)

#include <string>
#include <string_view>
#include <vector>

#include "command.h"
#include "reply.h"

namespace orba::cli {

// The words of `text` between runs of spaces (and tabs, line ends).
std::vector<std::string> Split(std::string_view text);

// A decimal integer as an integer, any other text as it is: a device reports numbers as text,
// and an answer gives a number its kind only where the text is one.
Value IntegerOrText(std::string_view text);

}  // namespace orba::cli

#endif
