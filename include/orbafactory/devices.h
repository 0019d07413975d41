#ifndef ORBAFACTORY_DEVICES_H
#define ORBAFACTORY_DEVICES_H

#include <orbafactory/export.h>

#include <stdint.h>

ORBA_BEGIN_DECLS

/* ---- OTP item ------------------------------------------------------------------------------- */

/* The factory item at the start of the OTP device: a 64-byte data area guarded by SHA-256. This is
 * a device format: the offsets are fixed. */
typedef struct OTP_NV_Item {
  unsigned char head[32];      /* not interpreted here; zeroed on reset */
  uint64_t hash_verify_len;    /* data bytes covered by the hash; always written as 64 */
  unsigned char hash[32];      /* SHA-256 of the data area */
  unsigned char data[64];
} OTP_NV_Item;

#define OTP_NV_ITEM_SIZE 136
#define OTP_NV_DATA_OFFSET 72

ORBA_EXPORT int is_support_otp(void);
/* 0 when the item's hash is valid, -1 otherwise (and for NULL). */
ORBA_EXPORT int doCheckHash(const OTP_NV_Item* item);
/* Writes `size` bytes at `offset` of the item and re-hashes it. `limit` is the caller's size of the
 * field; a larger `size` is refused. 0 or -1. */
ORBA_EXPORT int write_value_to_otp(int offset, const void* data, int size, int limit);
/* Reads `size` bytes at `offset`; a corrupt item reads as the default (zeros) and is reset on the
 * device. 0 or -1. */
ORBA_EXPORT int read_value_from_otp(int offset, void* out, int size, int limit);

ORBA_END_DECLS

#endif
