#ifndef ORBA_TOOLS_COMMANDS_WORDS_H
#define ORBA_TOOLS_COMMANDS_WORDS_H

// Words in and out of a command: a request rebuilt from the command line's words, and the words
// of a device's text turned into typed values of an answer.

#include <string>
#include <string_view>
#include <vector>

#include "command.h"
#include "reply.h"

namespace orba::cli {

// args[from..] joined by single spaces, as a device request takes them.
std::string Join(const Args& words, size_t from);

// The words of `text` between runs of spaces (and tabs, line ends).
std::vector<std::string> Split(std::string_view text);

// A decimal integer as an integer, any other text as it is: a device reports numbers as text,
// and an answer gives a number its kind only where the text is one.
Value IntegerOrText(std::string_view text);

}  // namespace orba::cli

#endif
