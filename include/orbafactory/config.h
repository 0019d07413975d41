#ifndef ORBAFACTORY_CONFIG_H
#define ORBAFACTORY_CONFIG_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include <orbafactory/export.h>

ORBA_BEGIN_DECLS

/* ---- INI parser and dictionary -------------------------------------------------------------- */

/* A string table with open slots. Sections are entries with a null value; keys inside a
   section are stored as "section:key". Keys and section names keep their case. The library
   owns every key and value string. Create with dictionary_new (or a loader) only: the record
   carries private state beyond these fields. */
typedef struct _dictionary_ {
  int n;          /* entries in use */
  int64_t size;   /* number of slots */
  char** val;     /* value of each slot, may be null */
  char** key;     /* key of each slot, null for a free slot */
  unsigned* hash; /* hash of each key, 0 for a free slot */
} dictionary;

ORBA_EXPORT unsigned dictionary_hash(const char* key);
ORBA_EXPORT dictionary* dictionary_new(size_t size);
ORBA_EXPORT void dictionary_del(dictionary* d);
ORBA_EXPORT const char* dictionary_get(const dictionary* d, const char* key, const char* def);
ORBA_EXPORT int dictionary_set(dictionary* d, const char* key, const char* val);
ORBA_EXPORT void dictionary_unset(dictionary* d, const char* key);
ORBA_EXPORT void dictionary_dump(const dictionary* d, FILE* out);
/* Reads slot `index`. key_out and val_out must hold key_len + 1 and val_len + 1 bytes.
   Returns 0, -1 (no dictionary or bad buffers), -2 (index out of range) or -3 (free slot or
   null value): walk from 0, skip -3, stop at -2. */
ORBA_EXPORT int dictionary_getstring_andkey(dictionary* d, char* key_out, int key_len,
                                            char* val_out, int val_len, int index);

ORBA_EXPORT void iniparser_set_error_callback(int (*errback)(const char*, ...));
ORBA_EXPORT dictionary* iniparser_load(const char* ininame);
/* Parses text in memory; the text is cut into lines in place. */
ORBA_EXPORT dictionary* iniparser_load_buffer(char* text);
ORBA_EXPORT void iniparser_freedict(dictionary* d);

ORBA_EXPORT int iniparser_getnsec(const dictionary* d);
ORBA_EXPORT const char* iniparser_getsecname(const dictionary* d, int n);
ORBA_EXPORT int iniparser_getsecnkeys(const dictionary* d, const char* s);
/* Fills `keys` (sized by iniparser_getsecnkeys) with the section's full keys. */
ORBA_EXPORT const char** iniparser_getseckeys(const dictionary* d, const char* s,
                                              const char** keys);

ORBA_EXPORT const char* iniparser_getstring(const dictionary* d, const char* key,
                                            const char* def);
ORBA_EXPORT int iniparser_getint(const dictionary* d, const char* key, int notfound);
ORBA_EXPORT long int iniparser_getlongint(const dictionary* d, const char* key,
                                          long int notfound);
ORBA_EXPORT double iniparser_getdouble(const dictionary* d, const char* key, double notfound);
ORBA_EXPORT int iniparser_getboolean(const dictionary* d, const char* key, int notfound);
ORBA_EXPORT int iniparser_find_entry(const dictionary* ini, const char* entry);

ORBA_EXPORT int iniparser_set(dictionary* ini, const char* entry, const char* val);
ORBA_EXPORT void iniparser_unset(dictionary* ini, const char* entry);

ORBA_EXPORT void iniparser_dump(const dictionary* d, FILE* f);
ORBA_EXPORT void iniparser_dump_ini(const dictionary* d, FILE* f);
ORBA_EXPORT void iniparser_dumpsection_ini(const dictionary* d, const char* s, FILE* f);
ORBA_EXPORT int iniparser_dump_path(const dictionary* d, const char* path);

/* ---- Policy files --------------------------------------------------------------------------- */

/* Writes `content` (at most 1023 bytes) to `path` opened with `oflag` as given (no O_CREAT or
   O_TRUNC added; new files get mode 0660). `flag` is passed on by callers and has no effect.
   0, -1 for a null path, or minus errno. */
ORBA_EXPORT int write_policy_file(int flag, const char* path, int oflag, const char* content);

ORBA_END_DECLS

#endif
