#ifndef ORBA_CONFIG_INIPARSER_QUERY_H
#define ORBA_CONFIG_INIPARSER_QUERY_H

#include <orbafactory/config.h>

namespace orba::ini {

const char* IniGetString(const dictionary* d, const char* key, const char* def);
int IniGetInt(const dictionary* d, const char* key, int notfound);
long IniGetLongInt(const dictionary* d, const char* key, long notfound);
double IniGetDouble(const dictionary* d, const char* key, double notfound);
int IniGetBoolean(const dictionary* d, const char* key, int notfound);
int IniFindEntry(const dictionary* d, const char* key);
int IniSet(dictionary* d, const char* entry, const char* val);
void IniUnset(dictionary* d, const char* entry);

}  // namespace orba::ini

#endif
