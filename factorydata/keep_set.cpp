#include "keep_set.h"

namespace orba::tfdata {

namespace {

inline unsigned char Fold(unsigned char c) {
  return (c >= 'A' && c <= 'Z') ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}

}  // namespace

size_t KeepSet::FoldedHash::operator()(const std::string& s) const {
  // FNV-1a over the folded bytes, so strings equal ignoring case hash alike.
  size_t h = 1469598103934665603ull;
  for (char c : s) {
    h ^= Fold(static_cast<unsigned char>(c));
    h *= 1099511628211ull;
  }
  return h;
}

bool KeepSet::FoldedEqual::operator()(const std::string& a, const std::string& b) const {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (Fold(static_cast<unsigned char>(a[i])) != Fold(static_cast<unsigned char>(b[i]))) {
      return false;
    }
  }
  return true;
}

KeepSet::KeepSet(const tf_data_list* keep) {
  for (const tf_data_list* node = keep; node != nullptr; node = node->next) {
    paths_.emplace(node->path);
  }
}

bool KeepSet::Contains(const char* path, size_t len) const {
  if (paths_.empty()) return false;
  probe_.assign(path, len);
  return paths_.find(probe_) != paths_.end();
}

}  // namespace orba::tfdata
