#ifndef ORBAFACTORY_FOUNDATION_H
#define ORBAFACTORY_FOUNDATION_H

#include <orbafactory/export.h>

ORBA_BEGIN_DECLS

/* ---- Error reports for hardware modules ---------------------------------------------------- */

/* Module numbers accepted by the reporters below. */
enum orba_em_module {
  ORBA_MODULE_ENGINEER_MODE = 0,
  ORBA_MODULE_AUDIO = 1,
  ORBA_MODULE_CAMERA = 2,
  ORBA_MODULE_POWER = 3,
  ORBA_MODULE_SOC = 4,
  ORBA_MODULE_SENSOR = 5,
  ORBA_MODULE_LCM = 6,
  ORBA_MODULE_WIFI = 7,
  ORBA_MODULE_NFC = 8,
  ORBA_MODULE_BT = 9,
  ORBA_MODULE_UWB = 10,
  ORBA_MODULE_SOFTWARE = 11,
};

/* Levels of log_em_module. */
enum orba_em_level {
  ORBA_EM_LEVEL_ERROR = 1,
  ORBA_EM_LEVEL_INFO = 3,
  ORBA_EM_LEVEL_DEBUG = 4,
};

/* err_out, when not null, receives the whole report: size it for the longest one. */
ORBA_EXPORT int log_em_call_err(int module, const char* func, int line, int ret, char* err_out);
ORBA_EXPORT int log_em_system_api_err(int module, const char* func, int line, const char* api,
                                      const char* arg, char* err_out);
ORBA_EXPORT int log_em_check_val_err(int module, const char* func, int line, char* err_out,
                                     const char* fmt, ...) __attribute__((format(printf, 5, 6)));
ORBA_EXPORT int log_em_module(int level, int module, const char* func, int line, const char* fmt,
                              ...) __attribute__((format(printf, 5, 6)));
ORBA_EXPORT void enable_debug_log(void);
ORBA_EXPORT void disable_debug_log(void);

/* ---- Trimming and editing in place ---------------------------------------------------------- */

ORBA_EXPORT int get_trim_string(char** pstr);
ORBA_EXPORT char* trim_empty(char* s);
ORBA_EXPORT char* substring(char* s);
ORBA_EXPORT void delete_char(char* s, char c);
ORBA_EXPORT int remove_special_tag(char* s, char c);
ORBA_EXPORT void strreplace(char* s, const char* from, const char* to);
ORBA_EXPORT char* replace_sub_str(const char* in, const char* from, const char* to, char* dst,
                                  int dst_len);
ORBA_EXPORT int str_abs(char* s);
ORBA_EXPORT void terminate_end_char(char* s);
ORBA_EXPORT char* uppercase_to_lowcase(char* s, int n);
ORBA_EXPORT char* lowcase_to_uppercase(char* s, int n);
ORBA_EXPORT int char_toupper(char* s);

/* ---- Searching and counting ----------------------------------------------------------------- */

ORBA_EXPORT int find_sub_str(const char* hay, int n, const char* needle);
ORBA_EXPORT int get_char_nums(const char* s, char c);
ORBA_EXPORT int isall_str(const char* s, char c);
/* Fills a process-global table of 64 match end positions, read back with GetStrPosition. */
ORBA_EXPORT int StrAmountFind(const unsigned char* pat, unsigned pat_len, const unsigned char* data,
                              unsigned data_len);
ORBA_EXPORT unsigned GetStrPosition(int i);
ORBA_EXPORT int twoway_strfind(const unsigned char* pat, unsigned pat_len,
                               const unsigned char* data, unsigned data_len);
ORBA_EXPORT int matchRegex(const char* pattern, const char* s);

/* ---- Validation ----------------------------------------------------------------------------- */

ORBA_EXPORT int isDigitValue(const char* s);
ORBA_EXPORT int is_Int(const char* s);
ORBA_EXPORT int isHexValue(const char* s);
ORBA_EXPORT int isNHexValue(const char* s);
ORBA_EXPORT int is_in_scope(const char* msg, int v, int lo, int hi);
ORBA_EXPORT int is_in_scope_d(const char* msg, double v, double lo, double hi);

/* ---- Number conversion ---------------------------------------------------------------------- */

ORBA_EXPORT int hex2Dec(char c);
ORBA_EXPORT unsigned long atolhex(const char* s, int n);
ORBA_EXPORT int charToDec(const char* s);
ORBA_EXPORT int GetDEC_Value(const char* s, char stop);
ORBA_EXPORT int get_int_from_char(char c);
ORBA_EXPORT int get_esbp_value(const char* s);
ORBA_EXPORT int getHexToBinaryBit(const char* hex, int bit);
/* Returns a process-global 92-byte buffer, overwritten by the next call. */
ORBA_EXPORT char* itof(double x);

/* ---- Hexadecimal text and bytes ------------------------------------------------------------- */

ORBA_EXPORT int str_to_hex(unsigned char* dst, const char* src, int dst_len);
ORBA_EXPORT int hex2Ascii(const char* hex, unsigned char* out);
ORBA_EXPORT int hex_to_byte(const char* hex, unsigned char* out);
ORBA_EXPORT const char* char_to_hex(const char* src, unsigned char* dst, int n);
ORBA_EXPORT int byte_to_hex(const unsigned char* in, char* out, int n);
ORBA_EXPORT int hexToAscii(const unsigned char* in, char* dst, int n);
ORBA_EXPORT void str2hstr(const char* s, char* dst);

/* ---- Splitting ------------------------------------------------------------------------------ */

#define FACTORY_SPLIT_MAX_FIELDS 10
#define FACTORY_SPLIT_FIELD_LEN 10

/* One process-global instance; the next call overwrites it. */
typedef struct factory_split_result {
  int count;
  char item[FACTORY_SPLIT_MAX_FIELDS][FACTORY_SPLIT_FIELD_LEN];
} factory_split_result_t;

ORBA_EXPORT factory_split_result_t* factory_string_split(const char* str, const char* delims);

ORBA_END_DECLS

#endif
