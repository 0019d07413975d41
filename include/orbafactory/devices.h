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

/* ---- Storage identity and security state ---------------------------------------------------- */

/* Maker names in fixed 8-byte fields; the last answers an unknown maker (spelled so on purpose). */
ORBA_EXPORT extern const char EMMC_MANUFACTURE[6][8];

/* 0 and the maker's name; -1 and "Unkonwn" or "get ufs vendor fail". */
ORBA_EXPORT int get_emmc_manufacture(char* dst);
/* 0 and the BOM code, or the chip key when the BOM file has none; -1 and "get ufs model fail". */
ORBA_EXPORT int get_emmc_bom(char* dst);
/* dst holds at least 101 bytes: 1 and the chip id text, 0 on failure. */
ORBA_EXPORT int get_emmcid(char* dst);
ORBA_EXPORT int secure_boot_is_open(void);
ORBA_EXPORT int is_rpmb_provisioned(void);

/* ---- Board thermistors ------------------------------------------------------------------------ */

/* "name:reading,..." of the type's thermistors (1 or 2) from /vendor/etc/ntc.ini, at most out_len
 * characters (out holds out_len + 1 bytes, zero-filled). 1 built (maybe empty), 0 no file or bad
 * type, -1 unparsable file, bad entry or unreadable node. */
ORBA_EXPORT int get_ntc_temperature_ini(char* out, int out_len, int type);
/* 0 when the product fits the thermistor (or declares no list at all), -1 otherwise. */
ORBA_EXPORT int product_ntc_filted(const char* name, int type);
/* Appends the reading (thousandths of a degree) formatted by `item` ("board:%.1f") to dst,
 * unless the thermistor is not fitted or reads open-circuit. The result carries no meaning. */
ORBA_EXPORT int filter_ntc_value(char* dst, char* reading, const char* item);

ORBA_END_DECLS

#endif
