// A process-wide set of the dictionaries this library allocated. Asking is on every lookup's
// path, so each thread remembers the last dictionary it confirmed; any removal from the set
// bumps a generation that voids those memories, since a freed record's address may come back
// as someone else's dictionary.

#include "dictionary_registry.h"

#include <stdint.h>
#include <stdlib.h>

#include <atomic>
#include <mutex>

namespace orba::ini {

namespace {

constexpr uintptr_t kFree = 0;
constexpr uintptr_t kRemoved = 1;
constexpr size_t kMinCapacity = 64;

std::mutex g_mutex;
uintptr_t* g_table = nullptr;  // open addressing, linear probing
size_t g_capacity = 0;         // a power of two
size_t g_live = 0;             // registered dictionaries
size_t g_used = 0;             // live entries plus removal markers
std::atomic<uint64_t> g_generation{1};

struct Confirmed {
  const dictionary* d = nullptr;
  uint64_t generation = 0;
};
thread_local Confirmed t_confirmed;

size_t Home(uintptr_t p) {
  uint64_t h = static_cast<uint64_t>(p) * 0x9E3779B97F4A7C15ull;
  return static_cast<size_t>(h >> 32) & (g_capacity - 1);
}

// Index of `p` in the table, or of the free slot where probing for it stopped.
size_t Probe(uintptr_t p) {
  size_t pos = Home(p);
  while (g_table[pos] != kFree && g_table[pos] != p) pos = (pos + 1) & (g_capacity - 1);
  return pos;
}

bool Rehash(size_t capacity) {
  auto* table = static_cast<uintptr_t*>(calloc(capacity, sizeof(uintptr_t)));
  if (table == nullptr) return false;
  uintptr_t* old = g_table;
  size_t old_capacity = g_capacity;
  g_table = table;
  g_capacity = capacity;
  g_used = 0;
  for (size_t i = 0; i < old_capacity; ++i) {
    if (old[i] == kFree || old[i] == kRemoved) continue;
    g_table[Probe(old[i])] = old[i];
    ++g_used;
  }
  free(old);
  return true;
}

}  // namespace

bool RegisterDictionary(const dictionary* d) {
  auto p = reinterpret_cast<uintptr_t>(d);
  std::lock_guard<std::mutex> lock(g_mutex);
  // Kept at most half full, removal markers included; a rehash drops the markers and sizes the
  // table for the live entries.
  if ((g_used + 1) * 2 > g_capacity) {
    size_t capacity = kMinCapacity;
    while (capacity < (g_live + 1) * 4) capacity *= 2;
    if (!Rehash(capacity)) return false;
  }
  size_t pos = Probe(p);
  if (g_table[pos] != p) {
    g_table[pos] = p;
    ++g_used;
    ++g_live;
  }
  return true;
}

void UnregisterDictionary(const dictionary* d) {
  auto p = reinterpret_cast<uintptr_t>(d);
  std::lock_guard<std::mutex> lock(g_mutex);
  g_generation.fetch_add(1, std::memory_order_acq_rel);
  if (g_capacity == 0) return;
  size_t pos = Probe(p);
  if (g_table[pos] == p) {
    g_table[pos] = kRemoved;
    --g_live;
  }
}

bool IsOwnDictionary(const dictionary* d) {
  if (d == nullptr) return false;
  uint64_t generation = g_generation.load(std::memory_order_acquire);
  if (t_confirmed.d == d && t_confirmed.generation == generation) return true;
  auto p = reinterpret_cast<uintptr_t>(d);
  std::lock_guard<std::mutex> lock(g_mutex);
  if (g_capacity == 0 || g_table[Probe(p)] != p) return false;
  t_confirmed = {d, g_generation.load(std::memory_order_relaxed)};
  return true;
}

}  // namespace orba::ini
