#include "keep_set.h"

#include <string.h>

namespace orba::tfdata {

namespace {

inline unsigned char Fold(unsigned char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}

// FNV-1a over the folded bytes, so strings equal ignoring case hash alike.
uint64_t FoldedHash(const char* s, size_t len) {
  uint64_t h = 1469598103934665603ull;
  for (size_t i = 0; i < len; ++i) {
    h ^= Fold(static_cast<unsigned char>(s[i]));
    h *= 1099511628211ull;
  }
  return h;
}

bool FoldedEqual(const char* a, const char* b, size_t len) {
  for (size_t i = 0; i < len; ++i) {
    if (Fold(static_cast<unsigned char>(a[i])) != Fold(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

}  // namespace

KeepSet::KeepSet(const tf_data_list* keep) {
  size_t n = 0;
  for (const tf_data_list* node = keep; node != nullptr; node = node->next) ++n;
  if (n == 0) return;
  // At most half full, so probe sequences stay short.
  size_t capacity = 16;
  while (capacity < 2 * n) capacity *= 2;
  slots_.resize(capacity);
  mask_ = capacity - 1;
  for (const tf_data_list* node = keep; node != nullptr; node = node->next) {
    size_t len = strnlen(node->path, sizeof(node->path));
    uint64_t hash = FoldedHash(node->path, len);
    Slot* slot = const_cast<Slot*>(Find(node->path, len, hash));
    if (slot->path != nullptr) continue;  // listed twice
    slot->hash = hash;
    slot->path = node->path;
    slot->len = len;
  }
}

// The slot holding the path, or the empty slot where it would go.
const KeepSet::Slot* KeepSet::Find(const char* path, size_t len, uint64_t hash) const {
  for (size_t i = static_cast<size_t>(hash) & mask_;; i = (i + 1) & mask_) {
    const Slot& slot = slots_[i];
    if (slot.path == nullptr) return &slot;
    if (slot.hash == hash && slot.len == len && FoldedEqual(slot.path, path, len)) return &slot;
  }
}

bool KeepSet::Contains(const char* path, size_t len) const {
  if (slots_.empty()) return false;
  return Find(path, len, FoldedHash(path, len))->path != nullptr;
}

}  // namespace orba::tfdata
