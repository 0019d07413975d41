// The sensor-neutral laser interface that older projects' tools still call. No sensor on a
// current project answers it: opening reports failure and readings are empty, so an old tool
// fails cleanly instead of reading a sensor it does not know.

#include <stdlib.h>
#include <string.h>

#include <pthread.h>

#include <mutex>

#include <orbafactory/sensors.h>
#include <platform/log.h>

#include "laser_state.h"

namespace {

constexpr size_t kObjectSize = 96;

std::mutex g_mutex;
void* g_object = nullptr;

}  // namespace

extern "C" {

void sensor_common_laser_init(void* /*object*/, void* /*callback*/) {}
void sensor_common_laser_deinit(void* /*object*/) {}
void sensor_common_laser_XtalkCalibration(void* /*object*/) {}
void sensor_common_laser_OffsetCalibration(void* /*object*/) {}

void init_sensor_laser_data_engineermode(common_laser_data* data) {
  if (data != nullptr) memset(data, 0, sizeof(*data));
}

void* thread_close_laser(void* /*arg*/) {
  pthread_detach(pthread_self());
  void* object;
  {
    std::lock_guard<std::mutex> lock(g_mutex);
    object = g_object;
    g_object = nullptr;
  }
  sensor_common_laser_deinit(object);
  free(object);
  ORBA_LOGD("sensor_common_laser_deinit exit");
  ORBA_LOGD("ret = %d", 0);
  return nullptr;
}

int on_off_laser(bool on) {
  if (!on) {
    pthread_t thread;
    if (pthread_create(&thread, nullptr, thread_close_laser, nullptr) != 0) return 0;
    return 1;
  }
  void* object = calloc(1, kObjectSize);
  {
    std::lock_guard<std::mutex> lock(g_mutex);
    free(g_object);
    g_object = object;
  }
  ORBA_LOGD("static_obj_laser address = %x",
            static_cast<unsigned>(reinterpret_cast<uintptr_t>(object)));
  ORBA_LOGD("%s sensor %s!!", "open", "failed");
  return 0;
}

int get_sensor_laser_data(common_laser_data* data, int times) {
  common_laser_data empty{};
  orba::laser::SleepMs(100);
  for (int i = 0; i < times; ++i) {
    orba::laser::SleepMs(40);
    ORBA_LOGD("static_callback_data_laser : TimeStamp=%d RangeStatus=%d RangeMilliMeter=%d",
              empty.TimeStamp, empty.RangeStatus, empty.RangeMilliMeter);
  }
  if (data != nullptr) *data = empty;
  ORBA_LOGD("data_engineermode : TimeStamp = %d RangeStatus = %d RangeMilliMeter = %d",
            empty.TimeStamp, empty.RangeStatus, empty.RangeMilliMeter);
  ORBA_LOGD("result = %s", "true");
  return 1;
}

int crosstalk_cali(void) {
  ORBA_LOGD("ret = %d, number = %d", -1, 0);
  return 0;
}

int offset_cali(void) {
  ORBA_LOGD("ret = %d, offset = %d", -1, 0);
  return 0;
}

int auto_get_sensor_laser_data(int /*times*/, int* /*distance*/, int* /*confidence*/) {
  int ret = on_off_laser(true);
  if (ret != 1) ORBA_LOGE("open laser error!!");
  ORBA_LOGD("end, ret=%d, distance=%d, ConfidenceCoefficient=%d", ret, 0, 0);
  return 0;
}

}  // extern "C"
