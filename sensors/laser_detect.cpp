// Frozen-data detection: a live sensor's callback count keeps rising, and its readings move. A
// sensor whose snapshots stay identical for half a second (five in a row, 100 ms apart) has
// stopped delivering, whatever its last distance was.

#include <pthread.h>

#include <orbafactory/sensors.h>
#include <orbafactory/sysaccess.h>
#include <platform/log.h>

#include "laser_state.h"

using namespace orba::laser;

namespace {

constexpr const char* kVerdictProperty = "sys.orba.laser_8801_detect_ret";
constexpr int kGroup = 5;

struct Snapshot {
  int distance;
  int confidence;
  int callbacks;
};

Snapshot Take() {
  uint32_t word = g_last_word.load(std::memory_order_relaxed);
  return Snapshot{Distance(word), Confidence(word),
                  static_cast<int>(g_callback_count.load(std::memory_order_relaxed))};
}

void LogGroup(const Snapshot (&group)[kGroup]) {
  for (int i = 0; i < kGroup; ++i) {
    ORBA_LOGD(" distance[%d] = %d, confidence[%d] = %d, callback_times_array[%d] = %d\n", i,
              group[i].distance, i, group[i].confidence, i, group[i].callbacks);
  }
}

bool Frozen(const Snapshot (&group)[kGroup]) {
  int equals = 0;
  for (int i = 0; i + 1 < kGroup; ++i) {
    const Snapshot& a = group[i];
    const Snapshot& b = group[i + 1];
    if (a.distance == b.distance && a.confidence == b.confidence && a.callbacks == b.callbacks) {
      ++equals;
    }
  }
  ORBA_LOGD("equals = %d", equals);
  return equals > 3;
}

}  // namespace

extern "C" void* laser_8801_detect_background_thread(unsigned* seconds) {
  // Read before anything else: a starter may hand a variable of its own stack and return, and
  // the slot is then reused long before the snapshots are done.
  const long tenths = seconds != nullptr ? 10L * static_cast<long>(*seconds) : 0;
  pthread_detach(pthread_self());
  ORBA_LOGD("begin.");
  orbaatcmd_set_system_property(kVerdictProperty, "testing");
  g_callback_count.store(0, std::memory_order_relaxed);
  uint64_t opened = 0;
  OpenStreaming(&opened);

  Snapshot group[kGroup];
  for (int i = 0; i < kGroup; ++i) {
    SleepMs(100);
    group[i] = Take();
  }
  LogGroup(group);

  bool failed = false;
  if (tenths >= 6) {
    for (long count = tenths - kGroup; count > 0; --count) {
      SleepMs(100);
      Snapshot next = Take();
      ORBA_LOGD("count = %ld, distance = %d, confidence = %d, callback_times = %d", count,
                next.distance, next.confidence, next.callbacks);
      if (Frozen(group)) {
        ORBA_LOGD("test failed!");
        failed = true;
        break;
      }
      for (int i = 0; i + 1 < kGroup; ++i) group[i] = group[i + 1];
      group[kGroup - 1] = next;
      LogGroup(group);
    }
  }
  if (!failed) ORBA_LOGD("test success!");
  orbaatcmd_set_system_property(kVerdictProperty, failed ? "failed" : "success");
  // A station that saw the verdict may already have opened the sensor again; that open closed
  // this thread's object, and the new one is not this thread's to close (nor its measurement).
  CloseInBackground(TakeObjectIf(opened));
  return nullptr;
}
