// The exported MD5 names. libcrypto exports the same three names with its own context layout;
// these wrappers stay thin so the library's own callers can use the hidden functions instead.

#include <orbafactory/digest.h>

#include "digest_internal.h"

using namespace orba::digest;

extern "C" {

ORBA_EXPORT void MD5_Init(Md5Context* ctx) { Md5Init(ctx); }

ORBA_EXPORT void MD5_Update(Md5Context* ctx, const unsigned char* data, unsigned int len) {
  Md5Update(ctx, data, len);
}

ORBA_EXPORT void MD5_Final(unsigned char digest[16], Md5Context* ctx) { Md5Final(digest, ctx); }

ORBA_EXPORT void Transform(uint32_t chain[4], const uint32_t block[16]) {
  unsigned char bytes[64];
  for (int i = 0; i < 16; ++i) {
    bytes[4 * i] = static_cast<unsigned char>(block[i]);
    bytes[4 * i + 1] = static_cast<unsigned char>(block[i] >> 8);
    bytes[4 * i + 2] = static_cast<unsigned char>(block[i] >> 16);
    bytes[4 * i + 3] = static_cast<unsigned char>(block[i] >> 24);
  }
  Md5Blocks(chain, bytes, 1);
}

}  // extern "C"
