#ifndef ORBAFACTORY_SYSACCESS_H
#define ORBAFACTORY_SYSACCESS_H

#include <orbafactory/export.h>

ORBA_BEGIN_DECLS

/* ---- Privileged work through the AT-command HAL service -------------------------------------
 * Each call obtains the service afresh. Text results are copied with strncpy semantics: no
 * terminator when the text fills `len`, so pass a zero-filled buffer and a `len` below its size.
 * Members that probe the registration restart the service when it is absent and then fail or
 * fall back to a local call; the others expect it to be up (see orbaatcmd_wait_started). */

ORBA_EXPORT int orbaatcmd_get_system_property_with_len(const char* key, char* value, int len,
                                                       const char* default_value);
/* `value` must hold 92 bytes. */
ORBA_EXPORT int orbaatcmd_get_system_property(const char* key, char* value,
                                              const char* default_value);
ORBA_EXPORT void orbaatcmd_set_system_property(const char* key, const char* value);
ORBA_EXPORT int orbaatcmd_exec_system_cmd(const char* cmd, char* out, int len);
ORBA_EXPORT int orbaatcmd_read_system_file(const char* path, char* out, int len);
ORBA_EXPORT int orbaatcmd_write_system_file(const char* path, int open_flags, const char* data);
ORBA_EXPORT int orbaatcmd_copy_file(const char* src, const char* dst);
ORBA_EXPORT int orbaatcmd_uzip_file(const char* zip, const char* dest, const char* third);
ORBA_EXPORT int orbaatcmd_selinux_restorecon(const char* path, unsigned flags);
ORBA_EXPORT int orbaatcmd_chmod_system_file(const char* path, unsigned mode);
ORBA_EXPORT int orbaatcmd_remove_system_file(const char* path);
ORBA_EXPORT int orbaatcmd_sizeof_system_file(const char* path);
ORBA_EXPORT int orbaatcmd_fwrite_system_file(const char* path, const char* mode,
                                             const char* data);
ORBA_EXPORT int orbaatcmd_fread_system_file(const char* path, char* out, int len);
/* A negative size is a fatal error. */
ORBA_EXPORT int orbaatcmd_fwrite_data_file(const char* path, const char* mode, const void* data,
                                           int size);
ORBA_EXPORT int orbaatcmd_orbakp_write_file(const void* data, int size);
/* `digest` must hold 16 bytes; 0 only when the service delivered exactly 16. */
ORBA_EXPORT int orbaatcmd_md5_system_file(const char* path, unsigned char* digest);
ORBA_EXPORT void orbaatcmd_send_message_to_fingerprint(const char* message, char* reply,
                                                       int len);
/* Ten registration probes, half a second apart while the service is absent; always 0. */
ORBA_EXPORT int orbaatcmd_wait_started(void);
ORBA_EXPORT int restart_orbaatcmd_server(void);
/* Reserved: always -1. */
ORBA_EXPORT int orbaatcmd_getCPLC(void);

/* ---- Shell, properties and processes with the caller's own rights --------------------------- */

ORBA_EXPORT int ext_system(const char* cmd, char* out, int len);
/* Runs only the whitelisted vendor commands; the output is not terminated. */
ORBA_EXPORT int exec_shell_vendor(const char* cmd, char* out, int len);
ORBA_EXPORT int killprocess(const char* name);
ORBA_EXPORT int killProcessofMounts(const char* prefix, int signal);
ORBA_EXPORT int write_int(const char* path, int value);
ORBA_EXPORT int read_int(const char* path, int* value);
ORBA_EXPORT int get_property_with_len(const char* name, char* value, int len,
                                      const char* default_value);
/* 1 when the property holds `expected` within timeout_ms, else 0. */
ORBA_EXPORT int wait_for_property(const char* name, const char* expected, int timeout_ms);
ORBA_EXPORT int property_set_args(const char* name, const char* fmt, ...)
    __attribute__((format(printf, 2, 3)));
/* Returns a process-global buffer, overwritten by the next call; "error" on failure. */
ORBA_EXPORT char* atcmd_execute_vendor(const char* cmd);

ORBA_END_DECLS

#ifdef __cplusplus
#include <string>

/* Plain symbols with a C++ argument: C++ callers only. They return the number of processes found
 * (spared daemons included); signal 0 only counts. */
extern "C" ORBA_EXPORT int KillProcessesWithOpenFiles(std::string prefix, int signal);
extern "C" ORBA_EXPORT int KillProcessesWithMounts(std::string prefix, int signal);
#endif

#endif
