#ifndef ORBA_FACTORYDATA_KEEP_SET_H
#define ORBA_FACTORYDATA_KEEP_SET_H

#include <stddef.h>
#include <stdint.h>

#include <vector>

#include <orbafactory/factorydata.h>

namespace orba::tfdata {

// The paths a storage clean must leave alone, matched ignoring ASCII case (as strcasecmp does
// in the C locale). An open-addressing hash table over the list's own path buffers, so a clean
// costs one probe sequence per file however long the preload list is. The list must outlive
// the set.
class KeepSet {
 public:
  explicit KeepSet(const tf_data_list* keep);
  bool Contains(const char* path, size_t len) const;

 private:
  struct Slot {
    uint64_t hash = 0;
    const char* path = nullptr;  // null: empty slot
    size_t len = 0;
  };
  const Slot* Find(const char* path, size_t len, uint64_t hash) const;

  std::vector<Slot> slots_;
  size_t mask_ = 0;
};

}  // namespace orba::tfdata

#endif
