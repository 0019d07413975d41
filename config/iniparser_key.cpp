#include "iniparser_key.h"

#include <string.h>

namespace orba::ini {

IniKey::IniKey(const char* key) {
  buf_[0] = '\0';
  if (key == nullptr) return;
  len_ = strnlen(key, kKeySize - 1);
  memcpy(buf_, key, len_);
  buf_[len_] = '\0';
  valid_ = true;
}

}  // namespace orba::ini
