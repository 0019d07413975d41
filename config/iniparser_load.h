#ifndef ORBA_CONFIG_INIPARSER_LOAD_H
#define ORBA_CONFIG_INIPARSER_LOAD_H

#include <orbafactory/config.h>

namespace orba::ini {

dictionary* IniLoad(const char* path);
dictionary* IniLoadBuffer(char* text);

}  // namespace orba::ini

#endif
