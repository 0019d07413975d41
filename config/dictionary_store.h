#ifndef ORBA_CONFIG_DICTIONARY_STORE_H
#define ORBA_CONFIG_DICTIONARY_STORE_H

#include <stddef.h>
#include <stdint.h>

#include <orbafactory/config.h>

// The dictionary's own operations. The library calls these, never the exported dictionary_*
// names, which another library loaded into the same process may also provide.
namespace orba::ini {

// A dictionary never starts with fewer slots than this.
constexpr size_t kMinSlots = 128;

unsigned DictHash(const char* key);
dictionary* DictNew(size_t size);
void DictDel(dictionary* d);
// The slot holding `key`, or -1: the first slot in index order whose key matches.
int64_t DictFind(const dictionary* d, const char* key);
const char* DictGet(const dictionary* d, const char* key, const char* def);
int DictSet(dictionary* d, const char* key, const char* val);
void DictUnset(dictionary* d, const char* key);

}  // namespace orba::ini

#endif
