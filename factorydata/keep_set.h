#ifndef ORBA_FACTORYDATA_KEEP_SET_H
#define ORBA_FACTORYDATA_KEEP_SET_H

#include <stddef.h>

#include <string>
#include <unordered_set>

#include <orbafactory/factorydata.h>

namespace orba::tfdata {

// The paths a storage clean must leave alone, matched ignoring ASCII case (as strcasecmp does
// in the C locale). A hash set, so that a clean costs one lookup per file however long the
// preload list is.
class KeepSet {
 public:
  explicit KeepSet(const tf_data_list* keep);
  bool Contains(const char* path, size_t len) const;

 private:
  struct FoldedHash {
    size_t operator()(const std::string& s) const;
  };
  struct FoldedEqual {
    bool operator()(const std::string& a, const std::string& b) const;
  };
  std::unordered_set<std::string, FoldedHash, FoldedEqual> paths_;
  mutable std::string probe_;
};

}  // namespace orba::tfdata

#endif
