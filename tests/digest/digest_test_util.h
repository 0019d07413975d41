#ifndef ORBA_TESTS_DIGEST_TEST_UTIL_H
#define ORBA_TESTS_DIGEST_TEST_UTIL_H

#include <orbafactory/digest.h>

#include <string>
#include <vector>

#include "digest_internal.h"

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

// Each block path on its own: the library uses only one of them on a given CPU.
struct BlockPath {
  const char* name;
  digest::Sha256BlocksFn fn;
};

inline std::vector<BlockPath> RunnablePaths() {
  std::vector<BlockPath> paths = {{"portable", &digest::Sha256BlocksPortable}};
  if (auto fn = digest::Sha256BlocksX86ShaNi()) paths.push_back({"x86-sha", fn});
  if (auto fn = digest::Sha256BlocksArmV8()) paths.push_back({"armv8-sha2", fn});
  return paths;
}

inline std::string DigestWith(digest::Sha256BlocksFn fn, const std::string& msg) {
  uint32_t state[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                       0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  std::string padded = msg;
  padded += '\x80';
  while (padded.size() % 64 != 56) padded += '\0';
  const uint64_t bits = uint64_t{msg.size()} * 8;
  for (int i = 7; i >= 0; --i) padded += static_cast<char>(bits >> (8 * i));
  fn(state, reinterpret_cast<const unsigned char*>(padded.data()), padded.size() / 64);
  unsigned char out[32];
  for (int i = 0; i < 32; ++i) out[i] = static_cast<unsigned char>(state[i / 4] >> (24 - 8 * (i % 4)));
  return Hex(out, 32);
}

}  // namespace orba::test

#endif
