// Writing a dictionary out: a flat debugging listing, and the INI layout that the loaders read
// back (sections in slot order, keys aligned).

#include "iniparser_dump.h"

#include <string.h>

#include <platform/devpath.h>

#include "dictionary_store.h"
#include "iniparser_error.h"
#include "iniparser_key.h"
#include "iniparser_sections.h"

namespace orba::ini {

void IniDump(const dictionary* d, FILE* f) {
  if (d == nullptr || f == nullptr) return;
  for (int64_t i = 0; i < d->size; ++i) {
    if (d->key[i] == nullptr) continue;
    if (d->val[i] != nullptr) {
      fprintf(f, "[%s]=[%s]\n", d->key[i], d->val[i]);
    } else {
      fprintf(f, "[%s]=UNDEF\n", d->key[i]);
    }
  }
}

void IniDumpSectionIni(const dictionary* d, const char* section, FILE* f) {
  if (d == nullptr || f == nullptr || section == nullptr) return;
  IniKey s(section);
  if (DictFind(d, s.get()) < 0) return;
  fprintf(f, "\n[%s]\n", s.get());
  for (int64_t i = 0; i < d->size; ++i) {
    if (d->key[i] == nullptr || !InSection(d->key[i], s.get(), s.size())) continue;
    fprintf(f, "%-30s = %s\n", d->key[i] + s.size() + 1, d->val[i] != nullptr ? d->val[i] : "");
  }
  fprintf(f, "\n");
}

void IniDumpIni(const dictionary* d, FILE* f) {
  if (d == nullptr || f == nullptr) return;
  if (IniSectionCount(d) < 1) {
    for (int64_t i = 0; i < d->size; ++i) {
      if (d->key[i] == nullptr) continue;
      // printf would print a null value as "(null)" on both C libraries; say so explicitly.
      fprintf(f, "%s = %s\n", d->key[i], d->val[i] != nullptr ? d->val[i] : "(null)");
    }
    return;
  }
  for (int64_t i = 0; i < d->size; ++i) {
    if (d->key[i] != nullptr && strchr(d->key[i], ':') == nullptr) {
      IniDumpSectionIni(d, d->key[i], f);
    }
  }
  fprintf(f, "\n");
}

int IniDumpPath(const dictionary* d, const char* path) {
  // Opening for writing empties the file: without a dictionary there is nothing to replace it.
  if (d == nullptr || path == nullptr) return -1;
  FILE* f = fopen(DevPath(path), "we");
  if (f == nullptr) return CurrentErrorCallback()("iniparser: cannot open %s\n", path);
  IniDumpIni(d, f);
  bool failed = fflush(f) != 0 || ferror(f) != 0;
  int rc = fclose(f);
  // A write that failed must not look like success, even if the close itself went through.
  return failed ? EOF : rc;
}

}  // namespace orba::ini
