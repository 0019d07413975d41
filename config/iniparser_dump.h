#ifndef ORBA_CONFIG_INIPARSER_DUMP_H
#define ORBA_CONFIG_INIPARSER_DUMP_H

#include <stdio.h>

#include <orbafactory/config.h>

namespace orba::ini {

void IniDump(const dictionary* d, FILE* f);
void IniDumpIni(const dictionary* d, FILE* f);
void IniDumpSectionIni(const dictionary* d, const char* section, FILE* f);
int IniDumpPath(const dictionary* d, const char* path);

}  // namespace orba::ini

#endif
