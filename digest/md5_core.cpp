// MD5 (RFC 1321) as the library's hidden implementation; md5_api.cpp only forwards to it.

#include <string.h>

#include "digest_internal.h"

namespace orba::digest {
namespace {

inline uint32_t Rotl(uint32_t x, int s) { return (x << s) | (x >> (32 - s)); }

inline uint32_t Le32(const unsigned char* p) {
  return uint32_t{p[0]} | uint32_t{p[1]} << 8 | uint32_t{p[2]} << 16 | uint32_t{p[3]} << 24;
}

inline void StoreLe32(unsigned char* p, uint32_t v) {
  p[0] = static_cast<unsigned char>(v);
  p[1] = static_cast<unsigned char>(v >> 8);
  p[2] = static_cast<unsigned char>(v >> 16);
  p[3] = static_cast<unsigned char>(v >> 24);
}

// The message word and constant are added before the round function so that sum does not wait
// for b, c and d: the chain through `a` is what bounds MD5's speed. G is split into two
// disjoint terms for the same reason.
#define MD5_F(a, b, c, d, x, k, s)         \
  a += (x) + (k);                          \
  a += ((c ^ d) & b) ^ d;                  \
  a = Rotl(a, s) + b;
#define MD5_G(a, b, c, d, x, k, s)         \
  a += (x) + (k) + (c & ~d);               \
  a += b & d;                              \
  a = Rotl(a, s) + b;
#define MD5_H(a, b, c, d, x, k, s)         \
  a += (x) + (k);                          \
  a += b ^ c ^ d;                          \
  a = Rotl(a, s) + b;
#define MD5_I(a, b, c, d, x, k, s)         \
  a += (x) + (k);                          \
  a += c ^ (b | ~d);                       \
  a = Rotl(a, s) + b;

}  // namespace

void Md5Blocks(uint32_t chain[4], const unsigned char* p, size_t nblocks) {
  uint32_t a = chain[0], b = chain[1], c = chain[2], d = chain[3];
  for (; nblocks > 0; --nblocks, p += 64) {
    uint32_t x[16];
    for (int i = 0; i < 16; ++i) x[i] = Le32(p + 4 * i);
    const uint32_t a0 = a, b0 = b, c0 = c, d0 = d;

    MD5_F(a, b, c, d, x[0], 0xd76aa478, 7)
    MD5_F(d, a, b, c, x[1], 0xe8c7b756, 12)
    MD5_F(c, d, a, b, x[2], 0x242070db, 17)
    MD5_F(b, c, d, a, x[3], 0xc1bdceee, 22)
    MD5_F(a, b, c, d, x[4], 0xf57c0faf, 7)
    MD5_F(d, a, b, c, x[5], 0x4787c62a, 12)
    MD5_F(c, d, a, b, x[6], 0xa8304613, 17)
    MD5_F(b, c, d, a, x[7], 0xfd469501, 22)
    MD5_F(a, b, c, d, x[8], 0x698098d8, 7)
    MD5_F(d, a, b, c, x[9], 0x8b44f7af, 12)
    MD5_F(c, d, a, b, x[10], 0xffff5bb1, 17)
    MD5_F(b, c, d, a, x[11], 0x895cd7be, 22)
    MD5_F(a, b, c, d, x[12], 0x6b901122, 7)
    MD5_F(d, a, b, c, x[13], 0xfd987193, 12)
    MD5_F(c, d, a, b, x[14], 0xa679438e, 17)
    MD5_F(b, c, d, a, x[15], 0x49b40821, 22)

    MD5_G(a, b, c, d, x[1], 0xf61e2562, 5)
    MD5_G(d, a, b, c, x[6], 0xc040b340, 9)
    MD5_G(c, d, a, b, x[11], 0x265e5a51, 14)
    MD5_G(b, c, d, a, x[0], 0xe9b6c7aa, 20)
    MD5_G(a, b, c, d, x[5], 0xd62f105d, 5)
    MD5_G(d, a, b, c, x[10], 0x02441453, 9)
    MD5_G(c, d, a, b, x[15], 0xd8a1e681, 14)
    MD5_G(b, c, d, a, x[4], 0xe7d3fbc8, 20)
    MD5_G(a, b, c, d, x[9], 0x21e1cde6, 5)
    MD5_G(d, a, b, c, x[14], 0xc33707d6, 9)
    MD5_G(c, d, a, b, x[3], 0xf4d50d87, 14)
    MD5_G(b, c, d, a, x[8], 0x455a14ed, 20)
    MD5_G(a, b, c, d, x[13], 0xa9e3e905, 5)
    MD5_G(d, a, b, c, x[2], 0xfcefa3f8, 9)
    MD5_G(c, d, a, b, x[7], 0x676f02d9, 14)
    MD5_G(b, c, d, a, x[12], 0x8d2a4c8a, 20)

    MD5_H(a, b, c, d, x[5], 0xfffa3942, 4)
    MD5_H(d, a, b, c, x[8], 0x8771f681, 11)
    MD5_H(c, d, a, b, x[11], 0x6d9d6122, 16)
    MD5_H(b, c, d, a, x[14], 0xfde5380c, 23)
    MD5_H(a, b, c, d, x[1], 0xa4beea44, 4)
    MD5_H(d, a, b, c, x[4], 0x4bdecfa9, 11)
    MD5_H(c, d, a, b, x[7], 0xf6bb4b60, 16)
    MD5_H(b, c, d, a, x[10], 0xbebfbc70, 23)
    MD5_H(a, b, c, d, x[13], 0x289b7ec6, 4)
    MD5_H(d, a, b, c, x[0], 0xeaa127fa, 11)
    MD5_H(c, d, a, b, x[3], 0xd4ef3085, 16)
    MD5_H(b, c, d, a, x[6], 0x04881d05, 23)
    MD5_H(a, b, c, d, x[9], 0xd9d4d039, 4)
    MD5_H(d, a, b, c, x[12], 0xe6db99e5, 11)
    MD5_H(c, d, a, b, x[15], 0x1fa27cf8, 16)
    MD5_H(b, c, d, a, x[2], 0xc4ac5665, 23)

    MD5_I(a, b, c, d, x[0], 0xf4292244, 6)
    MD5_I(d, a, b, c, x[7], 0x432aff97, 10)
    MD5_I(c, d, a, b, x[14], 0xab9423a7, 15)
    MD5_I(b, c, d, a, x[5], 0xfc93a039, 21)
    MD5_I(a, b, c, d, x[12], 0x655b59c3, 6)
    MD5_I(d, a, b, c, x[3], 0x8f0ccc92, 10)
    MD5_I(c, d, a, b, x[10], 0xffeff47d, 15)
    MD5_I(b, c, d, a, x[1], 0x85845dd1, 21)
    MD5_I(a, b, c, d, x[8], 0x6fa87e4f, 6)
    MD5_I(d, a, b, c, x[15], 0xfe2ce6e0, 10)
    MD5_I(c, d, a, b, x[6], 0xa3014314, 15)
    MD5_I(b, c, d, a, x[13], 0x4e0811a1, 21)
    MD5_I(a, b, c, d, x[4], 0xf7537e82, 6)
    MD5_I(d, a, b, c, x[11], 0xbd3af235, 10)
    MD5_I(c, d, a, b, x[2], 0x2ad7d2bb, 15)
    MD5_I(b, c, d, a, x[9], 0xeb86d391, 21)

    a += a0;
    b += b0;
    c += c0;
    d += d0;
  }
  chain[0] = a;
  chain[1] = b;
  chain[2] = c;
  chain[3] = d;
}

#undef MD5_F
#undef MD5_G
#undef MD5_H
#undef MD5_I

void Md5Init(Md5Context* ctx) {
  ctx->bit_count[0] = 0;
  ctx->bit_count[1] = 0;
  ctx->chain[0] = 0x67452301;
  ctx->chain[1] = 0xefcdab89;
  ctx->chain[2] = 0x98badcfe;
  ctx->chain[3] = 0x10325476;
}

size_t Md5Absorb(Md5Context* ctx, size_t used, const unsigned char* data, size_t len) {
  if (used > 0) {
    size_t take = 64 - used < len ? 64 - used : len;
    memcpy(ctx->block + used, data, take);
    used += take;
    data += take;
    len -= take;
    if (used < 64) return used;
    Md5Blocks(ctx->chain, ctx->block, 1);
    used = 0;
  }
  if (len >= 64) {
    Md5Blocks(ctx->chain, data, len / 64);
    data += len & ~size_t{63};
    len &= 63;
  }
  memcpy(ctx->block, data, len);
  return len;
}

void Md5Update(Md5Context* ctx, const unsigned char* data, size_t len) {
  const size_t used = (ctx->bit_count[0] >> 3) & 63;
  const uint64_t bits = (uint64_t{ctx->bit_count[1]} << 32 | ctx->bit_count[0]) + uint64_t{len} * 8;
  ctx->bit_count[0] = static_cast<uint32_t>(bits);
  ctx->bit_count[1] = static_cast<uint32_t>(bits >> 32);
  if (len > 0) Md5Absorb(ctx, used, data, len);
}

void Md5Final(unsigned char out[16], Md5Context* ctx) {
  static const unsigned char kFill[64] = {0x80};
  unsigned char length[8];
  StoreLe32(length, ctx->bit_count[0]);
  StoreLe32(length + 4, ctx->bit_count[1]);
  const size_t used = (ctx->bit_count[0] >> 3) & 63;
  Md5Update(ctx, kFill, used < 56 ? 56 - used : 120 - used);
  Md5Update(ctx, length, sizeof(length));
  for (int i = 0; i < 4; ++i) StoreLe32(ctx->digest + 4 * i, ctx->chain[i]);
  memcpy(out, ctx->digest, sizeof(ctx->digest));
}

void Md5(const void* data, size_t len, unsigned char out[16]) {
  Md5Context ctx;
  Md5Init(&ctx);
  Md5Update(&ctx, static_cast<const unsigned char*>(data), len);
  Md5Final(out, &ctx);
}

}  // namespace orba::digest
