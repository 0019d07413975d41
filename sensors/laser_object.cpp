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

}  // namespace

void* TakeObject() {
  std::lock_guard<std::mutex> lock(g_object_mutex);
  void* object = g_object;
  g_object = nullptr;
  return object;
}

void ReleaseObject(void* object) { free(object); }

void* ReplaceObject() {
  void* old = TakeObject();
  if (old != nullptr) {
    // The vendor library may still be delivering for it; freeing first would let a new object
    // reuse the address under its feet.
    sensor_laser_8801_deinit(old);
    free(old);
  }
  void* object = calloc(1, SENSOR_LASER_8801_OBJECT_SIZE);
  if (object == nullptr) return nullptr;
  std::lock_guard<std::mutex> lock(g_object_mutex);
  g_object = object;
  return object;
}

void* CurrentObject() {
  std::lock_guard<std::mutex> lock(g_object_mutex);
  return g_object;
}

void SleepMs(int ms) {
  timespec ts{ms / 1000, (ms % 1000) * 1000000L};
  while (nanosleep(&ts, &ts) != 0) {
  }
}

}  // namespace orba::laser
