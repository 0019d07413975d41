#ifndef ORBA_SYSACCESS_ATCMD_SERVICE_REF_H
#define ORBA_SYSACCESS_ATCMD_SERVICE_REF_H

#include <memory>
#include <string>
#include <string_view>

#include <platform/hal.h>

namespace orba::sysaccess {

// The registration probe of the members that check first: true when the service is
// registered; otherwise logs (under the caller's name), restarts it and returns false.
bool AtcmdPresentOrRestart(const char* caller);

// A fresh reference, or null (logged under the caller's name) when the service is absent.
std::unique_ptr<hal::IOrbaAtcmd> GetAtcmd(const char* caller);

// strncpy into a caller buffer of `len` bytes; nothing for a non-positive length.
void CopyOut(const std::string& text, char* out, int len);

// A callback that keeps the delivered text, and whether it ran.
struct TextHolder {
  explicit TextHolder(const char* initial = "") : text(initial) {}
  hal::StringCallback Callback() {
    return [this](std::string_view s) {
      text.assign(s.data(), s.size());
      delivered = true;
    };
  }
  std::string text;
  bool delivered = false;
};

}  // namespace orba::sysaccess

#endif
