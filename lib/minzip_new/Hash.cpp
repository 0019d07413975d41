// Open-addressing hash table with linear probing. Removed items leave tombstones so the probe
// chains of the items after them stay intact; growth drops the tombstones again.

#include <orbafactory/minzip.h>
#include <platform/log.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>

namespace {

// The probe chain of a slot continues past a tombstone; only an empty slot ends it.
inline bool IsLive(const HashEntry& e) { return e.data != nullptr && e.data != HASH_TOMBSTONE; }

size_t RoundUpPower2Size(size_t val) {
  size_t p = 1;
  while (p < val) {
    if (p > SIZE_MAX / 2) return 0;
    p <<= 1;
  }
  return p;
}

// Re-inserts every live item into a table of `new_size` slots by its stored hash.
void Resize(HashTable* table, size_t new_size) {
  HashEntry* fresh =
      new_size != 0 ? static_cast<HashEntry*>(calloc(new_size, sizeof(HashEntry))) : nullptr;
  if (fresh == nullptr) {
    // Lookups hand out pointers the caller relies on being indexed; there is no way to keep
    // working with a table that silently stopped accepting items.
    ORBA_LOGE("Mabaig hash resize failure\n");
    abort();
  }
  const size_t mask = new_size - 1;
  for (size_t i = 0; i < table->size; ++i) {
    const HashEntry& e = table->entries[i];
    if (!IsLive(e)) continue;
    size_t idx = e.hash_value & mask;
    while (fresh[idx].data != nullptr) idx = (idx + 1) & mask;
    fresh[idx] = e;
  }
  free(table->entries);
  table->entries = fresh;
  table->size = new_size;
  table->dead_count = 0;
}

}  // namespace

extern "C" {

size_t mzHashSize(size_t n) { return n * 8 / 5 + 1; }

unsigned int roundUpPower2(unsigned int val) {
  val--;
  val |= val >> 1;
  val |= val >> 2;
  val |= val >> 4;
  val |= val >> 8;
  val |= val >> 16;
  return val + 1;
}

HashTable* mzHashTableCreate(size_t initial_size, HashFreeFunc free_func) {
  // A table needs at least one slot for its probe arithmetic to work.
  const size_t size = RoundUpPower2Size(initial_size == 0 ? 1 : initial_size);
  if (size == 0) return nullptr;
  HashTable* table = static_cast<HashTable*>(calloc(1, sizeof(HashTable)));
  if (table == nullptr) return nullptr;
  table->entries = static_cast<HashEntry*>(calloc(size, sizeof(HashEntry)));
  if (table->entries == nullptr) {
    free(table);
    return nullptr;
  }
  table->size = size;
  table->free_func = free_func;
  return table;
}

void mzHashTableClear(HashTable* table) {
  if (table == nullptr) return;
  for (size_t i = 0; i < table->size; ++i) {
    HashEntry& e = table->entries[i];
    if (IsLive(e) && table->free_func != nullptr) table->free_func(e.data);
    e.data = nullptr;
    e.hash_value = 0;
  }
  table->entry_count = 0;
  table->dead_count = 0;
}

void mzHashTableFree(HashTable* table) {
  if (table == nullptr) return;
  mzHashTableClear(table);
  free(table->entries);
  free(table);
}

void* mzHashTableLookup(HashTable* table, unsigned int hash, void* item, HashCompareFunc cmp,
                        bool add_if_missing) {
  const size_t mask = table->size - 1;
  size_t idx = hash & mask;
  // Growth keeps empty slots around, so the walk always ends at one; the bound only guarantees
  // that a table somebody filled by hand cannot make it spin.
  for (size_t probes = 0; table->entries[idx].data != nullptr; ++probes) {
    const HashEntry& e = table->entries[idx];
    if (probes == table->size) return nullptr;
    if (e.data != HASH_TOMBSTONE && e.hash_value == hash && cmp(e.data, item) == 0) return e.data;
    idx = (idx + 1) & mask;
  }
  if (!add_if_missing) return nullptr;

  table->entries[idx].hash_value = hash;
  table->entries[idx].data = item;
  table->entry_count++;
  if ((table->entry_count + table->dead_count) * 8 > table->size * 5) {
    Resize(table, table->size <= SIZE_MAX / 2 ? table->size * 2 : 0);
  }
  return item;
}

bool mzHashTableRemove(HashTable* table, unsigned int hash, void* item) {
  const size_t mask = table->size - 1;
  size_t idx = hash & mask;
  for (size_t probes = 0; probes < table->size && table->entries[idx].data != nullptr; ++probes) {
    HashEntry& e = table->entries[idx];
    if (e.data == item) {
      e.data = HASH_TOMBSTONE;
      table->entry_count--;
      table->dead_count++;
      return true;
    }
    idx = (idx + 1) & mask;
  }
  return false;
}

int mzHashForeach(HashTable* table, HashForeachFunc func, void* arg) {
  for (size_t i = 0; i < table->size; ++i) {
    if (!IsLive(table->entries[i])) continue;
    const int result = func(table->entries[i].data, arg);
    if (result != 0) return result;
  }
  return 0;
}

int countProbes(HashTable* table, unsigned int hash, const void* item, HashCompareFunc cmp) {
  const size_t mask = table->size - 1;
  size_t idx = hash & mask;
  for (size_t probes = 1; probes <= table->size && table->entries[idx].data != nullptr; ++probes) {
    const HashEntry& e = table->entries[idx];
    if (e.data != HASH_TOMBSTONE && e.hash_value == hash && cmp(e.data, item) == 0) {
      return static_cast<int>(probes);
    }
    idx = (idx + 1) & mask;
  }
  return -1;
}

int mzHashTableProbeCount(HashTable* table, HashCalcFunc calc_func, HashCompareFunc cmp) {
  int min_probes = 0;
  int max_probes = 0;
  long total = 0;
  size_t counted = 0;
  for (size_t i = 0; i < table->size; ++i) {
    const HashEntry& e = table->entries[i];
    if (!IsLive(e)) continue;
    const int probes = countProbes(table, calc_func(e.data), e.data, cmp);
    if (probes < 0) {
      ORBA_LOGE("Item %p in slot %zu cannot be found by its hash\n", e.data, i);
      continue;
    }
    if (counted == 0 || probes < min_probes) min_probes = probes;
    if (probes > max_probes) max_probes = probes;
    total += probes;
    counted++;
  }
  ORBA_LOGD("Probe: min=%d max=%d, total=%ld in %zu (%zu), avg=%.3f\n", min_probes, max_probes,
            total, counted, table->size,
            counted != 0 ? static_cast<double>(total) / static_cast<double>(counted) : 0.0);
  return total > INT32_MAX ? INT32_MAX : static_cast<int>(total);
}

}  // extern "C"
