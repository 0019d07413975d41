// orbafactory otp read|write: byte ranges of the hashed factory item on the OTP device.

#include <string>
#include <vector>

#include <orbafactory/devices.h>
#include <orbafactory/foundation.h>

#include "command.h"

namespace {

using orba::cli::Args;

bool ParseRange(orba::cli::Reply& reply, const Args& args, long* offset, long* size) {
  if (!orba::cli::ParseInt(reply, args[0], "offset", offset) ||
      !orba::cli::ParseInt(reply, args[1], "size", size)) {
    return false;
  }
  if (*offset < 0 || *size <= 0 || *offset + *size > OTP_NV_ITEM_SIZE) {
    orba::cli::Error(reply, orba::cli::kUsage,
                     "otp: offset %ld + size %ld is outside the %d-byte item", *offset, *size,
                     OTP_NV_ITEM_SIZE);
    return false;
  }
  return true;
}

int Read(const Args& args, orba::cli::Reply& reply) {
  long offset = 0;
  long size = 0;
  if (!ParseRange(reply, args, &offset, &size)) return orba::cli::kUsage;
  if (!is_support_otp()) return orba::cli::Error(reply, orba::cli::kFailed, "otp: no OTP device");
  std::vector<unsigned char> bytes(static_cast<size_t>(size));
  if (read_value_from_otp(static_cast<int>(offset), bytes.data(), static_cast<int>(size),
                          static_cast<int>(size)) != 0) {
    return orba::cli::Fail(reply, "otp: read failed");
  }
  std::vector<char> hex(bytes.size() * 2 + 1);
  byte_to_hex(bytes.data(), hex.data(), static_cast<int>(bytes.size()));
  reply.Answer({{"hex", hex.data()}});
  return orba::cli::kOk;
}

int Write(const Args& args, orba::cli::Reply& reply) {
  long offset = 0;
  if (!orba::cli::ParseInt(reply, args[0], "offset", &offset)) return orba::cli::kUsage;
  const std::string& hex = args[1];
  std::vector<unsigned char> bytes(hex.size() / 2 + 1);
  int n = str_to_hex(bytes.data(), hex.c_str(), static_cast<int>(bytes.size()));
  if (n <= 0) {
    return orba::cli::Error(reply, orba::cli::kUsage,
                            "otp write: '%s' is not an even run of hex digits", hex.c_str());
  }
  long size = n;
  Args range{args[0], std::to_string(size)};
  if (!ParseRange(reply, range, &offset, &size)) return orba::cli::kUsage;
  if (!is_support_otp()) return orba::cli::Error(reply, orba::cli::kFailed, "otp: no OTP device");
  if (write_value_to_otp(static_cast<int>(offset), bytes.data(), n, n) != 0) {
    return orba::cli::Fail(reply, "otp: write failed");
  }
  reply.Answer({{"offset", offset}, {"size", n}});
  return orba::cli::kOk;
}

const orba::cli::Family kOtp{
    "otp",
    "the hashed factory item on the OTP device (data area at 72..135)",
    {
        {"read", "OFFSET SIZE",
         "SIZE bytes at OFFSET as one run of hex digits (a corrupt item reads as zeros)", 2, 2,
         Read, "otp read 72 4"},
        {"write", "OFFSET HEX",
         "write the bytes of HEX at OFFSET, re-hash the item, and answer the offset and size "
         "written",
         2, 2, Write, "otp write 72 0a0b0c0d"},
    }};
orba::cli::Registrar registrar(kOtp);

}  // namespace
