#ifndef ORBAFACTORY_MINZIP_H
#define ORBAFACTORY_MINZIP_H

/* A small read-only ZIP reader over a memory-mapped archive, with the file mapping, hash table and
 * directory helpers it is built from. Stored and deflated members only; no ZIP64, no encryption. */

#include <orbafactory/export.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

struct selabel_handle;
struct utimbuf;

ORBA_BEGIN_DECLS

/* ---- File mapping --------------------------------------------------------------------------- */

/* One piece of a mapping, as it has to be handed back to munmap. */
typedef struct MappedRange {
  void* addr;
  size_t length;
} MappedRange;

typedef struct MemoryMap {
  unsigned char* base; /* first readable byte */
  size_t length;       /* readable bytes */
  int range_count;
  MappedRange* ranges;
} MemoryMap;

/* Maps `path` read-only. A path starting with '@' names a block map file describing where the
 * file's blocks lie on a block device. 0 on success, -1 on failure. */
ORBA_EXPORT int sysMapFile(const char* path, MemoryMap* out);
ORBA_EXPORT void sysReleaseMap(MemoryMap* map);

/* ---- Hash table ----------------------------------------------------------------------------- */

/* A slot's data: NULL (empty), HASH_TOMBSTONE (removed item) or the item. */
#define HASH_TOMBSTONE ((void*)0xcbcacccd)

typedef struct HashEntry {
  unsigned int hash_value;
  void* data;
} HashEntry;

typedef void (*HashFreeFunc)(void* item);
/* 0 when the table's item and the looked-up item are equal. */
typedef int (*HashCompareFunc)(const void* table_item, const void* loose_item);
/* The hash of an item, for the diagnostics that re-derive where each item should sit. */
typedef unsigned int (*HashCalcFunc)(const void* item);
/* Nonzero stops mzHashForeach and becomes its result. */
typedef int (*HashForeachFunc)(void* item, void* arg);

typedef struct HashTable {
  size_t size; /* number of slots, a power of two */
  size_t entry_count;
  size_t dead_count;
  HashEntry* entries;
  HashFreeFunc free_func;
} HashTable;

/* The table size to ask for when n items will be stored: keeps the load near 62%. */
ORBA_EXPORT size_t mzHashSize(size_t n);
/* The smallest power of two not below `val`; 0 for 0 (and for values above 2^31). */
ORBA_EXPORT unsigned int roundUpPower2(unsigned int val);
ORBA_EXPORT HashTable* mzHashTableCreate(size_t initial_size, HashFreeFunc free_func);
ORBA_EXPORT void mzHashTableClear(HashTable* table);
ORBA_EXPORT void mzHashTableFree(HashTable* table);
/* Finds `item` (by `hash` and `cmp`); when absent and `add_if_missing` is set, stores it. Growing
 * the table past its memory aborts the process: the table has no degraded mode. */
ORBA_EXPORT void* mzHashTableLookup(HashTable* table, unsigned int hash, void* item,
                                    HashCompareFunc cmp, bool add_if_missing);
/* Removes the slot holding exactly `item` (pointer identity). */
ORBA_EXPORT bool mzHashTableRemove(HashTable* table, unsigned int hash, void* item);
ORBA_EXPORT int mzHashForeach(HashTable* table, HashForeachFunc func, void* arg);
/* Probes needed to find `item` (1 when it sits in its home slot), or -1 when it is not there. */
ORBA_EXPORT int countProbes(HashTable* table, unsigned int hash, const void* item,
                            HashCompareFunc cmp);
/* Total probes needed to find every live item; min, max and average are logged. */
ORBA_EXPORT int mzHashTableProbeCount(HashTable* table, HashCalcFunc calc_func,
                                      HashCompareFunc cmp);

/* ---- Archive -------------------------------------------------------------------------------- */

/* Compression methods of ZipEntry.compression. */
enum {
  ZIP_STORED = 0,
  ZIP_DEFLATED = 8,
};

typedef struct ZipEntry {
  unsigned int name_length;
  const char* name; /* points into the mapped central directory; not NUL-terminated */
  long offset;      /* of the member's data */
  long compressed_length;
  long uncompressed_length;
  int compression;
  uint32_t mod_time; /* DOS time (low 16 bits) and date (high 16 bits) */
  uint32_t crc32;
  uint16_t version_made_by;
  uint32_t external_attributes;
} ZipEntry;

typedef struct ZipArchive {
  unsigned int entry_count;
  ZipEntry* entries; /* sorted by name */
  HashTable* index;
  MemoryMap mapping; /* the bytes the archive was opened on; owned by whoever mapped them */
} ZipArchive;

/* Receives the member's data a chunk at a time; false aborts the extraction. */
typedef bool (*ProcessZipEntryContentsFunction)(const unsigned char* data, int length,
                                                void* cookie);

ORBA_EXPORT int mzOpenZipArchive(const unsigned char* addr, size_t length, ZipArchive* out);
/* Frees the index; the mapping stays with its owner. */
ORBA_EXPORT void mzCloseZipArchive(ZipArchive* archive);
ORBA_EXPORT const ZipEntry* mzFindZipEntry(const ZipArchive* archive, const char* name);
ORBA_EXPORT bool mzProcessZipEntryContents(const ZipArchive* archive, const ZipEntry* entry,
                                           ProcessZipEntryContentsFunction func, void* cookie);
ORBA_EXPORT bool mzReadZipEntry(const ZipArchive* archive, const ZipEntry* entry, char* buf,
                                int bufLen);
/* `buffer` must hold entry->uncompressed_length bytes. */
ORBA_EXPORT bool mzExtractZipEntryToBuffer(const ZipArchive* archive, const ZipEntry* entry,
                                           unsigned char* buffer);
ORBA_EXPORT bool mzExtractZipEntryToFile(const ZipArchive* archive, const ZipEntry* entry, int fd);
/* Extracts every member under `zipDir` (relative) into `targetDir` (absolute), creating the
 * directories on the way. `timestamp`, `callback` and `sehnd` may be NULL. */
ORBA_EXPORT bool mzExtractRecursive(const ZipArchive* archive, const char* zipDir,
                                    const char* targetDir, const struct utimbuf* timestamp,
                                    void (*callback)(const char* path, void* cookie), void* cookie,
                                    struct selabel_handle* sehnd);

/* ---- Directories ---------------------------------------------------------------------------- */

/* Creates every missing directory of `path` (of its parent, with `strip_file_name`). 0, or -1 with
 * errno set. */
ORBA_EXPORT int dirCreateHierarchy(const char* path, int mode, const struct utimbuf* timestamp,
                                   bool strip_file_name, struct selabel_handle* sehnd);
/* Removes `path` and, for a directory, everything below it. 0 or -1. */
ORBA_EXPORT int dirUnlinkHierarchy(const char* path);

ORBA_END_DECLS

#endif
