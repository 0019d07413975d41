#ifndef ORBA_CONFIG_DICTIONARY_INDEX_H
#define ORBA_CONFIG_DICTIONARY_INDEX_H

#include <stddef.h>
#include <stdint.h>

#include <orbafactory/config.h>

namespace orba::ini {

// Keeps lookups and inserts cheap on large dictionaries without changing what callers see: the
// slot arrays stay the only truth, every answer is checked against them, and the index is only
// trusted while the dictionary looks exactly as this index last left it. If memory runs short
// the index switches itself off and callers fall back to scanning the slots.
class SlotIndex {
 public:
  SlotIndex() = default;
  ~SlotIndex() { Clear(); }
  SlotIndex(const SlotIndex&) = delete;
  SlotIndex& operator=(const SlotIndex&) = delete;

  // True when the index describes `d` as it is now.
  bool InSync(const dictionary* d) const;
  // Builds the index from the slot arrays; false (and off) when memory is short.
  bool Rebuild(const dictionary* d);

  // The slot holding `key`, or -1. Only valid while InSync.
  int64_t Find(const dictionary* d, const char* key, unsigned hash) const;
  // The first free slot at or after `start`, wrapping to 0; -1 when every slot is used.
  int64_t FirstFree(int64_t start) const;

  // Updates after the dictionary changed. Each returns false when the index had to switch off.
  bool SlotFilled(const dictionary* d, int64_t slot);
  void SlotCleared(const dictionary* d, int64_t slot);  // call while the slot still holds its key
  bool SlotsGrown(const dictionary* d);                 // after the arrays were replaced
  void Remember(const dictionary* d);                   // after every change made through us

  void Clear();

 private:
  static constexpr uint32_t kEmpty = UINT32_MAX;

  size_t Home(unsigned hash) const;
  bool Insert(const dictionary* d, uint32_t slot);
  bool GrowBuckets(const dictionary* d);
  bool ResizeUsed(int64_t slots);

  uint32_t* buckets_ = nullptr;  // slot numbers, open addressing with linear probing
  size_t capacity_ = 0;          // a power of two
  unsigned shift_ = 0;
  size_t count_ = 0;
  uint64_t* used_ = nullptr;  // one bit per slot
  size_t used_words_ = 0;

  // What the dictionary looked like when the index last matched it.
  bool on_ = false;
  int n_ = 0;
  int64_t size_ = 0;
  char** keys_ = nullptr;
  unsigned* hashes_ = nullptr;
};

}  // namespace orba::ini

#endif
