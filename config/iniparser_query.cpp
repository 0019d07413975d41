// Getters and setters by "section:key". Keys are used exactly as given (up to the key buffer):
// lookups are case-sensitive.

#include "iniparser_query.h"

#include <stdlib.h>

#include "dictionary_store.h"
#include "iniparser_key.h"

namespace orba::ini {

namespace {

// The value of a key that exists and has text; null for an absent key and for a section
// (whose value is null), so typed getters give the caller's default for both.
const char* ValueText(const dictionary* d, const char* key) {
  if (d == nullptr) return nullptr;
  IniKey k(key);
  int64_t slot = DictFind(d, k.get());
  return slot < 0 ? nullptr : d->val[slot];
}

}  // namespace

const char* IniGetString(const dictionary* d, const char* key, const char* def) {
  if (d == nullptr || key == nullptr) return def;
  IniKey k(key);
  return DictGet(d, k.get(), def);
}

int IniGetInt(const dictionary* d, const char* key, int notfound) {
  const char* s = ValueText(d, key);
  return s == nullptr ? notfound : static_cast<int>(strtol(s, nullptr, 0));
}

long IniGetLongInt(const dictionary* d, const char* key, long notfound) {
  const char* s = ValueText(d, key);
  return s == nullptr ? notfound : strtol(s, nullptr, 0);
}

double IniGetDouble(const dictionary* d, const char* key, double notfound) {
  const char* s = ValueText(d, key);
  return s == nullptr ? notfound : atof(s);
}

int IniGetBoolean(const dictionary* d, const char* key, int notfound) {
  const char* s = ValueText(d, key);
  if (s == nullptr) return notfound;
  switch (s[0]) {
    case '1': case 'T': case 'Y': case 't': case 'y':
      return 1;
    case '0': case 'F': case 'N': case 'f': case 'n':
      return 0;
    default:
      return notfound;
  }
}

int IniFindEntry(const dictionary* d, const char* key) {
  if (d == nullptr || key == nullptr) return 0;
  IniKey k(key);
  return DictFind(d, k.get()) >= 0 ? 1 : 0;
}

int IniSet(dictionary* d, const char* entry, const char* val) {
  if (d == nullptr || entry == nullptr) return -1;
  IniKey k(entry);
  return DictSet(d, k.get(), val);
}

void IniUnset(dictionary* d, const char* entry) {
  if (d == nullptr || entry == nullptr) return;
  IniKey k(entry);
  DictUnset(d, k.get());
}

}  // namespace orba::ini
