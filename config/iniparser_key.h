#ifndef ORBA_CONFIG_INIPARSER_KEY_H
#define ORBA_CONFIG_INIPARSER_KEY_H

#include <stddef.h>

namespace orba::ini {

// Keys given to the parser's getters and setters take part in a lookup up to this many bytes,
// terminator included.
constexpr size_t kKeySize = 1025;

// The parser's view of a caller's key: its first kKeySize - 1 characters, case kept.
class IniKey {
 public:
  explicit IniKey(const char* key);
  IniKey(const IniKey&) = delete;
  IniKey& operator=(const IniKey&) = delete;
  // Null when the caller gave no key.
  const char* get() const { return valid_ ? buf_ : nullptr; }
  size_t size() const { return len_; }

 private:
  char buf_[kKeySize];
  size_t len_ = 0;
  bool valid_ = false;
};

}  // namespace orba::ini

#endif
