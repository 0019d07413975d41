// SHA-256 compression with the Armv8 SHA2 instructions (the phone's path). The instructions are
// written as inline assembly so this file needs no special compiler flags in either build; the
// dispatcher only calls it after the kernel reports the SHA2 capability.

#include "digest_internal.h"

#if defined(__aarch64__)

#include <arm_neon.h>
#include <sys/auxv.h>

#ifndef HWCAP_SHA2
#define HWCAP_SHA2 (1 << 6)
#endif

namespace orba::digest {
namespace {

inline uint32x4_t Sha256H(uint32x4_t abcd, uint32x4_t efgh, uint32x4_t wk) {
  __asm__(".arch_extension sha2\n\tsha256h %q0, %q1, %2.4s" : "+w"(abcd) : "w"(efgh), "w"(wk));
  return abcd;
}

inline uint32x4_t Sha256H2(uint32x4_t efgh, uint32x4_t abcd, uint32x4_t wk) {
  __asm__(".arch_extension sha2\n\tsha256h2 %q0, %q1, %2.4s" : "+w"(efgh) : "w"(abcd), "w"(wk));
  return efgh;
}

inline uint32x4_t Sha256Su0(uint32x4_t w0, uint32x4_t w1) {
  __asm__(".arch_extension sha2\n\tsha256su0 %0.4s, %1.4s" : "+w"(w0) : "w"(w1));
  return w0;
}

inline uint32x4_t Sha256Su1(uint32x4_t x, uint32x4_t w2, uint32x4_t w3) {
  __asm__(".arch_extension sha2\n\tsha256su1 %0.4s, %1.4s, %2.4s" : "+w"(x) : "w"(w2), "w"(w3));
  return x;
}

void Sha256BlocksV8(uint32_t state[8], const unsigned char* data, size_t nblocks) {
  uint32x4_t abcd = vld1q_u32(state);
  uint32x4_t efgh = vld1q_u32(state + 4);
  for (; nblocks > 0; --nblocks, data += 64) {
    const uint32x4_t abcd0 = abcd;
    const uint32x4_t efgh0 = efgh;
    uint32x4_t w[4];
    for (int q = 0; q < 4; ++q) {
      w[q] = vreinterpretq_u32_u8(vrev32q_u8(vld1q_u8(data + 16 * q)));
    }
#pragma GCC unroll 16
    for (int q = 0; q < 16; ++q) {
      if (q >= 4) {
        // w[q&3] holds quad q-4, the next ones q-3, q-2 and q-1.
        w[q & 3] = Sha256Su1(Sha256Su0(w[q & 3], w[(q + 1) & 3]), w[(q + 2) & 3], w[(q + 3) & 3]);
      }
      const uint32x4_t wk = vaddq_u32(w[q & 3], vld1q_u32(kSha256RoundConstants + 4 * q));
      const uint32x4_t prev = abcd;
      abcd = Sha256H(abcd, efgh, wk);
      efgh = Sha256H2(efgh, prev, wk);
    }
    abcd = vaddq_u32(abcd, abcd0);
    efgh = vaddq_u32(efgh, efgh0);
  }
  vst1q_u32(state, abcd);
  vst1q_u32(state + 4, efgh);
}

}  // namespace

Sha256BlocksFn Sha256BlocksArmV8() {
  return (getauxval(AT_HWCAP) & HWCAP_SHA2) != 0 ? Sha256BlocksV8 : nullptr;
}

}  // namespace orba::digest

#else

namespace orba::digest {
Sha256BlocksFn Sha256BlocksArmV8() { return nullptr; }
}  // namespace orba::digest

#endif
