// Section walks. A key without a colon is a section, whatever its value; the keys of a section
// are those that start with its name and a colon. Everything is reported in slot order.

#include "iniparser_sections.h"

#include <string.h>

#include "dictionary_store.h"
#include "iniparser_key.h"

namespace orba::ini {

bool InSection(const char* key, const char* section, size_t len) {
  return strncmp(key, section, len) == 0 && key[len] == ':';
}

int IniSectionCount(const dictionary* d) {
  if (d == nullptr) return -1;
  int count = 0;
  for (int64_t i = 0; i < d->size; ++i) {
    if (d->key[i] != nullptr && strchr(d->key[i], ':') == nullptr) ++count;
  }
  return count;
}

const char* IniSectionName(const dictionary* d, int n) {
  if (d == nullptr || n < 0) return nullptr;
  int seen = 0;
  for (int64_t i = 0; i < d->size; ++i) {
    if (d->key[i] == nullptr || strchr(d->key[i], ':') != nullptr) continue;
    if (seen++ == n) return d->key[i];
  }
  return nullptr;
}

int IniSectionKeyCount(const dictionary* d, const char* section) {
  if (d == nullptr || section == nullptr) return 0;
  IniKey s(section);
  if (DictFind(d, s.get()) < 0) return 0;
  int count = 0;
  for (int64_t i = 0; i < d->size; ++i) {
    if (d->key[i] != nullptr && InSection(d->key[i], s.get(), s.size())) ++count;
  }
  return count;
}

const char** IniSectionKeys(const dictionary* d, const char* section, const char** keys) {
  if (d == nullptr || keys == nullptr || section == nullptr) return nullptr;
  IniKey s(section);
  if (DictFind(d, s.get()) < 0) return nullptr;
  int count = 0;
  for (int64_t i = 0; i < d->size; ++i) {
    if (d->key[i] != nullptr && InSection(d->key[i], s.get(), s.size())) keys[count++] = d->key[i];
  }
  return keys;
}

}  // namespace orba::ini
