#ifndef ORBAFACTORY_SENSORS_H
#define ORBAFACTORY_SENSORS_H

#include <orbafactory/export.h>

#include <semaphore.h>
#include <stdbool.h>

ORBA_BEGIN_DECLS

/* ---- Laser ranging sensor (TMF8801) ----------------------------------------------------------
 * A measurement word: bits 0-15 distance in mm, bits 16-21 confidence (0-63); all ones is no data. */

/* 1 when the sensor opened (on), else 0. Off takes the open object at once and closes it on a
 * thread of its own (inline if no thread can be started); always 1. */
ORBA_EXPORT int on_off_laser_TMF8801(bool on);
/* The vendor library's measurement callbacks: streaming, and the one-shot reading's. */
ORBA_EXPORT void sensor_laser_TMF8801_event_callback(unsigned value);
ORBA_EXPORT void get_laser_data_TMF8801_callback(unsigned value);
/* what: "distance" or "confidence"; 1 when a measurement was present. */
ORBA_EXPORT int get_laser_data_TMF8801(char* out, const char* what);
/* Opens the sensor for one measurement (3 s deadlines); 1 when one arrived. */
ORBA_EXPORT int get_laser_data_TMF8801_sync(char* distance, char* confidence);
/* Thread bodies. */
ORBA_EXPORT void* get_laser_data_TMF8801_thread(sem_t* done);
/* arg: the object to close, taken by the caller; null closes the current one. */
ORBA_EXPORT void* thread_close_laser_TMF8801(void* arg);
ORBA_EXPORT void* laser_8801_detect_background_thread(unsigned* seconds);
/* msg "enable" then "get_result": 0 / 2 on success, the library's code, -1 or -2. */
ORBA_EXPORT int clock_cali_TMF8801(const char* msg);
/* 0 on success; msg receives the failure text. */
ORBA_EXPORT int crosstalk_cali_TMF8801(char* photon_num, char* bin, char* msg);
ORBA_EXPORT int get_crosstalk_value_TMF8801(char* photon_num, char* bin);
ORBA_EXPORT int load_firmware_TMF8801(void);

/* ---- The sensor-neutral laser interface of older projects: no sensor answers it any more ---- */

typedef struct common_laser_data {
  int TimeStamp;
  int RangeStatus;
  int RangeMilliMeter;
} common_laser_data;

ORBA_EXPORT void init_sensor_laser_data_engineermode(common_laser_data* data);
ORBA_EXPORT int on_off_laser(bool on);
ORBA_EXPORT void* thread_close_laser(void* arg);
ORBA_EXPORT int get_sensor_laser_data(common_laser_data* data, int times);
ORBA_EXPORT int crosstalk_cali(void);
ORBA_EXPORT int offset_cali(void);
ORBA_EXPORT int auto_get_sensor_laser_data(int times, int* distance, int* confidence);
ORBA_EXPORT void sensor_common_laser_init(void* object, void* callback);
ORBA_EXPORT void sensor_common_laser_deinit(void* object);
ORBA_EXPORT void sensor_common_laser_XtalkCalibration(void* object);
ORBA_EXPORT void sensor_common_laser_OffsetCalibration(void* object);

/* ---- Ambient-light colour calibration -------------------------------------------------------- */

/* 7 stored, 9 unparsable line, 4 factory record not readable or writable. type 0: the ordinary
 * sensor's set; any other type: the multispectral (mscct) set. */
ORBA_EXPORT int als_cct_parse_rgbcw(const char* cmdline, int type);

/* ---- Touch-panel self-test ------------------------------------------------------------------- */

typedef struct TestRequest {
  int seconds;
  char value[64];
  char rate[64];
} TestRequest;

/* 0 when started; -1 or the negative write result otherwise. rate 0: the panel's maximum. */
ORBA_EXPORT int touchpanel_sensor_test(int seconds, const char* value, int rate);
ORBA_EXPORT void* touchpanel_thread(TestRequest* request);

ORBA_END_DECLS

#endif
