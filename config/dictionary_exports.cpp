// The exported dictionary_* entry points. Another library in the same process may export the
// same names, so these only forward: the library's own code calls orba::ini directly.

#include <orbafactory/config.h>

#include "dictionary_store.h"
#include "dictionary_walk.h"

extern "C" {

unsigned dictionary_hash(const char* key) { return orba::ini::DictHash(key); }

dictionary* dictionary_new(size_t size) { return orba::ini::DictNew(size); }

void dictionary_del(dictionary* d) { orba::ini::DictDel(d); }

const char* dictionary_get(const dictionary* d, const char* key, const char* def) {
  return orba::ini::DictGet(d, key, def);
}

int dictionary_set(dictionary* d, const char* key, const char* val) {
  return orba::ini::DictSet(d, key, val);
}

void dictionary_unset(dictionary* d, const char* key) { orba::ini::DictUnset(d, key); }

void dictionary_dump(const dictionary* d, FILE* out) { orba::ini::DictDump(d, out); }

int dictionary_getstring_andkey(dictionary* d, char* key_out, int key_len, char* val_out,
                                int val_len, int index) {
  return orba::ini::DictSlotEntry(d, key_out, key_len, val_out, val_len, index);
}

}  // extern "C"
