// The laser sensor's shared object and measurement word.

#include <stdlib.h>
#include <time.h>

#include <mutex>

#include "laser_state.h"
#include "sensor_laser_8801.h"

namespace orba::laser {

std::atomic<uint32_t> g_last_word{kNoData};
std::atomic<uint32_t> g_callback_count{0};

namespace {

std::mutex g_object_mutex;
void* g_object = nullptr;
uint64_t g_serial = 0;       // of g_object
uint64_t g_last_serial = 0;  // the last one handed out

}  // namespace

void* TakeObject() {
  std::lock_guard<std::mutex> lock(g_object_mutex);
  void* object = g_object;
  g_object = nullptr;
  return object;
}

void* TakeObjectIf(uint64_t serial) {
  std::lock_guard<std::mutex> lock(g_object_mutex);
  if (g_object == nullptr || g_serial != serial) return nullptr;
  void* object = g_object;
  g_object = nullptr;
  // Under the lock, so it cannot wipe the first word of an object installed after this one.
  g_last_word.store(kNoData, std::memory_order_relaxed);
  return object;
}

void* ReplaceObject(uint64_t* serial) {
  void* object = calloc(1, SENSOR_LASER_8801_OBJECT_SIZE);
  void* old;
  {
    std::lock_guard<std::mutex> lock(g_object_mutex);
    old = g_object;
    g_object = object;
    g_serial = object != nullptr ? ++g_last_serial : 0;
    if (serial != nullptr) *serial = g_serial;
  }
  CloseObject(old);
  return object;
}

int CloseObject(void* object) {
  if (object == nullptr) return 0;
  int ret = sensor_laser_8801_deinit(object);
  free(object);
  return ret;
}

void SleepMs(int ms) {
  timespec ts{ms / 1000, (ms % 1000) * 1000000L};
  while (nanosleep(&ts, &ts) != 0) {
  }
}

}  // namespace orba::laser
