#ifndef ORBAFACTORY_FACTORYDATA_H
#define ORBAFACTORY_FACTORYDATA_H

/* Factory data files: the preload ("TF data") inventory on shared storage, the copy family that
 * places staged files with the media owner, mode and build-date stamps, and the scripted
 * tool-command sequencer. */

#include <stdint.h>

#include <orbafactory/export.h>

ORBA_BEGIN_DECLS

/* ---- Preload data inventory ----------------------------------------------------------------- */

/* One listed preload file, "/sdcard/<relative name>". Nodes come from malloc, in manifest order;
 * release a whole list with tf_data_list_free. */
typedef struct tf_data_list {
  char path[256];
  struct tf_data_list* next;
} tf_data_list;

/* Manifest kinds returned by get_tfdata_type. */
enum {
  TF_DATA_TYPE_NONE = 0,
  TF_DATA_TYPE_CFG = 1, /* line manifest, /sdcard/.clear_sdcard.cfg */
  TF_DATA_TYPE_INI = 2, /* INI manifest, /sdcard/.clear_sdcard.ini (preferred) */
};

ORBA_EXPORT int get_tfdata_type(void);
/* The list for this device's customer variant (property ro.orba.oem.name), or null. */
ORBA_EXPORT tf_data_list* get_tf_data_file_list(void);
ORBA_EXPORT tf_data_list* get_tf_data_from_ini(void);
/* `variant` names the section (at most 91 characters); bit 0 of include_all allows "ALL". */
ORBA_EXPORT tf_data_list* get_tf_data_from_ini_by_oem(const char* variant, int include_all);
ORBA_EXPORT tf_data_list* get_tf_data_from_cfg(void);
ORBA_EXPORT tf_data_list* get_tf_data_from_cfg_by_oem(void);
ORBA_EXPORT tf_data_list* get_tf_data_file_list_by_oem(const char* variant, int include_all);
/* The list, plus (bit 0 of with_packages) the package archives found in /data/media/0. */
ORBA_EXPORT tf_data_list* get_tfdata_oem_app_list(int with_packages);
ORBA_EXPORT void tf_data_list_free(tf_data_list* list);

/* Sum of the listed files' sizes in bytes; missing files count nothing. */
ORBA_EXPORT double get_tf_data_file_size(const tf_data_list* list);
/* The number of listed files, or -1 when any is missing (each missing one is appended to
 * `report` as "lost:<path>\n" while `room` allows) or when report or list is null. */
ORBA_EXPORT int get_tf_data_file_number(char* report, int room, const tf_data_list* list);
/* 1 when an existing file is not readable and writable, 0 otherwise (missing included). */
ORBA_EXPORT int is_tf_file_permission_abormal(const char* path);
/* 1 when every existing listed file is readable and writable, 0 otherwise. */
ORBA_EXPORT int check_tfdata_time_permission_abnormal(const tf_data_list* list);
/* 1 when the listed media files are all accessible (or outside factory mode), 0 otherwise. */
ORBA_EXPORT int isAllTfFilePermissionOk(void);
/* Deletes listed demo videos whose path does not name `variant`. */
ORBA_EXPORT void delete_foreign_extra_demovideo_by_oem(const char* variant);
/* Deletes everything under `dir` that `keep` does not name, apart from app data. */
ORBA_EXPORT void delete_all_file_except_tfdata(const char* dir, const tf_data_list* keep);

/* ---- Factory file copy ---------------------------------------------------------------------- */

/* 0 when `path` is not a .zip or starts with a ZIP local header, -1 otherwise. */
ORBA_EXPORT int ckeck_zip_signature(const char* path);
ORBA_EXPORT int fbe_copy_file(const char* src, const char* dst);
/* Mode 0775, owner and group 1023. 0 when the ownership change succeeded. */
ORBA_EXPORT int fbe_set_file_permission(const char* path);
/* Access and modification time from ro.build.date.utc. 0 or -1. */
ORBA_EXPORT int fbe_set_build_date(const char* path);
/* stat size in bytes, 0 when the file cannot be stat'ed. */
ORBA_EXPORT long get_file_size(const char* path);
ORBA_EXPORT int fbe_copy_file_and_check(const char* src, const char* dst, int remove_src);
ORBA_EXPORT int copy_files_before_init(const char* src, const char* dst);
/* Moves a directory tree; 0 when at least one entry was placed. */
ORBA_EXPORT int copy_file_loop(const char* src_dir, const char* dst_dir);
/* Creates the missing parent directories of `dst`, then copies as fbe_copy_file_and_check. */
ORBA_EXPORT int copy_file_tranverse(const char* src, const char* dst, int remove_src);
ORBA_EXPORT int copy_file(const char* src, const char* dst);
/* Extracts the member `entry_name` of a ZIP archive to `out_path`. 0 or -1. */
ORBA_EXPORT int upzip_file(const char* zip_path, const char* entry_name, const char* out_path);

/* ---- Tool-command sequencer ----------------------------------------------------------------- */

/* Filled by tool_test_app_command_ini; release the strings with tool_test_app_command_free. */
typedef struct tool_test_app_command {
  char* command;      /* the matched command text */
  int32_t delay_time; /* as the script gives it */
  char* response;     /* response text ending in "\r\n", or null */
} tool_test_app_command;

/* 0 when `received` is the script's next command and `out` is filled, -1 otherwise. `out` must
 * start zero-filled or hold an earlier result: its strings are released before it is refilled,
 * and on a failed search. */
ORBA_EXPORT int tool_test_app_command_ini(const char* received, tool_test_app_command* out);
ORBA_EXPORT void tool_test_app_command_free(tool_test_app_command* cmd);

ORBA_END_DECLS

#endif
