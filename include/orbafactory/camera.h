#ifndef ORBAFACTORY_CAMERA_H
#define ORBAFACTORY_CAMERA_H

#include <stdbool.h>
#include <stdint.h>

#include <orbafactory/export.h>

ORBA_BEGIN_DECLS

/* ---- Pop-up module -------------------------------------------------------------------------- */

/* get_camera_motor_type: 1 fully_auto_pop, 2 fully_auto_pop_rotate, 3 semi_auto_pop,
   4 fully_manual_pop, 0 anything else. */

#define HALL_SAMPLE_MAX 300
#define HALL_SAMPLE_TEXT 64

/* One hall file sampled by one background thread. The caller owns it and keeps it alive until
   the thread has ended (after `count` readings, after 11 s, or once `stop` is 1). Set `stop`
   with an atomic store when the thread may be running. */
typedef struct {
  int32_t stop;
  int32_t count;
  int32_t interval_ms;
  char path[128];
  char samples[HALL_SAMPLE_MAX][HALL_SAMPLE_TEXT]; /* "0" until read */
} HallSampleRecord;

ORBA_EXPORT int is_support_new_camera_interface(void);
ORBA_EXPORT int get_camera_motor_type(void);
/* Splits `text` in place at ','. 0, or -1 when text or first is null. */
ORBA_EXPORT int get_parameters(char* text, int* first, int* second);
ORBA_EXPORT int get_parameters_double(char* text, double* first, double* second);
/* `inout` (64 bytes): "up_hall", "down_hall", or anything else for "up middle down". */
ORBA_EXPORT int get_current_pop_hall_data(char* inout);
ORBA_EXPORT int ready_to_sample_camera_pop_hall(int interval_ms, int sample_count,
                                                HallSampleRecord* up, int ignored,
                                                HallSampleRecord* down);
ORBA_EXPORT int create_hall_sample_thread(int interval_ms, int sample_count,
                                          HallSampleRecord* up, int ignored,
                                          HallSampleRecord* down);
ORBA_EXPORT void* sample_data_thread(HallSampleRecord* rec);
/* `out` needs 2 * 64 * count + 40 bytes. */
ORBA_EXPORT int combine_hall_sample_resp(char* out, int count, HallSampleRecord* up, int ignored,
                                         HallSampleRecord* down);
ORBA_EXPORT int is_motor_block(const int* samples, int n);
ORBA_EXPORT int is_motor_block_precision(const int* samples, int n, int tolerance);
ORBA_EXPORT int is_motor_block_double(const double* samples, int n);
ORBA_EXPORT int is_motor_block_double_precision(const double* samples, int n, double tolerance);
ORBA_EXPORT int is_speed_stable(const double* positions, int array_num, int avr_num,
                                int begin_num, int end_num, double interval_time,
                                double stable_speed);
/* Waits, with no time limit, until both halls settle when `enable` >= 1. */
ORBA_EXPORT int get_motor_blocked_time(int interval_ms, int enable);
ORBA_EXPORT int get_appointted_pop_halls_blocked_time(const char** paths, int file_num,
                                                      int interval_ms, int timeout_ms);
ORBA_EXPORT int get_appointted_pop_hall_blocked_time(const char* path, int interval_ms,
                                                     int timeout_ms);
ORBA_EXPORT int stop_motor_pop(void);
ORBA_EXPORT int pop_camera(int ms);
ORBA_EXPORT int retract_camera(int ms);
/* "pop_all|retract_all MOTOR_VALUE INTERVAL TIMEOUT": the milliseconds used, as text in a
   static buffer; "-1" on failure. Not reentrant. */
ORBA_EXPORT char* pop_up_camera_by_engineer_interface(char* msg);
ORBA_EXPORT const char* pop_up_camera_by_system_interface(const char* msg);

ORBA_END_DECLS

#endif
