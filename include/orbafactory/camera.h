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

/* ---- Rotary module -------------------------------------------------------------------------- */

typedef struct {
  int32_t pop_time;
  int32_t push_time;
  int32_t rotary_interval;
  int32_t pop_interval;
  int32_t pop_timeout;
  int32_t rotary_timeout;
  double angle_precision;
  int32_t pop_half_up[2];
  int32_t pop_half_down[2];
  int32_t pop_up[2];
  int32_t pop_down[2];
  int32_t retract_up[2];
  int32_t retract_down[2];
  double max_rotary_angle[2];
  int32_t deg_0_x[2];
  int32_t deg_0_y[2];
  int32_t deg_0_z[2];
  int32_t deg_180_x[2];
  int32_t deg_180_y[2];
  int32_t deg_180_z[2];
  double angle_0[2];
  double angle_180[2];
  int32_t fluency_pop[2];
  int32_t fluency_retract[2];
} RotaryUtil;

ORBA_EXPORT void init_rotary_util(RotaryUtil* util);
ORBA_EXPORT int stop_motor_rotate(void);
ORBA_EXPORT int pos_rotate_camera(int ms);
ORBA_EXPORT int neg_rotate_camera(int ms);
ORBA_EXPORT double get_current_angle(void);
ORBA_EXPORT double get_current_avr_angle(void);
/* flag bit 0 set: the 0 degree point, else the 180 degree point; -999.0 when not calibrated. */
ORBA_EXPORT double get_front_back_camera_angle(int flag);
ORBA_EXPORT double calculate_rotated_angles(int direction, double start, double end);
ORBA_EXPORT int get_rotary_time_need(double angle);
ORBA_EXPORT int set_rotary_speed(int angle_speed);
/* "set_ratary_camera_cali_data ITEM VALUES...": 1 stored, 0 refused or failed. */
ORBA_EXPORT int set_ratary_camera_cali_data(char* msg);
ORBA_EXPORT int rotate_to_appointted_angles(int interval, int timeout_ms, double dest,
                                            double precision);
ORBA_EXPORT int rotate_to_relative_angle(int interval, int timeout_ms, double src,
                                         double relative, double precision);
ORBA_EXPORT int rotate_by_relative_angle(int interval, int timeout_ms, double relative,
                                         double precision);
/* "rotate_to_maximum_angles positively|negatively". */
ORBA_EXPORT int rotate_to_max_angles(char* msg);
ORBA_EXPORT int rotate_to_front_camera(int interval, int timeout_ms, double precision);
ORBA_EXPORT int rotate_to_back_camera(int interval, int timeout_ms, double precision);
/* "x_axis" ... copies a token (0); "x_axis_int" ... returns it; -99999 on failure. */
ORBA_EXPORT int get_current_rotary_hall_data(char* inout);
ORBA_EXPORT void* sample_of_max_appointted_hall_thread(char* inout);
ORBA_EXPORT int camera_cali_half_pop(int pop_ms, int direction);
ORBA_EXPORT void* thread_get_angle_speed_stable_time(int* result);
/* 0 pass, 1 fail, -1 error. */
ORBA_EXPORT int camera_rotate_fluency_test(char* msg);
/* state[0]: done flag the caller sets (atomically); state[1]: the caller's result. */
ORBA_EXPORT void* thread_magnetic_saturation_self_check(int* state);
ORBA_EXPORT int wait_for_eng_camera_off(void);

/* ---- Camera identity and AT-command translation --------------------------------------------- */

typedef struct {
  char at_name[32];
  char camera_name[32];
  char display_name[32];
} CameraTypeRow;

typedef struct {
  char atcmd[32];
  char function[256];
  char item[49]; /* "N" when the command has no calibration item */
} CameraAtcmdRow;

ORBA_EXPORT int is_support_target_camera(int front, const char* type);
ORBA_EXPORT int combine_camera_sn_path(const char* flag, const char* cam_type, char* path,
                                       int size);
ORBA_EXPORT void get_camera_info_code(const char* flag, const char* cam_type, char* out,
                                      int size);
ORBA_EXPORT int get_target_camera_otp_status(char* dst, int dst_size, const char* key);
ORBA_EXPORT int parse_double_camere_test_files(const char* ret_file, const char* result_file,
                                               char* ret, char* avg_err, char* max_err,
                                               char* err_range, char* result);
ORBA_EXPORT int get_dual_virtual_info(char* message, char* path_ret, char* path_result, int size,
                                      const char* function, int front, const char* cam_type1,
                                      const char* cam_type2, bool wait_for_result);
ORBA_EXPORT int get_dual_fusion_info(char* message, char* path_ret, char* path_result, int size,
                                     const char* function, int front, const char* cam_type1,
                                     const char* cam_type2);
ORBA_EXPORT int transform_atcmd_cam_position(const char* pos, char* out, int size);
ORBA_EXPORT int transform_atcmd_cam_type(const char* type, char* out, int size);
/* `item` receives the command's calibration item (49 bytes). */
ORBA_EXPORT int transform_at_cmd_to_camera_info(const char* atcmd, char* message, int size,
                                                char* item);
/* 7 for a "success#..." answer turned into "+key:\"value\"\r\n" lines, 8 otherwise. */
ORBA_EXPORT int transform_camera_ret_to_at_resp(const char* ret, char* resp, int size);

ORBA_END_DECLS

#endif
