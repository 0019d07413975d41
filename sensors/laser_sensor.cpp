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

namespace orba::laser {

int OpenStreaming(uint64_t* serial) {
  g_last_word.store(kNoData, std::memory_order_relaxed);
  void* object = ReplaceObject(serial);
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

void CloseInBackground(void* object) {
  if (object == nullptr) return;  // nothing open: nothing for the library to close
  pthread_t thread;
  if (pthread_create(&thread, nullptr, thread_close_laser_TMF8801, object) != 0) {
    // The object is ours alone now; closing it here is slower for the caller, but closed.
    ORBA_LOGE("create close thread failed");
    ORBA_LOGD("ret = %d", CloseObject(object));
  }
}

}  // namespace orba::laser

extern "C" {

void sensor_laser_TMF8801_event_callback(unsigned value) {
  if (value == 0) return;
  g_last_word.store(value, std::memory_order_relaxed);
  g_callback_count.fetch_add(1, std::memory_order_relaxed);
}

// The object to close is the one the off path took when it was asked, handed over as `arg`: a
// thread that starts late must not close whatever a later open installed meanwhile. Called
// directly with null, it closes the current object.
void* thread_close_laser_TMF8801(void* arg) {
  int err = pthread_detach(pthread_self());
  if (err != 0) ORBA_LOGE("pthread_detach error:%d", err);
  int ret = CloseObject(arg != nullptr ? arg : TakeObject());
  ORBA_LOGD("ret = %d", ret);
  return nullptr;
}

int on_off_laser_TMF8801(bool on) {
  if (on) return OpenStreaming(nullptr);
  g_last_word.store(kNoData, std::memory_order_relaxed);
  CloseInBackground(TakeObject());
  return 1;
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
