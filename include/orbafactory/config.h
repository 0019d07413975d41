#ifndef ORBAFACTORY_CONFIG_H
#define ORBAFACTORY_CONFIG_H

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include <orbafactory/export.h>

ORBA_BEGIN_DECLS

/* ---- INI parser and dictionary -------------------------------------------------------------- */

/* A string table with open slots. Sections are entries with a null value; keys inside a
   section are stored as "section:key". Keys and section names keep their case. The library
   owns every key and value string. Dictionaries made by another iniparser library in the same
   process are accepted too: only these fields are shared. */
typedef struct _dictionary_ {
  int n;          /* entries in use */
  int64_t size;   /* number of slots */
  char** val;     /* value of each slot, may be null */
  char** key;     /* key of each slot, null for a free slot */
  unsigned* hash; /* hash of each key, 0 for a free slot */
} dictionary;

ORBA_EXPORT unsigned dictionary_hash(const char* key);
ORBA_EXPORT dictionary* dictionary_new(size_t size);
ORBA_EXPORT void dictionary_del(dictionary* d);
ORBA_EXPORT const char* dictionary_get(const dictionary* d, const char* key, const char* def);
ORBA_EXPORT int dictionary_set(dictionary* d, const char* key, const char* val);
ORBA_EXPORT void dictionary_unset(dictionary* d, const char* key);
ORBA_EXPORT void dictionary_dump(const dictionary* d, FILE* out);
/* Reads slot `index`. key_out and val_out must hold key_len + 1 and val_len + 1 bytes.
   Returns 0, -1 (no dictionary or bad buffers), -2 (index out of range) or -3 (free slot or
   null value): walk from 0, skip -3, stop at -2. */
ORBA_EXPORT int dictionary_getstring_andkey(dictionary* d, char* key_out, int key_len,
                                            char* val_out, int val_len, int index);

ORBA_EXPORT void iniparser_set_error_callback(int (*errback)(const char*, ...));
ORBA_EXPORT dictionary* iniparser_load(const char* ininame);
/* Parses text in memory; the text is cut into lines in place. */
ORBA_EXPORT dictionary* iniparser_load_buffer(char* text);
ORBA_EXPORT void iniparser_freedict(dictionary* d);

ORBA_EXPORT int iniparser_getnsec(const dictionary* d);
ORBA_EXPORT const char* iniparser_getsecname(const dictionary* d, int n);
ORBA_EXPORT int iniparser_getsecnkeys(const dictionary* d, const char* s);
/* Fills `keys` (sized by iniparser_getsecnkeys) with the section's full keys. */
ORBA_EXPORT const char** iniparser_getseckeys(const dictionary* d, const char* s,
                                              const char** keys);

ORBA_EXPORT const char* iniparser_getstring(const dictionary* d, const char* key,
                                            const char* def);
ORBA_EXPORT int iniparser_getint(const dictionary* d, const char* key, int notfound);
ORBA_EXPORT long int iniparser_getlongint(const dictionary* d, const char* key,
                                          long int notfound);
ORBA_EXPORT double iniparser_getdouble(const dictionary* d, const char* key, double notfound);
ORBA_EXPORT int iniparser_getboolean(const dictionary* d, const char* key, int notfound);
ORBA_EXPORT int iniparser_find_entry(const dictionary* ini, const char* entry);

ORBA_EXPORT int iniparser_set(dictionary* ini, const char* entry, const char* val);
ORBA_EXPORT void iniparser_unset(dictionary* ini, const char* entry);

ORBA_EXPORT void iniparser_dump(const dictionary* d, FILE* f);
ORBA_EXPORT void iniparser_dump_ini(const dictionary* d, FILE* f);
ORBA_EXPORT void iniparser_dumpsection_ini(const dictionary* d, const char* s, FILE* f);
ORBA_EXPORT int iniparser_dump_path(const dictionary* d, const char* path);

/* ---- Policy files --------------------------------------------------------------------------- */

/* Writes `content` (at most 1023 bytes) to `path` opened with `oflag` as given (no O_CREAT or
   O_TRUNC added; new files get mode 0660). `flag` is passed on by callers and has no effect.
   0, -1 for a null path, or minus errno. */
ORBA_EXPORT int write_policy_file(int flag, const char* path, int oflag, const char* content);
/* Reads at most `size` bytes of `path` into `buf` (not cleared first: clear it for a short file).
   The byte at size - 1 always becomes 0, and one trailing newline is dropped unless the file is
   that newline alone. 0, or -1 for bad arguments, a missing file or an empty one. */
ORBA_EXPORT int read_policy_file(int flag, const char* path, char* buf, int size);
/* The same, for files whose content must never reach the log. */
ORBA_EXPORT int no_log_read_policy_file(int flag, const char* path, char* buf, int size);
/* Appends `size` bytes of `content` (0 <= size < 1024) to the file's text, with no separator
   added. 1 on success, 0 on failure. */
ORBA_EXPORT int append_policy_file(int flag, const char* path, int oflag, const char* content,
                                   int size);
/* Removes the section from start_flag through the first character of end_flag, wherever it
   stands, and appends `content` at the end; a file without the section just gets the content
   appended. size <= 1024. 1 on success, 0 on failure. */
