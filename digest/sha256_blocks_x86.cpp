// SHA-256 compression with the x86 SHA extensions. Compiled for every x86-64 build; the target
// attribute keeps the instructions out of the rest of the library, and the dispatcher only calls
// this after CPUID says they exist.

#include "digest_internal.h"

#if defined(__x86_64__)

#include <cpuid.h>
#include <immintrin.h>

namespace orba::digest {
namespace {

__attribute__((target("sha,sse4.1,ssse3"))) void Sha256BlocksShaNi(uint32_t state[8],
                                                                   const unsigned char* data,
                                                                   size_t nblocks) {
  const __m128i kByteSwap = _mm_set_epi64x(0x0c0d0e0f08090a0bULL, 0x0405060700010203ULL);
  // The instructions want the state as ABEF and CDGH.
  __m128i tmp = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(state)), 0xB1);
  __m128i state1 = _mm_shuffle_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(state + 4)),
                                     0x1B);
  __m128i state0 = _mm_alignr_epi8(tmp, state1, 8);
  state1 = _mm_blend_epi16(state1, tmp, 0xF0);

  for (; nblocks > 0; --nblocks, data += 64) {
    const __m128i abef = state0;
    const __m128i cdgh = state1;
    __m128i w[4];
#pragma GCC unroll 16
    for (int q = 0; q < 16; ++q) {
      if (q < 4) {
        w[q] = _mm_shuffle_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(data + 16 * q)),
                                kByteSwap);
      } else {
        // w[q&3] holds quad q-4, the next ones q-3, q-2 and q-1.
        const __m128i prev = w[(q + 3) & 3];
        __m128i next = _mm_sha256msg1_epu32(w[q & 3], w[(q + 1) & 3]);
        next = _mm_add_epi32(next, _mm_alignr_epi8(prev, w[(q + 2) & 3], 4));
        w[q & 3] = _mm_sha256msg2_epu32(next, prev);
      }
      __m128i msg = _mm_add_epi32(
          w[q & 3], _mm_load_si128(reinterpret_cast<const __m128i*>(kSha256RoundConstants + 4 * q)));
      state1 = _mm_sha256rnds2_epu32(state1, state0, msg);
      msg = _mm_shuffle_epi32(msg, 0x0E);
      state0 = _mm_sha256rnds2_epu32(state0, state1, msg);
    }
    state0 = _mm_add_epi32(state0, abef);
    state1 = _mm_add_epi32(state1, cdgh);
  }

  tmp = _mm_shuffle_epi32(state0, 0x1B);
  state1 = _mm_shuffle_epi32(state1, 0xB1);
  state0 = _mm_blend_epi16(tmp, state1, 0xF0);
  state1 = _mm_alignr_epi8(state1, tmp, 8);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(state), state0);
  _mm_storeu_si128(reinterpret_cast<__m128i*>(state + 4), state1);
}

}  // namespace

Sha256BlocksFn Sha256BlocksX86ShaNi() {
  unsigned eax, ebx, ecx, edx;
  if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx)) return nullptr;
  const bool ssse3 = (ecx & bit_SSSE3) != 0;
  const bool sse41 = (ecx & bit_SSE4_1) != 0;
  if (!__get_cpuid_count(7, 0, &eax, &ebx, &ecx, &edx)) return nullptr;
  const bool sha = (ebx & (1u << 29)) != 0;
  return ssse3 && sse41 && sha ? Sha256BlocksShaNi : nullptr;
}

}  // namespace orba::digest

#else

namespace orba::digest {
Sha256BlocksFn Sha256BlocksX86ShaNi() { return nullptr; }
}  // namespace orba::digest

#endif
