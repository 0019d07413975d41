#include "propfile_text.h"

#include <stdio.h>
#include <string.h>

namespace orba::config {

bool BuildPrefix(const char* key, char (&prefix)[kPropPrefixSize]) {
  if (key == nullptr) return false;
  int n = snprintf(prefix, sizeof(prefix), "%s=", key);
  return n > 0 && static_cast<size_t>(n) < sizeof(prefix);
}

void CutLine(char* buffer, char* match, char* newline) {
  // A key found as the tail of a longer key takes that longer key's line; the line goes whole,
  // never leaving its head joined to the next line.
  char* line = match;
  while (line > buffer && line[-1] != '\n') --line;
  size_t old_length = strlen(buffer);
  // All of the following lines move up, however long: none of them may be lost.
  size_t tail = strlen(newline + 1);
  memmove(line, newline + 1, tail + 1);
  size_t new_length = static_cast<size_t>(line - buffer) + tail;
  memset(buffer + new_length, 0, old_length - new_length);
}

}  // namespace orba::config
