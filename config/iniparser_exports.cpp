// The exported iniparser_* entry points. Another library in the same process may export the
// same names, so these only forward: the library's own code calls orba::ini directly.

#include <orbafactory/config.h>

#include "dictionary_store.h"
#include "iniparser_dump.h"
#include "iniparser_error.h"
#include "iniparser_load.h"
#include "iniparser_query.h"
#include "iniparser_sections.h"

extern "C" {

void iniparser_set_error_callback(int (*errback)(const char*, ...)) {
  orba::ini::SetErrorCallback(errback);
}

dictionary* iniparser_load(const char* ininame) { return orba::ini::IniLoad(ininame); }

dictionary* iniparser_load_buffer(char* text) { return orba::ini::IniLoadBuffer(text); }

void iniparser_freedict(dictionary* d) { orba::ini::DictDel(d); }

int iniparser_getnsec(const dictionary* d) { return orba::ini::IniSectionCount(d); }

const char* iniparser_getsecname(const dictionary* d, int n) {
  return orba::ini::IniSectionName(d, n);
}

int iniparser_getsecnkeys(const dictionary* d, const char* s) {
  return orba::ini::IniSectionKeyCount(d, s);
}

const char** iniparser_getseckeys(const dictionary* d, const char* s, const char** keys) {
  return orba::ini::IniSectionKeys(d, s, keys);
}

const char* iniparser_getstring(const dictionary* d, const char* key, const char* def) {
  return orba::ini::IniGetString(d, key, def);
}

int iniparser_getint(const dictionary* d, const char* key, int notfound) {
  return orba::ini::IniGetInt(d, key, notfound);
}

long int iniparser_getlongint(const dictionary* d, const char* key, long int notfound) {
  return orba::ini::IniGetLongInt(d, key, notfound);
}

double iniparser_getdouble(const dictionary* d, const char* key, double notfound) {
  return orba::ini::IniGetDouble(d, key, notfound);
}

int iniparser_getboolean(const dictionary* d, const char* key, int notfound) {
  return orba::ini::IniGetBoolean(d, key, notfound);
}

int iniparser_find_entry(const dictionary* ini, const char* entry) {
  return orba::ini::IniFindEntry(ini, entry);
}

int iniparser_set(dictionary* ini, const char* entry, const char* val) {
  return orba::ini::IniSet(ini, entry, val);
}

void iniparser_unset(dictionary* ini, const char* entry) { orba::ini::IniUnset(ini, entry); }

void iniparser_dump(const dictionary* d, FILE* f) { orba::ini::IniDump(d, f); }

void iniparser_dump_ini(const dictionary* d, FILE* f) { orba::ini::IniDumpIni(d, f); }

void iniparser_dumpsection_ini(const dictionary* d, const char* s, FILE* f) {
  orba::ini::IniDumpSectionIni(d, s, f);
}

int iniparser_dump_path(const dictionary* d, const char* path) {
  return orba::ini::IniDumpPath(d, path);
}

}  // extern "C"
