// The line grammar. Unlike common INI readers, an unquoted value runs to the end of the line:
// factory scripts keep shell commands with ';' and '#' in values. Only a backtick ends a value
// early, and case is never folded.

#include "iniparser_line.h"

#include <stdio.h>
#include <string.h>

namespace orba::ini {

namespace {

// sscanf widths match kLineSize - 1. Input lines are already shorter than that, so the widths
// never change a result; they only make an overflow impossible.
static_assert(kLineSize == 1024, "the scan widths below assume 1024-byte fields");

}  // namespace

size_t StripIni(char* s) {
  if (s == nullptr) return 0;
  char* begin = s;
  while (*begin != '\0' && IsIniSpace(*begin)) ++begin;
  char* end = begin + strlen(begin);
  while (end > begin && IsIniSpace(end[-1])) --end;
  size_t len = static_cast<size_t>(end - begin);
  memmove(s, begin, len);
  s[len] = '\0';
  return len;
}

LineKind ClassifyLine(const char* input, char* section, char* key, char* value) {
  size_t input_len = strnlen(input, kLineSize);
  if (input_len >= kLineSize) return LineKind::kError;
  char line[kLineSize];
  memcpy(line, input, input_len + 1);
  size_t len = StripIni(line);

  if (len < 1) return LineKind::kEmpty;
  if (line[0] == '#' || line[0] == ';') return LineKind::kComment;
  if (line[0] == '[' && line[len - 1] == ']') {
    // "[]" scans nothing and names the empty section, like "[ ]".
    section[0] = '\0';
    sscanf(line, "[%1023[^]]", section);
    StripIni(section);
    return LineKind::kSection;
  }
  // Every value form needs an '=' after at least one key character.
  const char* equals = strchr(line, '=');
  if (equals == nullptr || equals == line) return LineKind::kError;
  // The quoted forms can only match when a quote is the first thing after the '='; checking
  // that first spares most lines two scans.
  const char* after = equals + 1;
  while (IsIniSpace(*after)) ++after;
  bool quoted = *after == '"' || *after == '\'';
  if (quoted && (sscanf(line, "%1023[^=] = \"%1023[^\"]\"", key, value) == 2 ||
                 sscanf(line, "%1023[^=] = '%1023[^']'", key, value) == 2)) {
    // Quoted values keep their inner white space.
    StripIni(key);
    return LineKind::kValue;
  }
  if (sscanf(line, "%1023[^=] = %1023[^`]", key, value) == 2) {
    StripIni(key);
    StripIni(value);
    // The scan cannot match an empty pair of quotes; they mean an empty value.
    if (strcmp(value, "\"\"") == 0 || strcmp(value, "''") == 0) value[0] = '\0';
    return LineKind::kValue;
  }
  if (sscanf(line, "%1023[^=] = %1023[;]", key, value) == 2 ||
      sscanf(line, "%1023[^=] %1023[=]", key, value) == 2) {
    // "key =" alone, or a value that starts with a backtick: an empty value.
    StripIni(key);
    value[0] = '\0';
    return LineKind::kValue;
  }
  return LineKind::kError;
}

}  // namespace orba::ini
