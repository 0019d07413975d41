#ifndef ORBA_SENSORS_SENSOR_LASER_8801_H
#define ORBA_SENSORS_SENSOR_LASER_8801_H

// The TMF8801 vendor library (libsensor_laser_8801.so), as the sensor's maker ships it: a closed
// library that owns the chip and delivers measurement words through a callback thread of its own.
// Every call that takes an object takes the caller's 96-byte block; 0 means success.

#ifdef __cplusplus
extern "C" {
#endif

#define SENSOR_LASER_8801_OBJECT_SIZE 96

typedef void (*sensor_laser_8801_callback)(unsigned value);

int sensor_laser_8801_init(void* object, sensor_laser_8801_callback callback);
int sensor_laser_8801_deinit(void* object);
int sensor_laser_8801_clk_trim_enable(void* object);
// 2: trimming finished and good.
int sensor_laser_8801_clk_trim_result(void* object);
int sensor_laser_8801_crosstalk_calibration(void);
int sensor_laser_8801_get_calibration_result(int* photon_num, int* bin);
int sensor_laser_8801_firmware_download(void);

#ifdef __cplusplus
}
#endif

#endif
