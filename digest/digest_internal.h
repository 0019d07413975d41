#ifndef ORBA_DIGEST_DIGEST_INTERNAL_H
#define ORBA_DIGEST_DIGEST_INTERNAL_H

// The library's own entry points into its digests. MD5_Init/Update/Final share their names with
// libcrypto's (another context layout), so nothing inside the library calls the exported ones:
// a process that loaded libcrypto first would otherwise get libcrypto's code on our contexts.

#include <stddef.h>
#include <stdint.h>

#include <orbafactory/digest.h>

namespace orba::digest {

void Md5Init(Md5Context* ctx);
void Md5Update(Md5Context* ctx, const unsigned char* data, size_t len);
void Md5Final(unsigned char out[16], Md5Context* ctx);
// Runs the block function over whole 64-byte blocks.
void Md5Blocks(uint32_t chain[4], const unsigned char* data, size_t nblocks);
// Appends bytes to the context's block without touching the bit count; `used` is how many bytes
// the block already holds. Returns the new fill.
size_t Md5Absorb(Md5Context* ctx, size_t used, const unsigned char* data, size_t len);
// One-shot digest of a buffer.
void Md5(const void* data, size_t len, unsigned char out[16]);

// Compresses whole 64-byte blocks into the eight chaining words.
using Sha256BlocksFn = void (*)(uint32_t state[8], const unsigned char* data, size_t nblocks);

void Sha256BlocksPortable(uint32_t state[8], const unsigned char* data, size_t nblocks);
// The instruction-set paths exist only where the compiler can target them; each returns null
// when this CPU lacks the instructions.
Sha256BlocksFn Sha256BlocksX86ShaNi();
Sha256BlocksFn Sha256BlocksArmV8();
// The fastest path this CPU runs, chosen once.
Sha256BlocksFn Sha256Blocks();

extern const uint32_t kSha256RoundConstants[64];

}  // namespace orba::digest

#endif
