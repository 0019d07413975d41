// orbafactory sn get|set: the device serial number kept in the factory record.

#include <ctype.h>

#include <string>

#include <orbafactory/persist.h>

#include "command.h"

namespace {

using orba::cli::Args;

int Get(const Args&, orba::cli::Reply& reply) {
  char sn[64] = {};
  if (get_sn_from_backup(sn) != 0) {
    return orba::cli::Fail(reply, "sn: no 15-character serial number stored");
  }
  reply.Answer({{"serial", sn}});
  return orba::cli::kOk;
}

constexpr size_t kSerialLength = 15;

// A serial number is exactly 15 letters and digits: the record's field holds more, but every
// reader takes exactly 15, so anything else would replace a good serial with one that never
// reads back.
bool IsSerial(const std::string& sn) {
  if (sn.size() != kSerialLength) return false;
  for (char c : sn) {
    if (!isalnum(static_cast<unsigned char>(c))) return false;
  }
  return true;
}

int Set(const Args& args, orba::cli::Reply& reply) {
  if (!IsSerial(args[0])) {
    return orba::cli::Error(reply, orba::cli::kUsage,
                            "sn set: '%s' is not a serial number (exactly %zu letters and digits, "
                            "not %zu characters); nothing stored",
                            args[0].c_str(), kSerialLength, args[0].size());
  }
  if (set_sn_to_backup(args[0].c_str()) != 0) {
    return orba::cli::Fail(reply, "sn: cannot store the serial number");
  }
  char back[64] = {};
  if (get_sn_from_backup(back) != 0 || args[0] != back) {
    return orba::cli::Error(reply, orba::cli::kFailed, "sn set: the record reads back '%s'", back);
  }
  reply.Answer({{"serial", args[0]}});
  return orba::cli::kOk;
}

const orba::cli::Family kSn{
    "sn",
    "the serial number in the factory record",
    {
        {"get", "", "the stored serial number", 0, 0, Get, "sn get"},
        {"set", "SERIAL",
         "store a serial number and answer it as read back (exactly 15 letters and digits; "
         "anything else exits 2 and stores nothing)",
         1, 1, Set, "sn set ORBA00000000001"},
    }};
orba::cli::Registrar registrar(kSn);

}  // namespace
