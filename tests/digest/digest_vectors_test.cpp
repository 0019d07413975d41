// Published test vectors (RFC 1321, FIPS 180-4 / NIST examples) through the exported API and
// through every SHA-256 block path this CPU can run.

#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include "digest_internal.h"
#include "digest_test_util.h"

namespace orba::test {
namespace {

struct Vector {
  std::string message;
  const char* digest;
};

std::string Repeat(const std::string& s, size_t n) {
  std::string out;
  for (size_t i = 0; i < n; ++i) out += s;
  return out;
}

const std::vector<Vector>& Md5Vectors() {
  static const std::vector<Vector> v = {
      {"", "d41d8cd98f00b204e9800998ecf8427e"},
      {"a", "0cc175b9c0f1b6a831c399e269772661"},
      {"abc", "900150983cd24fb0d6963f7d28e17f72"},
      {"message digest", "f96b697d7cb7938d525a2f31aaf161d0"},
      {"abcdefghijklmnopqrstuvwxyz", "c3fcd3d76192e4007dfb496cca67e13b"},
      {"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789",
       "d174ab98d277d9f5a5611c2c9f419d9f"},
      {Repeat("1234567890", 8), "57edf4a22be3c955ac49da2e2107b67a"},
  };
  return v;
}

const std::vector<Vector>& Sha256Vectors() {
  static const std::vector<Vector> v = {
      {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
      {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
      {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
       "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
      {"abcdefghbcdefghicdefghijdefghijkefghijklfghijklmghijklmnhijklmnoijklmnopjklmnopqklmnopqr"
       "lmnopqrsmnopqrstnopqrstu",
       "cf5b16a778af8380036ce59e7b0492370b249b11e8f07a51afac45037afee9d1"},
      {std::string(1000000, 'a'), "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
      // One byte short of, exactly at, and one past the length that forces a second fill block.
      {std::string(55, 'a'), "9f4390f8d30c2dd92ec9f095b65e2b9ae9b0a925a5258e241c9f1e910f734318"},
      {std::string(56, 'a'), "b35439a4ac6f0948b6d6f9e3c6af0f5f590ce20f1bde7090ef7970686ec6738a"},
      {std::string(64, 'a'), "ffe054fe7ae0cb6dc65c3af9b61d5209f439851db43d0ba5997337df154668eb"},
  };
  return v;
}

TEST(Md5, PublishedVectorsThroughInitUpdateFinal) {
  for (const Vector& v : Md5Vectors()) EXPECT_EQ(Md5Hex(v.message), v.digest) << v.message;
}

TEST(Md5, FinalLeavesTheDigestInTheContextToo) {
  Md5Context ctx;
  MD5_Init(&ctx);
  MD5_Update(&ctx, reinterpret_cast<const unsigned char*>("abc"), 3);
  unsigned char out[16];
  MD5_Final(out, &ctx);
  EXPECT_EQ(Hex(ctx.digest, 16), "900150983cd24fb0d6963f7d28e17f72");
  EXPECT_EQ(0, memcmp(out, ctx.digest, 16));
}

// The bit count is two 32-bit words: crossing 2^32 bits must carry into the high word.
TEST(Md5, BitCountCarriesIntoHighWord) {
  Md5Context ctx;
  MD5_Init(&ctx);
  ctx.bit_count[0] = 0xFFFFFFF8u;
  MD5_Update(&ctx, reinterpret_cast<const unsigned char*>("ab"), 2);
  EXPECT_EQ(ctx.bit_count[0], 8u);
  EXPECT_EQ(ctx.bit_count[1], 1u);
}

TEST(Md5, TransformIsTheBlockFunctionOnLittleEndianWords) {
  // The single block of the empty message: 0x80, zeros, zero length.
  uint32_t chain[4] = {0x67452301, 0xefcdab89, 0x98badcfe, 0x10325476};
  uint32_t block[16] = {0x80};
  Transform(chain, block);
  unsigned char out[16];
  for (int i = 0; i < 16; ++i) out[i] = static_cast<unsigned char>(chain[i / 4] >> (8 * (i % 4)));
  EXPECT_EQ(Hex(out, 16), "d41d8cd98f00b204e9800998ecf8427e");
}

TEST(Sha256, PublishedVectorsOneShot) {
  for (const Vector& v : Sha256Vectors()) {
    EXPECT_EQ(Sha256Hex(v.message), v.digest) << v.message.size() << " bytes";
  }
}

TEST(Sha256, FinalReturnsTheDigestInsideTheContext) {
  Sha256Context ctx;
  EXPECT_EQ(SHA256_init(&ctx), &ctx);
  EXPECT_EQ(ctx.ops->size, 32);
  EXPECT_EQ(SHA256_update(&ctx, "abc", 3), &ctx);
  const uint8_t* d = SHA256_final(&ctx);
  EXPECT_EQ(d, ctx.block);
  EXPECT_EQ(Hex(d, 32), Sha256Vectors()[1].digest);
}

TEST(Sha256, OperationTableDrivesAWholeDigest) {
  Sha256Context ctx;
  SHA256_init(&ctx);
  const Sha256Ops* ops = ctx.ops;
  ops->init(&ctx);
  ops->update(&ctx, "abc", 3);
  EXPECT_EQ(Hex(ops->final(&ctx), 32), Sha256Vectors()[1].digest);
  uint8_t out[32];
  EXPECT_EQ(ops->hash("", 0, out), out);
  EXPECT_EQ(Hex(out, 32), Sha256Vectors()[0].digest);
}

TEST(Sha256, NegativeLengthAppendsNothing) {
  Sha256Context ctx;
  SHA256_init(&ctx);
  SHA256_update(&ctx, "abc", 3);
  SHA256_update(&ctx, "xyz", -5);
  EXPECT_EQ(Hex(SHA256_final(&ctx), 32), Sha256Vectors()[1].digest);
}

// Every way of cutting a message into pieces (byte by byte, or two pieces at any offset) gives
// the digest of the whole: buffering across block edges is where incremental code goes wrong.
TEST(Digests, SplitUpdatesMatchOneShot) {
  std::string msg;
  for (int i = 0; i < 300; ++i) msg += static_cast<char>(i * 37 + 11);
  const std::string sha_whole = Sha256Hex(msg);
  const std::string md5_whole = Md5Hex(msg);
  const auto* bytes = reinterpret_cast<const unsigned char*>(msg.data());

  Sha256Context sctx;
  Md5Context mctx;
  SHA256_init(&sctx);
  MD5_Init(&mctx);
  for (size_t i = 0; i < msg.size(); ++i) {
    SHA256_update(&sctx, bytes + i, 1);
    MD5_Update(&mctx, bytes + i, 1);
  }
  unsigned char md5_out[16];
  MD5_Final(md5_out, &mctx);
  EXPECT_EQ(Hex(SHA256_final(&sctx), 32), sha_whole);
  EXPECT_EQ(Hex(md5_out, 16), md5_whole);

  for (size_t cut = 0; cut <= msg.size(); ++cut) {
    SHA256_init(&sctx);
    SHA256_update(&sctx, bytes, static_cast<int>(cut));
    SHA256_update(&sctx, bytes + cut, static_cast<int>(msg.size() - cut));
    MD5_Init(&mctx);
    MD5_Update(&mctx, bytes, static_cast<unsigned>(cut));
    MD5_Update(&mctx, bytes + cut, static_cast<unsigned>(msg.size() - cut));
    MD5_Final(md5_out, &mctx);
    ASSERT_EQ(Hex(SHA256_final(&sctx), 32), sha_whole) << "cut at " << cut;
    ASSERT_EQ(Hex(md5_out, 16), md5_whole) << "cut at " << cut;
  }
}

TEST(Sha256, EveryRunnableBlockPathGivesThePublishedDigests) {
  const std::vector<BlockPath> paths = RunnablePaths();
#if defined(__x86_64__)
  // This build machine has the SHA extensions; losing the fast path silently would go unnoticed.
  FILE* cpuinfo = fopen("/proc/cpuinfo", "r");
  if (cpuinfo != nullptr) {
    char line[4096];
    bool sha_ni = false;
    while (fgets(line, sizeof(line), cpuinfo) != nullptr) sha_ni |= strstr(line, " sha_ni") != nullptr;
    fclose(cpuinfo);
    if (sha_ni) {
      EXPECT_EQ(paths.size(), 2u) << "the CPU has sha_ni but the x86 path was not offered";
    }
  }
#elif defined(__aarch64__)
  // The phone's cores have the SHA2 instructions, and so has the emulator's `-cpu max`: without
  // this the Armv8 path would pass by never running.
  ASSERT_EQ(paths.size(), 2u) << "the Armv8 SHA2 path was not offered";
  EXPECT_STREQ(paths[1].name, "armv8-sha2");
#endif
  for (const BlockPath& p : paths) {
    for (const Vector& v : Sha256Vectors()) {
      EXPECT_EQ(DigestWith(p.fn, v.message), v.digest) << p.name << ", " << v.message.size();
    }
  }
}

TEST(Sha256, BlockPathsAgreeOnManyBlocksAtOnce) {
  std::string msg;
  uint32_t x = 12345;
  for (int i = 0; i < 64 * 37 + 13; ++i) {
    x = x * 1103515245 + 12345;
    msg += static_cast<char>(x >> 16);
  }
  const std::string expected = Sha256Hex(msg);
  for (const BlockPath& p : RunnablePaths()) EXPECT_EQ(DigestWith(p.fn, msg), expected) << p.name;
}

}  // namespace
}  // namespace orba::test
