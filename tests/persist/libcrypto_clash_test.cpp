// This process has libcrypto loaded ahead of the library, so the global MD5_Init, MD5_Update and
// MD5_Final are libcrypto's, with their own context layout. The factory records must still carry
// correct digests: the library's own code may not reach its MD5 through those names.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <string.h>

#include <orbafactory/persist.h>

#include "backup_fixture.h"

namespace orba::test {
namespace {

std::vector<unsigned char> EvpMd5(const unsigned char* data, size_t size) {
  unsigned char out[EVP_MAX_MD_SIZE];
  unsigned int len = 0;
  EXPECT_EQ(EVP_Digest(data, size, out, &len, EVP_md5(), nullptr), 1);
  return std::vector<unsigned char>(out, out + len);
}

class LibcryptoClashTest : public BackupPartitionTest {};

TEST_F(LibcryptoClashTest, RecordDigestsAreRightWithLibcryptoFirst) {
  // The premise: the process-wide MD5_Init is not the library's.
  void* library = dlopen("liborbafactory.so", RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(library, nullptr);
  void* global_md5 = dlsym(RTLD_DEFAULT, "MD5_Init");
  ASSERT_NE(global_md5, nullptr);
  ASSERT_NE(global_md5, dlsym(library, "MD5_Init"));
  Dl_info info;
  ASSERT_NE(dladdr(global_md5, &info), 0);
  EXPECT_NE(strstr(info.dli_fname, "libcrypto"), nullptr) << info.dli_fname;

  // An erased partition: the get restores and seals the defaults.
  Bytes r(kRecordSize, 0);
  ASSERT_EQ(get_XOLE_NV_item(r.data()), 0);
  EXPECT_EQ(Bytes(r.begin() + 524, r.begin() + 540), EvpMd5(r.data(), 524));
  EXPECT_EQ(verify_xole_nv_checksum(r.data()), 1);
  SetInt32(r, 76, 31337);
  ASSERT_EQ(put_XOLE_NV_item(r.data()), 0);
  const Bytes slot0 = Slot(0);
  EXPECT_EQ(Bytes(slot0.begin() + 524, slot0.begin() + 540), EvpMd5(slot0.data(), 524));

  Bytes nv(152, 0);
  SetInt32(nv, 16, 4242);
  ASSERT_EQ(put_back_nv_item(nv.data()), 0);
  const Bytes copy0 = ReadImage(10240, 2048);
  EXPECT_EQ(Bytes(copy0.begin(), copy0.begin() + 16), EvpMd5(copy0.data() + 16, 2048 - 16));
  ASSERT_EQ(get_back_nv_item(nv.data()), 0);
  EXPECT_EQ(Int32At(nv, 16), 4242);
}

}  // namespace
}  // namespace orba::test
