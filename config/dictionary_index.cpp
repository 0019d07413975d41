// The lookup index beside a dictionary's slot arrays: an open-addressing table from key hash to
// slot number, and a bitmap of used slots for finding the next free one.

#include "dictionary_index.h"

#include <stdlib.h>
#include <string.h>

namespace orba::ini {

namespace {

constexpr size_t kMinBuckets = 16;

}  // namespace

void SlotIndex::Clear() {
  free(buckets_);
  free(used_);
  buckets_ = nullptr;
  used_ = nullptr;
  capacity_ = 0;
  shift_ = 0;
  count_ = 0;
  used_words_ = 0;
  on_ = false;
}

bool SlotIndex::InSync(const dictionary* d) const {
  return on_ && n_ == d->n && size_ == d->size && keys_ == d->key && hashes_ == d->hash;
}

void SlotIndex::Remember(const dictionary* d) {
  n_ = d->n;
  size_ = d->size;
  keys_ = d->key;
  hashes_ = d->hash;
}

size_t SlotIndex::Home(unsigned hash) const {
  // Fibonacci hashing spreads the top bits; the key hash alone may cluster in its low bits.
  return static_cast<uint32_t>(hash * 2654435769u) >> shift_;
}

bool SlotIndex::ResizeUsed(int64_t slots) {
  size_t words = static_cast<size_t>((slots + 63) / 64);
  if (words == used_words_) return true;
  auto* grown = static_cast<uint64_t*>(calloc(words, sizeof(uint64_t)));
  if (grown == nullptr) return false;
  if (used_ != nullptr) {
    memcpy(grown, used_, (words < used_words_ ? words : used_words_) * sizeof(uint64_t));
    free(used_);
  }
  used_ = grown;
  used_words_ = words;
  return true;
}

bool SlotIndex::GrowBuckets(const dictionary* d) {
  size_t capacity = capacity_ == 0 ? kMinBuckets : capacity_ * 2;
  if (capacity > (size_t{1} << 32)) return false;
  auto* table = static_cast<uint32_t*>(malloc(capacity * sizeof(uint32_t)));
  if (table == nullptr) return false;
  memset(table, 0xff, capacity * sizeof(uint32_t));
  uint32_t* old = buckets_;
  size_t old_capacity = capacity_;
  buckets_ = table;
  capacity_ = capacity;
  shift_ = 32 - static_cast<unsigned>(__builtin_ctzll(capacity));
  size_t mask = capacity_ - 1;
  for (size_t i = 0; i < old_capacity; ++i) {
    if (old[i] == kEmpty) continue;
    size_t pos = Home(d->hash[old[i]]);
    while (buckets_[pos] != kEmpty) pos = (pos + 1) & mask;
    buckets_[pos] = old[i];
  }
  free(old);
  return true;
}

bool SlotIndex::Insert(const dictionary* d, uint32_t slot) {
  // At most half full, so probe runs stay short.
  if ((count_ + 1) * 2 > capacity_ && !GrowBuckets(d)) return false;
  size_t mask = capacity_ - 1;
  size_t pos = Home(d->hash[slot]);
  while (buckets_[pos] != kEmpty) pos = (pos + 1) & mask;
  buckets_[pos] = slot;
  ++count_;
  used_[slot >> 6] |= uint64_t{1} << (slot & 63);
  return true;
}

bool SlotIndex::Rebuild(const dictionary* d) {
  Clear();
  // Slot numbers are kept in 32 bits; a table beyond that is simply scanned.
  if (d->size <= 0 || d->size >= static_cast<int64_t>(kEmpty) || d->key == nullptr ||
      d->hash == nullptr) {
    return false;
  }
  if (!ResizeUsed(d->size) || !GrowBuckets(d)) {
    Clear();
    return false;
  }
  for (int64_t i = 0; i < d->size; ++i) {
    if (d->key[i] != nullptr && !Insert(d, static_cast<uint32_t>(i))) {
      Clear();
      return false;
    }
  }
  on_ = true;
  Remember(d);
  return true;
}

int64_t SlotIndex::Find(const dictionary* d, const char* key, unsigned hash) const {
  size_t mask = capacity_ - 1;
  for (size_t pos = Home(hash); buckets_[pos] != kEmpty; pos = (pos + 1) & mask) {
    uint32_t slot = buckets_[pos];
    if (d->hash[slot] == hash && d->key[slot] != nullptr && strcmp(d->key[slot], key) == 0) {
      return slot;
    }
  }
  return -1;
}

int64_t SlotIndex::FirstFree(int64_t start) const {
  auto scan = [this](int64_t from, int64_t to) -> int64_t {
    int64_t i = from;
    while (i < to) {
      size_t word = static_cast<size_t>(i >> 6);
      uint64_t free_bits = ~used_[word] & (~uint64_t{0} << (i & 63));
      if (free_bits != 0) {
        int64_t slot = static_cast<int64_t>(word << 6) + __builtin_ctzll(free_bits);
        return slot < to ? slot : -1;
      }
      i = static_cast<int64_t>((word + 1) << 6);
    }
    return -1;
  };
  if (start < 0 || start >= size_) start = 0;
  int64_t slot = scan(start, size_);
  return slot >= 0 ? slot : scan(0, start);
}

bool SlotIndex::SlotFilled(const dictionary* d, int64_t slot) {
  if (!on_) return false;
  if (!Insert(d, static_cast<uint32_t>(slot))) {
    Clear();
    return false;
  }
  return true;
}

void SlotIndex::SlotCleared(const dictionary* d, int64_t slot) {
  if (!on_) return;
  size_t mask = capacity_ - 1;
  size_t pos = Home(d->hash[slot]);
  while (buckets_[pos] != static_cast<uint32_t>(slot)) {
    if (buckets_[pos] == kEmpty) {
      // The slot was never indexed: the arrays were changed behind our back.
      Clear();
      return;
    }
    pos = (pos + 1) & mask;
  }
  // Backward-shift deletion keeps every probe run unbroken without tombstones.
  size_t hole = pos;
  for (size_t next = (pos + 1) & mask; buckets_[next] != kEmpty; next = (next + 1) & mask) {
    size_t home = Home(d->hash[buckets_[next]]);
    bool stays = hole <= next ? (hole < home && home <= next) : (hole < home || home <= next);
    if (stays) continue;
    buckets_[hole] = buckets_[next];
    hole = next;
  }
  buckets_[hole] = kEmpty;
  --count_;
  used_[slot >> 6] &= ~(uint64_t{1} << (slot & 63));
}

bool SlotIndex::SlotsGrown(const dictionary* d) {
  if (!on_) return false;
  if (d->size >= static_cast<int64_t>(kEmpty) || !ResizeUsed(d->size)) {
    Clear();
    return false;
  }
  return true;
}

}  // namespace orba::ini
