#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <stdlib.h>

#include <string>

#include <orbafactory/digest.h>
#include "support/subprocess.h"

namespace {

constexpr const char* kAbcMd5 = "900150983cd24fb0d6963f7d28e17f72";

std::string Hex(const unsigned char* d, size_t n) {
  static const char kDigits[] = "0123456789abcdef";
  std::string s;
  for (size_t i = 0; i < n; ++i) {
    s += kDigits[d[i] >> 4];
    s += kDigits[d[i] & 15];
  }
  return s;
}

// A program built against libcrypto asks for MD5_Init@OPENSSL_3.0.0. With the library loaded
// ahead of libcrypto, an unversioned MD5_Init of ours would answer that request with a context
// of another layout.
TEST(SymbolClash, ProgramsOfLibcryptoKeepItsMd5WithUsLoadedFirst) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "an instrumented library cannot be preloaded into an uninstrumented program";
#endif
  setenv("LD_PRELOAD", ORBA_LIBRARY_PATH, 1);
  auto probe = orba::test::RunProgram({orba::test::BinPath("md5_probe")});
  unsetenv("LD_PRELOAD");
  ASSERT_EQ(probe.status, 0) << probe.err;
  EXPECT_EQ(probe.out, "libcrypto context\n" + std::string(kAbcMd5) + "\n");
}

// This binary links the library before libcrypto: both digests are right side by side.
TEST(SymbolClash, BothMd5sWorkInOneProcess) {
  unsigned char out[EVP_MAX_MD_SIZE];
  unsigned int n = 0;
  ASSERT_EQ(EVP_Digest("abc", 3, out, &n, EVP_md5(), nullptr), 1);
  EXPECT_EQ(Hex(out, n), kAbcMd5);

  Md5Context ctx;
  MD5_Init(&ctx);
  MD5_Update(&ctx, reinterpret_cast<const unsigned char*>("abc"), 3);
  unsigned char ours[16];
  MD5_Final(ours, &ctx);
  EXPECT_EQ(Hex(ours, 16), kAbcMd5);
}

}  // namespace
