#ifndef ORBAFACTORY_PERSIST_H
#define ORBAFACTORY_PERSIST_H

#include <pthread.h>
#include <stdint.h>
#include <sys/types.h>

#include <orbafactory/export.h>

ORBA_BEGIN_DECLS

/* ---- Backup partition: path and locked block I/O ------------------------------------------- */

/* The partition path, chosen once per process among the by-name links. */
ORBA_EXPORT const char* get_backup_path(void);
/* 0 when all `size` bytes moved; -1 otherwise, and then `fd` has been closed. */
ORBA_EXPORT int read_backup(int fd, off_t offset, int size, void* out);
ORBA_EXPORT int write_backup(int fd, off_t offset, int size, const void* data);

/* fcntl record locks on [start, start + len) of an open device; 1 when done, else 0.
   trylock_fd_read waits; trylock_fd_write does not; waitlock_fd_write waits and then pauses
   20 seconds so the previous writer's sync can finish. */
ORBA_EXPORT int trylock_fd_read(int fd, off_t start, int len);
ORBA_EXPORT int trylock_fd_write(int fd, off_t start, int len);
ORBA_EXPORT int waitlock_fd_write(int fd, off_t start, int len);
ORBA_EXPORT int unlock_fd(int fd, off_t start, int len);
/* Logs who holds a lock that would conflict; the result says nothing. */
ORBA_EXPORT int checklock_fd_write(int fd, off_t start, int len);

/* ---- XOLE NV factory record ------------------------------------------------------------------ */

#define XOLE_NV_ITEM_SIZE 1592

/* Serialises puts within the process. */
ORBA_EXPORT extern pthread_mutex_t backup_mutex;

/* Slot functions: 1 on success, 0 on failure. Slot 0 and 1 are the two copies. */
ORBA_EXPORT int read_xole_nv_from_backup(uint8_t* record, unsigned slot);
/* Stores the fresh digest into the caller's record as well. */
ORBA_EXPORT int write_xole_nv_to_backup(uint8_t* record, unsigned slot);
/* 1 when the digest matches; may reset the extension area of a record without its marker. */
ORBA_EXPORT int verify_xole_nv_checksum(uint8_t* record);

/* record: a zeroed XOLE_NV_ITEM_SIZE buffer. 0; -1 when copy 0 cannot be read; -ENOENT when a
   damaged pair could not be restored. Afterwards both copies are valid and equal. */
ORBA_EXPORT int get_XOLE_NV_item(uint8_t* record);
/* 0; -ENOENT when copy 0 could not be written. */
ORBA_EXPORT int put_XOLE_NV_item(uint8_t* record);

ORBA_EXPORT int get_sn_from_backup(char* out);
ORBA_EXPORT int set_sn_to_backup(const char* sn);
ORBA_EXPORT int get_theme_color_from_backup(char* out);
ORBA_EXPORT int set_theme_color_to_backup(const char* colour);
ORBA_EXPORT int get_pcb_from_backup(char* out);
ORBA_EXPORT int get_pcb(char* out);
ORBA_EXPORT int set_pcb_to_backup(const char* code);
ORBA_EXPORT int backup_orba_em_mode_flag(int enable);
/* 1 when enabled, and also when the record cannot be read. */
ORBA_EXPORT int is_orba_em_mode_from_backup(void);

/* ---- Back-NV record ------------------------------------------------------------------------- */

#define BACK_NV_ITEM_SIZE 152

/* 1 read and valid; 2 read but the digest is wrong (record still filled); 0 unreadable.
   Any non-zero slot means copy 1. */
ORBA_EXPORT int read_back_nv(uint8_t* record, int slot);
/* 1 written; 0 otherwise. The caller's record keeps its old digest. */
ORBA_EXPORT int write_back_nv(uint8_t* record, int slot);
/* 0 (an all-zero record when both copies are damaged); -1 when a copy cannot be read. */
ORBA_EXPORT int get_back_nv_item(uint8_t* record);
/* 0; -ENOENT when copy 0 could not be written. */
ORBA_EXPORT int put_back_nv_item(uint8_t* record);
ORBA_EXPORT void dump_back_nv(uint8_t* record);

/* ---- Calibration registry --------------------------------------------------------------------
 * Item states live in two small text files under /cache/recovery, one "item state" pair a line,
 * read and written only through the AT-command service. `uart` non-zero: the library writes the
 * files; zero: the engineer-mode app does, on request. */

#define CALIBRATION_LIST_COUNT 49
#define CALIBRATION_ITEM_SIZE 51

/* NUL-padded item names in their historical order and spelling. */
ORBA_EXPORT extern const char CALIBRATION_LIST[CALIBRATION_LIST_COUNT][CALIBRATION_ITEM_SIZE];

/* The state digit; 0 when the file, the line or the value is missing. */
ORBA_EXPORT int get_calibrate_item_state(const char* item);
ORBA_EXPORT int get_calibrate_item_bg_dark(const char* item);
/* 0 on success, -1 on failure. Only the first character of `value` is stored. */
ORBA_EXPORT int set_calibrate_item_state(const char* item, const char* value, int uart);
ORBA_EXPORT int set_calibrate_item_bg_dark(const char* item, const char* value, int uart);
/* Recreates the bg/dark file with every item at `value`; the first argument is not used. */
ORBA_EXPORT int set_calibrate_list_bg_dark(const char* unused, int value);
/* Predicates: 1 or 0. `feature` is passed with its double quotes, e.g. "\"cct_support\"". */
ORBA_EXPORT int is_calibrate_item_support(const char* feature);
ORBA_EXPORT int is_exist_test_item(const char* item);
ORBA_EXPORT int is_calibrated_by_property(const char* property, const char* uncalibrated_value);
ORBA_EXPORT int is_calibrated_by_last_xml(const char* item, const char* state);
/* Resets the item's stored calibration (records and properties) when `value` starts with '0'. */
ORBA_EXPORT void clear_backup_calibrate_item(const char* item, const char* value);
/* `dst` holds at least 1280 bytes: 1 and "\"a,b,...\"" when items are outstanding, else 0. */
ORBA_EXPORT int get_calibrate_list(char* dst);
/* `report` holds at least 40 bytes: 0, or -1 with the first missing result named. */
ORBA_EXPORT int check_calibrate_data(char* report);

/* ---- Factory log capture ------------------------------------------------------------------- */

ORBA_EXPORT int open_factory_log(void);
/* Thread entries: the argument is ignored; each detaches itself and returns 0. */
ORBA_EXPORT void* pthread_logcat(void* unused);
ORBA_EXPORT void* pthread_kmsg(void* unused);
/* "/data/vendor/engineermode" clears the capture files; anything else the cache files. */
ORBA_EXPORT int clear_factory_log(const char* dir);
ORBA_EXPORT int is_orbalog_running(void);
ORBA_EXPORT int control_orba_Log(int already_running, long log_type);
ORBA_EXPORT int clear_qzt_Log(void);
ORBA_EXPORT int open_ex_log(int already_running, long exception_type);

ORBA_END_DECLS

#endif
