#ifndef ORBA_CONFIG_INIPARSER_SECTIONS_H
#define ORBA_CONFIG_INIPARSER_SECTIONS_H

#include <stddef.h>

#include <orbafactory/config.h>

namespace orba::ini {

// True when `key` is "<section>:..." for a section name of `len` bytes.
bool InSection(const char* key, const char* section, size_t len);

int IniSectionCount(const dictionary* d);
const char* IniSectionName(const dictionary* d, int n);
int IniSectionKeyCount(const dictionary* d, const char* section);
const char** IniSectionKeys(const dictionary* d, const char* section, const char** keys);

}  // namespace orba::ini

#endif