ORBA_EXPORT int replace_policy_file(int flag, const char* path, int oflag, const char* content,
                                    unsigned size, const char* start_flag,
                                    const char* end_flag);
/* Creates or truncates `path` and writes `content`. 0, -1 for a null argument, or minus errno. */
ORBA_EXPORT int write_cache_file(const char* path, const char* content);
/* 1 if a line of `path` contains `str` (case-sensitive) or, with at_line_start, begins with it
   (case-insensitive); else 0. Lines are read 1023 bytes at a time. */
ORBA_EXPORT int is_file_contains_str(const char* path, const char* str, bool at_line_start);

/* ---- Sections of a policy buffer ------------------------------------------------------------ */

/* Copies the text between start_flag and end_flag (at most dst_size bytes, no terminator when it
   fills them: pass one less than the buffer). 0, or -1 when there is no such section. */
ORBA_EXPORT int get_inner_data_between_flag(char* buffer, char* dst, int dst_size,
                                            const char* start_flag, const char* end_flag);
/* As above, but end_flag is searched only after start_flag. */
ORBA_EXPORT int get_inner_data_between_flag_no_start(char* buffer, char* dst, int dst_size,
                                                     const char* start_flag,
                                                     const char* end_flag);
/* Copies `buffer` to `dst` (at most n bytes, n <= 1024) without the section from start_flag
   through the first character of end_flag. 1 deleted, 0 nothing to delete (dst untouched),
   -1 out of bounds. */
ORBA_EXPORT int delete_inner_data_between_flag(const char* buffer, char* dst, unsigned n,
                                               const char* start_flag, const char* end_flag);

/* ---- Property files (key=value lines), through the AT-command service ------------------------ */

/* The value of `key` (matched case-insensitively at a line start) in recv_buf, overwritten by the
   next call; "0" when the file or the key is missing. */
ORBA_EXPORT char* get_property_file_item_value(const char* path, const char* key);
/* Moves the item to the end of the file with its new value (the key matches case-sensitively
   anywhere). A file of 2000 bytes or more is cleared first. 0 or -1. */
ORBA_EXPORT int set_property_file_item_value(const char* path, const char* key,
                                             const char* value);
/* 0 when deleted or absent, -1 on failure. An emptied file holds a single newline. */
ORBA_EXPORT int delete_property_file_item(const char* path, const char* key);

/* ---- Boot and recovery flags ---------------------------------------------------------------- */

ORBA_EXPORT int write_recovery_flag(int value);
/* 1 (and ro.imei_match.recovery set to "1") when the flag file begins with '1', else 0. */
ORBA_EXPORT int read_recovery_flag(void);
/* 1 when the kernel command line asks for a factory AT console. */
ORBA_EXPORT int is_factory_boot(void);

/* ---- Project, platform and features --------------------------------------------------------- */

ORBA_EXPORT int is_project(const char* code);
ORBA_EXPORT int is_foreign_project(void);
ORBA_EXPORT int is_hardware(const char* name);
ORBA_EXPORT int is_project_series(const char* series);
/* Byte-wise order of the model against "PD<number>" / "TD<number>": suffixes sort after the bare
   code, and numbers of different lengths compare as text. */
ORBA_EXPORT int is_above_PD_project(unsigned number);
ORBA_EXPORT int is_above_TD_project(unsigned number);
ORBA_EXPORT int is_above_Ard_version(int version);
ORBA_EXPORT int get_android_sdk_version(void);
ORBA_EXPORT int is_bsp_version(void);
ORBA_EXPORT int is_factory_mode_func(void);
ORBA_EXPORT int is_user_mode(void);
ORBA_EXPORT int is_aftersale_mode(void);
ORBA_EXPORT int is_ogc_support(void);
ORBA_EXPORT int is_dyn_support(void);
ORBA_EXPORT int is_preload_support(void);
/* 1, 0, or -1 when the kernel command line cannot be read. */
ORBA_EXPORT int is_support_mindp(void);
ORBA_EXPORT int is_finger_support(void);
/* 1 Qualcomm, 2 MediaTek, 3 Samsung, 0 unknown. */
ORBA_EXPORT int judge_platform(void);
ORBA_EXPORT int is_multi_sim_enabled(void);
ORBA_EXPORT int is_support_fuse_dp(void);
/* The value of a feature line of /etc/em_features.xml (at most dst_size bytes, no terminator
   when it fills them). 0, or -1 when absent or malformed; 0 with dst untouched when the file
   cannot be read. */
ORBA_EXPORT int get_feature_value(const char* feature, char* dst, int dst_size);
/* The text inside the first brackets after the first occurrence of `key` (a plain substring) in
   `text`. 0, or -1 when the key or a non-empty bracket pair is missing. */
ORBA_EXPORT int parse_parameters(char* text, const char* key, char* dst, int size);
/* The first line of the SIM card slot status node. 0 or -1. */
ORBA_EXPORT int get_card_slot_status(char* buf, int size);
/* The engineer-mode app's integer value of an Android global setting (0 when it has none). */
ORBA_EXPORT int get_global_setting_int(const char* name);

ORBA_END_DECLS

#endif
