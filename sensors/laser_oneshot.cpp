// One laser measurement on demand: a reading thread opens the sensor on an object of its own,
// waits for the first callback, and hands the word to the caller through two semaphores, each
// wait bounded by 3 s.
//
// The caller's semaphore lives on the caller's stack. A caller that gives up after 3 s marks it
// abandoned (under the same lock the reader posts under), so a late reader never posts to a
// destroyed semaphore. The data semaphore is posted by the vendor library's thread, which can
// outlive the wait; it is posted only while the reader holds it open, and the sensor is closed
// before it is destroyed.

#include <errno.h>
#include <pthread.h>
#include <semaphore.h>
#include <stdio.h>
#include <string.h>
#include <time.h>

#include <condition_variable>
#include <mutex>

#include <orbafactory/sensors.h>
#include <platform/log.h>

#include "laser_state.h"
#include "sensor_laser_8801.h"

using namespace orba::laser;

namespace {

constexpr int kDeadlineSeconds = 3;

std::mutex g_mutex;
std::condition_variable g_reader_done;
bool g_reader_running = false;      // the recorded reading thread (none: false)
sem_t g_data_sem;
bool g_data_sem_open = false;
const sem_t* g_abandoned = nullptr;  // a caller's semaphore that nobody waits on any more

// Waits on `sem` until CLOCK_REALTIME now + 3 s; false on timeout or clock failure.
bool WaitThreeSeconds(sem_t* sem) {
  timespec deadline{};
  if (clock_gettime(CLOCK_REALTIME, &deadline) != 0) {
    ORBA_LOGE("clock_gettime (errno=%d)", errno);
    return false;
  }
  deadline.tv_sec += kDeadlineSeconds;
  int ret;
  while ((ret = sem_timedwait(sem, &deadline)) != 0 && errno == EINTR) {
  }
  if (ret != 0) {
    ORBA_LOGE("sem_timedwait (errno=%d)", errno);
    return false;
  }
  return true;
}

void PostCaller(sem_t* done) {
  std::lock_guard<std::mutex> lock(g_mutex);
  if (done == g_abandoned) {
    g_abandoned = nullptr;
    return;
  }
  sem_post(done);
}

void ReaderFinished() {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_reader_running = false;
  g_reader_done.notify_all();
}

void* ReaderEntry(void* arg) { return get_laser_data_TMF8801_thread(static_cast<sem_t*>(arg)); }

}  // namespace

extern "C" {

void get_laser_data_TMF8801_callback(unsigned value) {
  if (value == 0) return;
  g_last_word.store(value, std::memory_order_relaxed);
  ORBA_LOGD("cb_data = %d", value);
  std::lock_guard<std::mutex> lock(g_mutex);
  if (g_data_sem_open) sem_post(&g_data_sem);
}

void* get_laser_data_TMF8801_thread(sem_t* done) {
  pthread_detach(pthread_self());
  if (done == nullptr) {
    ORBA_LOGE("args null");
    ReaderFinished();
    return nullptr;
  }
  {
    std::lock_guard<std::mutex> lock(g_mutex);
    if (sem_init(&g_data_sem, 0, 0) != 0) {
      ORBA_LOGE("Semaphore creation failed (errno=%d)", errno);
    } else {
      g_data_sem_open = true;
    }
  }
  if (!g_data_sem_open) {
    PostCaller(done);
    ReaderFinished();
    return nullptr;
  }
  g_last_word.store(kNoData, std::memory_order_relaxed);
  unsigned char object[SENSOR_LASER_8801_OBJECT_SIZE] = {};
  int ret = sensor_laser_8801_init(object, get_laser_data_TMF8801_callback);
  ORBA_LOGD("sensor_laser_8801_init ret=%d", ret);
  if (ret != 0) {
    ORBA_LOGE("sensor_laser_8801_init fail");
    PostCaller(done);
    {
      std::lock_guard<std::mutex> lock(g_mutex);
      g_data_sem_open = false;
      sem_destroy(&g_data_sem);
    }
    ReaderFinished();
    return nullptr;
  }
  WaitThreeSeconds(&g_data_sem);
  ORBA_LOGD("static_data_laser_TMF8801 = %x", g_last_word.load(std::memory_order_relaxed));
  PostCaller(done);
  ret = sensor_laser_8801_deinit(object);
  {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_data_sem_open = false;
    sem_destroy(&g_data_sem);
  }
  ORBA_LOGD("ret = %d", ret);
  ReaderFinished();
  return nullptr;
}

int get_laser_data_TMF8801_sync(char* distance, char* confidence) {
  {
    std::unique_lock<std::mutex> lock(g_mutex);
    if (g_reader_running) {
      ORBA_LOGE("wait for deinit...");
      g_reader_done.wait(lock, [] { return !g_reader_running; });
    }
  }
  sem_t done;
  if (sem_init(&done, 0, 0) != 0) {
    ORBA_LOGE("Semaphore creation failed (errno=%d)", errno);
    return 0;
  }
  {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_reader_running = true;
  }
  pthread_t thread;
  if (pthread_create(&thread, nullptr, ReaderEntry, &done) != 0) {
    ORBA_LOGE("create reading thread failed");
    ReaderFinished();
    sem_destroy(&done);
    return 0;
  }
  if (!WaitThreeSeconds(&done)) {
    std::lock_guard<std::mutex> lock(g_mutex);
    // The reader posts under this lock: either it already did, or it never will.
    if (sem_trywait(&done) != 0) g_abandoned = &done;
  }
  if (sem_destroy(&done) != 0) ORBA_LOGE("sem_destroy (errno=%d)", errno);

  uint32_t word = g_last_word.load(std::memory_order_relaxed);
  ORBA_LOGD("static_data_laser_TMF8801 = %d", static_cast<int>(word));
  if (!HasData(word)) return 0;
  if (distance != nullptr) sprintf(distance, "%d", Distance(word));
  if (confidence != nullptr) sprintf(confidence, "%d", Confidence(word));
  return 1;
}

}  // extern "C"
