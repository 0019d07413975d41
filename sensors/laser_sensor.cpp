// The laser sensor opened for streaming: the callback keeps the last measurement word, readers
// look at it, and closing runs on a thread of its own so the AT command returns at once.

#include <pthread.h>
#include <stdio.h>
#include <string.h>

#include <orbafactory/sensors.h>
#include <platform/log.h>

#include "laser_state.h"
#include "sensor_laser_8801.h"

using namespace orba::laser;

extern "C" {

void sensor_laser_TMF8801_event_callback(unsigned value) {
  if (value == 0) return;
  g_last_word.store(value, std::memory_order_relaxed);
  g_callback_count.fetch_add(1, std::memory_order_relaxed);
}

void* thread_close_laser_TMF8801(void* /*arg*/) {
  int err = pthread_detach(pthread_self());
  if (err != 0) ORBA_LOGE("pthread_detach error:%d", err);
  void* object = TakeObject();
  int ret = sensor_laser_8801_deinit(object);
  ReleaseObject(object);
  ORBA_LOGD("ret = %d", ret);
  return nullptr;
}

int on_off_laser_TMF8801(bool on) {
  g_last_word.store(kNoData, std::memory_order_relaxed);
  if (!on) {
    pthread_t thread;
    if (pthread_create(&thread, nullptr, thread_close_laser_TMF8801, nullptr) != 0) {
      ORBA_LOGE("create close thread failed");
      return 0;
    }
    return 1;
  }
  void* object = ReplaceObject();
  if (object == nullptr) {
    ORBA_LOGE("malloc error!!");
    return 0;
  }
  ORBA_LOGD("static_obj_laser_TMF8801 address = %x",
            static_cast<unsigned>(reinterpret_cast<uintptr_t>(object)));
  int ret = sensor_laser_8801_init(object, sensor_laser_TMF8801_event_callback);
  ORBA_LOGD("%s sensor_laser_TMF8801 %s!!", "open", ret == 0 ? "success" : "error");
  return ret == 0 ? 1 : 0;
}

int get_laser_data_TMF8801(char* out, const char* what) {
  SleepMs(100);
  uint32_t word = g_last_word.load(std::memory_order_relaxed);
  bool present = HasData(word);
  if (present && out != nullptr && what != nullptr) {
    if (strcmp(what, "distance") == 0) {
      sprintf(out, "%d", Distance(word));
    } else if (strcmp(what, "confidence") == 0) {
      sprintf(out, "%d", Confidence(word));
    }
  }
  ORBA_LOGD("ret = %s, static_data_laser_TMF8801 = %x", present ? "true" : "false", word);
  return present ? 1 : 0;
}

}  // extern "C"
