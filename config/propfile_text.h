#ifndef ORBA_CONFIG_PROPFILE_TEXT_H
#define ORBA_CONFIG_PROPFILE_TEXT_H

// The in-memory text of a property file: "key=value\n" lines held in one 2048-byte buffer.

#include <stddef.h>

namespace orba::config {

// The whole file is handled in one buffer; at most kPropFileSize - 1 bytes are read.
constexpr size_t kPropFileSize = 2048;
// Writes beyond this size clear the file first, keeping property files small.
constexpr size_t kPropFileClearSize = 2000;
// Room for "key=".
constexpr size_t kPropPrefixSize = 100;

// Builds "key=" into prefix; false (nothing usable) when the key is null or does not fit.
bool BuildPrefix(const char* key, char (&prefix)[kPropPrefixSize]);

// Removes the whole line holding `match` and ending at `newline` from the text in `buffer`,
// moving everything after it up and clearing the freed tail.
void CutLine(char* buffer, char* match, char* newline);

}  // namespace orba::config

#endif
