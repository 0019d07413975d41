#ifndef ORBA_TESTS_DIGEST_TEST_UTIL_H
#define ORBA_TESTS_DIGEST_TEST_UTIL_H

#include <orbafactory/digest.h>

#include <string>

namespace orba::test {

inline std::string Hex(const unsigned char* p, size_t n) {
  static const char kDigits[] = "0123456789abcdef";
  std::string out;
  for (size_t i = 0; i < n; ++i) {
    out += kDigits[p[i] >> 4];
    out += kDigits[p[i] & 15];
  }
  return out;
}

inline std::string Md5Hex(const std::string& data) {
  Md5Context ctx;
  MD5_Init(&ctx);
  MD5_Update(&ctx, reinterpret_cast<const unsigned char*>(data.data()),
             static_cast<unsigned>(data.size()));
  unsigned char out[16];
  MD5_Final(out, &ctx);
  return Hex(out, sizeof(out));
}

inline std::string Sha256Hex(const std::string& data) {
  uint8_t out[32];
  SHA256_hash(data.data(), static_cast<int>(data.size()), out);
  return Hex(out, sizeof(out));
}

}  // namespace orba::test

#endif
