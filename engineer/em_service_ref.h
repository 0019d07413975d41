#ifndef ORBA_ENGINEER_EM_SERVICE_REF_H
#define ORBA_ENGINEER_EM_SERVICE_REF_H

#include <memory>
#include <string>
#include <string_view>

#include <platform/hal.h>

namespace orba::engineer {

// A fresh reference to the engineer-mode service, or null. A missing service is logged under
// the caller's name with the line every member of the family has always written, so log readers
// can search for one text.
std::unique_ptr<hal::IOrbaEm> GetEm(const char* caller);

// "(null)" for a null argument, as the phone's printf would print it.
inline const char* Printable(const char* s) { return s != nullptr ? s : "(null)"; }

// strncpy into a caller buffer of `len` bytes; nothing for a null buffer or a non-positive length.
void CopyReply(const char* text, char* reply, int len);

// Keeps the text a synchronous result callback delivers.
struct ReplyHolder {
  explicit ReplyHolder(const char* initial) : text(initial) {}
  hal::StringCallback Callback() {
    return [this](std::string_view s) { text.assign(s.data(), s.size()); };
  }
  std::string text;
};

}  // namespace orba::engineer

#endif
