// The slot table itself: creation, lookup, insertion with doubling, removal. Slot order is what
// callers walk and dump, so where an entry lands is part of the interface.

#include "dictionary_store.h"

#include <limits.h>
#include <stdlib.h>
#include <string.h>

#include <new>

#include "dictionary_index.h"
#include "dictionary_registry.h"

namespace orba::ini {

namespace {

// Callers hold a pointer to `pub`; the index travels with it unseen. The record comes from
// malloc like the rest, so a foreign dictionary_del that frees it does no worse than leak.
struct DictionaryRecord {
  dictionary pub;
  SlotIndex index;
};
static_assert(offsetof(DictionaryRecord, pub) == 0, "callers' pointer must be the record's");

// The index of one of our dictionaries; null for a dictionary another library made.
SlotIndex* IndexOf(const dictionary* d) {
  if (!IsOwnDictionary(d)) return nullptr;
  return &const_cast<DictionaryRecord*>(reinterpret_cast<const DictionaryRecord*>(d))->index;
}

int64_t ScanFor(const dictionary* d, const char* key, unsigned hash) {
  for (int64_t i = 0; i < d->size; ++i) {
    if (d->key[i] != nullptr && d->hash[i] == hash && strcmp(d->key[i], key) == 0) return i;
  }
  return -1;
}

int64_t FindHashed(const dictionary* d, SlotIndex* index, const char* key, unsigned hash) {
  return index != nullptr && index->InSync(d) ? index->Find(d, key, hash)
                                              : ScanFor(d, key, hash);
}

// Makes the index match the arrays before a change, so the change can be recorded in it.
void PrepareIndex(dictionary* d, SlotIndex* index) {
  if (index != nullptr && !index->InSync(d)) index->Rebuild(d);
}

int Grow(dictionary* d, SlotIndex* index) {
  // `n` is an int: a table that could hold more entries than it can count is not grown.
  if (d->size > INT_MAX) return -1;
  size_t slots = static_cast<size_t>(d->size) * 2;
  auto* val = static_cast<char**>(calloc(slots, sizeof(char*)));
  auto* key = static_cast<char**>(calloc(slots, sizeof(char*)));
  auto* hash = static_cast<unsigned*>(calloc(slots, sizeof(unsigned)));
  if (val == nullptr || key == nullptr || hash == nullptr) {
    free(val);
    free(key);
    free(hash);
    return -1;
  }
  size_t old = static_cast<size_t>(d->size);
  memcpy(val, d->val, old * sizeof(char*));
  memcpy(key, d->key, old * sizeof(char*));
  memcpy(hash, d->hash, old * sizeof(unsigned));
  free(d->val);
  free(d->key);
  free(d->hash);
  d->val = val;
  d->key = key;
  d->hash = hash;
  d->size = static_cast<int64_t>(slots);
  if (index != nullptr && index->SlotsGrown(d)) index->Remember(d);
  return 0;
}

int64_t FirstFreeSlot(const dictionary* d, const SlotIndex* index) {
  if (index != nullptr && index->InSync(d)) return index->FirstFree(d->n);
  // Bounded: a caller that edited the arrays directly may have left no free slot.
  int64_t i = d->n >= 0 && d->n < d->size ? d->n : 0;
  for (int64_t tries = 0; tries < d->size; ++tries) {
    if (d->key[i] == nullptr) return i;
    if (++i == d->size) i = 0;
  }
  return -1;
}

}  // namespace

unsigned DictHash(const char* key) {
  if (key == nullptr) return 0;
  uint32_t h = 0;
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(key); *p != '\0'; ++p) {
    h += *p;
    h += h << 10;
    h ^= h >> 6;
  }
  h += h << 3;
  h ^= h >> 11;
  h += h << 15;
  return h;
}

dictionary* DictNew(size_t size) {
  if (size < kMinSlots) size = kMinSlots;
  if (size > static_cast<size_t>(INT64_MAX)) return nullptr;
  void* mem = calloc(1, sizeof(DictionaryRecord));
  if (mem == nullptr) return nullptr;
  auto* rec = new (mem) DictionaryRecord();
  dictionary* d = &rec->pub;
  d->n = 0;
  d->size = static_cast<int64_t>(size);
  d->val = static_cast<char**>(calloc(size, sizeof(char*)));
  d->key = static_cast<char**>(calloc(size, sizeof(char*)));
  d->hash = static_cast<unsigned*>(calloc(size, sizeof(unsigned)));
  // A record without its arrays would crash the first call that touches it.
  if (d->val == nullptr || d->key == nullptr || d->hash == nullptr || !RegisterDictionary(d)) {
    free(d->val);
    free(d->key);
    free(d->hash);
    rec->~DictionaryRecord();
    free(rec);
    return nullptr;
  }
  return d;
}

void DictDel(dictionary* d) {
  if (d == nullptr) return;
  for (int64_t i = 0; i < d->size; ++i) {
    free(d->key[i]);
    free(d->val[i]);
  }
  free(d->val);
  free(d->key);
  free(d->hash);
  if (IsOwnDictionary(d)) {
    UnregisterDictionary(d);
    auto* rec = reinterpret_cast<DictionaryRecord*>(d);
    rec->~DictionaryRecord();
    free(rec);
  } else {
    free(d);
  }
}

int64_t DictFind(const dictionary* d, const char* key) {
  if (d == nullptr || key == nullptr) return -1;
  return FindHashed(d, IndexOf(d), key, DictHash(key));
}

const char* DictGet(const dictionary* d, const char* key, const char* def) {
  int64_t slot = DictFind(d, key);
  return slot < 0 ? def : d->val[slot];
}

int DictSet(dictionary* d, const char* key, const char* val) {
  if (d == nullptr || key == nullptr) return -1;
  SlotIndex* index = IndexOf(d);
  PrepareIndex(d, index);
  unsigned hash = DictHash(key);
  if (d->n >= 1) {
    int64_t slot = FindHashed(d, index, key, hash);
    if (slot >= 0) {
      // Copy first: on failure the old value stays.
      char* copy = nullptr;
      if (val != nullptr && (copy = strdup(val)) == nullptr) return -1;
      free(d->val[slot]);
      d->val[slot] = copy;
      return 0;
    }
  }
  if (d->n == INT_MAX) return -1;
  if (d->n == d->size && Grow(d, index) != 0) return -1;

  int64_t slot = FirstFreeSlot(d, index);
  if (slot < 0) return -1;
  char* key_copy = strdup(key);
  char* val_copy = val != nullptr ? strdup(val) : nullptr;
  if (key_copy == nullptr || (val != nullptr && val_copy == nullptr)) {
    free(key_copy);
    free(val_copy);
    return -1;
  }
  d->key[slot] = key_copy;
  d->val[slot] = val_copy;
  d->hash[slot] = hash;
  d->n++;
  if (index != nullptr && index->SlotFilled(d, slot)) index->Remember(d);
  return 0;
}

void DictUnset(dictionary* d, const char* key) {
  if (d == nullptr || key == nullptr) return;
  SlotIndex* index = IndexOf(d);
  PrepareIndex(d, index);
  int64_t slot = FindHashed(d, index, key, DictHash(key));
  if (slot < 0) return;
  if (index != nullptr) index->SlotCleared(d, slot);
  free(d->key[slot]);
  free(d->val[slot]);
  d->key[slot] = nullptr;
  d->val[slot] = nullptr;
  d->hash[slot] = 0;
  d->n--;
  if (index != nullptr) index->Remember(d);
}

}  // namespace orba::ini
