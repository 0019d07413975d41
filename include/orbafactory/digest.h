#ifndef ORBAFACTORY_DIGEST_H
#define ORBAFACTORY_DIGEST_H

#include <stdint.h>

#include <orbafactory/export.h>

ORBA_BEGIN_DECLS

/* ---- SHA-256 -------------------------------------------------------------------------------- */

#define SHA256_DIGEST_SIZE 32

struct Sha256Context;

/* The operations a context carries, so code holding only a context can finish it. */
typedef struct Sha256Ops {
  struct Sha256Context* (*init)(struct Sha256Context* ctx);
  struct Sha256Context* (*update)(struct Sha256Context* ctx, const void* data, int len);
  const uint8_t* (*final)(struct Sha256Context* ctx);
  const uint8_t* (*hash)(const void* data, int len, uint8_t* digest);
  int size;
} Sha256Ops;

/* Owned by the caller; no heap use. After SHA256_final, `block` holds the digest. */
typedef struct Sha256Context {
  const Sha256Ops* ops;
  uint64_t byte_count;
  uint8_t block[64];
  uint32_t chain[8];
} Sha256Context;

ORBA_EXPORT Sha256Context* SHA256_init(Sha256Context* ctx);
/* A negative len appends nothing. */
ORBA_EXPORT Sha256Context* SHA256_update(Sha256Context* ctx, const void* data, int len);
/* Returns the 32 digest bytes inside ctx. */
ORBA_EXPORT const uint8_t* SHA256_final(Sha256Context* ctx);
ORBA_EXPORT const uint8_t* SHA256_hash(const void* data, int len, uint8_t* digest);

/* ---- MD5 ------------------------------------------------------------------------------------ */

/* Not the layout libcrypto's MD5_CTX has: a process that loads both must not mix them. */
typedef struct Md5Context {
  uint32_t bit_count[2]; /* low word first */
  uint32_t chain[4];
  unsigned char block[64];
  unsigned char digest[16];
} Md5Context;

ORBA_EXPORT void MD5_Init(Md5Context* ctx);
ORBA_EXPORT void MD5_Update(Md5Context* ctx, const unsigned char* data, unsigned int len);
ORBA_EXPORT void MD5_Final(unsigned char digest[16], Md5Context* ctx);
/* One MD5 block step on little-endian message words. */
ORBA_EXPORT void Transform(uint32_t chain[4], const uint32_t block[16]);
/* Feeds the whole file at path into ctx; 0, or -1 when it cannot be examined or opened (ctx is
   then unchanged). */
ORBA_EXPORT int MD5_Update_File(Md5Context* ctx, const char* path);

ORBA_END_DECLS

#endif
