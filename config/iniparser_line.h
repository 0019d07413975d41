#ifndef ORBA_CONFIG_INIPARSER_LINE_H
#define ORBA_CONFIG_INIPARSER_LINE_H

#include <stddef.h>

namespace orba::ini {

// A line (with its continuations) and each field scanned from it fit in this many bytes.
constexpr size_t kLineSize = 1024;
// "section:key" of two fields and the colon.
constexpr size_t kComposedKeySize = 2049;

enum class LineKind { kError = 1, kEmpty = 2, kComment = 3, kSection = 4, kValue = 5 };

// Space and the control characters tab to carriage return, the C locale's white space.
inline bool IsIniSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Strips white space at both ends in place; returns the new length.
size_t StripIni(char* s);

// Classifies one line. A section line overwrites `section`, a value line `key` and `value`;
// each must hold kLineSize bytes. A line of kLineSize characters or more is an error.
LineKind ClassifyLine(const char* line, char* section, char* key, char* value);

}  // namespace orba::ini

#endif
