// SHA-256 contexts (FIPS 180-4). The block function is picked once per process: the CPU's SHA
// instructions where it has them, plain C++ otherwise; all give the same digest.

#include <string.h>

#include <orbafactory/digest.h>

#include "digest_internal.h"

namespace orba::digest {

Sha256BlocksFn Sha256Blocks() {
  static const Sha256BlocksFn chosen = [] {
    if (Sha256BlocksFn fn = Sha256BlocksArmV8()) return fn;
    if (Sha256BlocksFn fn = Sha256BlocksX86ShaNi()) return fn;
    return &Sha256BlocksPortable;
  }();
  return chosen;
}

namespace {

void Append(Sha256Context* ctx, const unsigned char* data, size_t len) {
  size_t used = static_cast<size_t>(ctx->byte_count & 63);
  ctx->byte_count += len;
  const Sha256BlocksFn blocks = Sha256Blocks();
  if (used > 0) {
    const size_t take = 64 - used < len ? 64 - used : len;
    memcpy(ctx->block + used, data, take);
    used += take;
    data += take;
    len -= take;
    if (used < 64) return;
    blocks(ctx->chain, ctx->block, 1);
  }
  if (len >= 64) {
    blocks(ctx->chain, data, len / 64);
    data += len & ~size_t{63};
    len &= 63;
  }
  memcpy(ctx->block, data, len);
}

}  // namespace
}  // namespace orba::digest

using namespace orba::digest;

extern "C" {

ORBA_EXPORT Sha256Context* SHA256_init(Sha256Context* ctx);
ORBA_EXPORT Sha256Context* SHA256_update(Sha256Context* ctx, const void* data, int len);
ORBA_EXPORT const uint8_t* SHA256_final(Sha256Context* ctx);
ORBA_EXPORT const uint8_t* SHA256_hash(const void* data, int len, uint8_t* digest);

}  // extern "C"

namespace {
const Sha256Ops kSha256Ops = {SHA256_init, SHA256_update, SHA256_final, SHA256_hash,
                              SHA256_DIGEST_SIZE};
}

extern "C" {

ORBA_EXPORT Sha256Context* SHA256_init(Sha256Context* ctx) {
  static const uint32_t kInitial[8] = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                       0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
  ctx->ops = &kSha256Ops;
  ctx->byte_count = 0;
  memcpy(ctx->chain, kInitial, sizeof(kInitial));
  return ctx;
}

ORBA_EXPORT Sha256Context* SHA256_update(Sha256Context* ctx, const void* data, int len) {
  if (len > 0) Append(ctx, static_cast<const unsigned char*>(data), static_cast<size_t>(len));
  return ctx;
}

ORBA_EXPORT const uint8_t* SHA256_final(Sha256Context* ctx) {
  static const unsigned char kFill[64] = {0x80};
  const uint64_t bits = ctx->byte_count * 8;
  const size_t used = static_cast<size_t>(ctx->byte_count & 63);
  Append(ctx, kFill, used < 56 ? 56 - used : 120 - used);
  unsigned char length[8];
  for (int i = 0; i < 8; ++i) length[i] = static_cast<unsigned char>(bits >> (56 - 8 * i));
  Append(ctx, length, sizeof(length));
  for (int i = 0; i < 8; ++i) {
    ctx->block[4 * i] = static_cast<uint8_t>(ctx->chain[i] >> 24);
    ctx->block[4 * i + 1] = static_cast<uint8_t>(ctx->chain[i] >> 16);
    ctx->block[4 * i + 2] = static_cast<uint8_t>(ctx->chain[i] >> 8);
    ctx->block[4 * i + 3] = static_cast<uint8_t>(ctx->chain[i]);
  }
  return ctx->block;
}

ORBA_EXPORT const uint8_t* SHA256_hash(const void* data, int len, uint8_t* digest) {
  Sha256Context ctx;
  SHA256_init(&ctx);
  SHA256_update(&ctx, data, len);
  memcpy(digest, SHA256_final(&ctx), SHA256_DIGEST_SIZE);
  return digest;
}

}  // extern "C"
