// Background sampling of the pop module's two halls while the motor runs: one detached thread
// per record, and the AT response built from what they read.

#include <orbafactory/camera.h>

#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdio.h>
#include <string.h>

#include <algorithm>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <vector>

#include <orbafactory/config.h>
#include <platform/log.h>

#include "camera_nodes.h"

using namespace orba::camera;

namespace {

// However many readings were asked for, a sampling thread gives up after this long, so a
// forgotten record is never written to much later.
constexpr long long kSampleLimitMs = 11000;

// The records a sampling thread still works on. A caller knows a detached thread has ended only
// by the time it waited; a long-lived caller (the AT daemon) that fills its records again for
// the next run could otherwise reset them under a thread still in its last interval, which would
// then go on writing into the new run. So the slots are written and read under one lock, and a
// record in use is stopped and waited for before it is filled again.
struct InUse {
  std::mutex mutex;
  std::condition_variable released;
  std::vector<const HallSampleRecord*> records;  // one entry per thread on the record
};

InUse& Records() {
  static InUse* in_use = new InUse;  // detached threads may still end during static destruction
  return *in_use;
}

void Claim(const HallSampleRecord* rec) {
  std::lock_guard<std::mutex> lock(Records().mutex);
  Records().records.push_back(rec);
}

void Release(const HallSampleRecord* rec) {
  InUse& in_use = Records();
  {
    std::lock_guard<std::mutex> lock(in_use.mutex);
    auto it = std::find(in_use.records.begin(), in_use.records.end(), rec);
    if (it != in_use.records.end()) in_use.records.erase(it);
  }
  in_use.released.notify_all();
}

void FillRecord(HallSampleRecord* rec, int interval_ms, int count, const char* path) {
  InUse& in_use = Records();
  std::unique_lock<std::mutex> lock(in_use.mutex);
  auto used = [&] {
    return std::find(in_use.records.begin(), in_use.records.end(), rec) != in_use.records.end();
  };
  if (used()) {
    // A thread ends at its next look at the flag: within one interval, or at its time limit.
    __atomic_store_n(&rec->stop, 1, __ATOMIC_RELEASE);
    in_use.released.wait(lock, [&] { return !used(); });
  }
  __atomic_store_n(&rec->stop, 0, __ATOMIC_RELAXED);
  rec->count = count;
  rec->interval_ms = interval_ms;
  memset(rec->path, 0, sizeof(rec->path));
  strncpy(rec->path, path, sizeof(rec->path) - 1);
  memset(rec->samples, 0, sizeof(rec->samples));
}

// The body of a sampling thread on a record already claimed for it.
void SampleClaimed(HallSampleRecord* rec) {
  long long start = NowMs();
  ORBA_LOGD(" start!! ");
  int rc = pthread_detach(pthread_self());
  if (rc != 0) ORBA_LOGE("pthread_detach error:%d", rc);
  char path[sizeof(rec->path)] = {};
  int count = 0, interval_ms = 0;
  {
    std::lock_guard<std::mutex> lock(Records().mutex);
    memcpy(path, rec->path, sizeof(path) - 1);
    count = rec->count > HALL_SAMPLE_MAX ? HALL_SAMPLE_MAX : rec->count;
    interval_ms = rec->interval_ms;
    for (int i = 0; i < count; ++i) strcpy(rec->samples[i], "0");
  }
  ORBA_LOGD("sample_interval=%d, sample_num=%d, file_path=%s", interval_ms, count, path);
  for (int i = 0; i < count; ++i) {
    if (__atomic_load_n(&rec->stop, __ATOMIC_ACQUIRE) == 1) {
      ORBA_LOGD("thread off!!");
      break;
    }
    // Whole seconds, as the limit has always been counted.
    if ((NowMs() - start) / 1000 * 1000 >= kSampleLimitMs) {
      ORBA_LOGD("sample data timeOut, return!!");
      break;
    }
    char reading[HALL_SAMPLE_TEXT] = {};
    if (read_policy_file(0, path, reading, sizeof(reading)) != 0) {
      ORBA_LOGE("read %s file error:%s", path, strerror(errno));
    } else {
      std::lock_guard<std::mutex> lock(Records().mutex);
      memcpy(rec->samples[i], reading, sizeof(reading));
    }
    SleepMs(interval_ms);
  }
  ORBA_LOGD("end!!");
  Release(rec);
}

// The two sampling threads start as a pair or not at all: each waits at its start until both
// exist, and when the second cannot be started the first leaves without touching its record, so
// a caller told "failed" never has a thread writing into its records afterwards.
struct PairStart {
  std::mutex mutex;
  std::condition_variable decided;
  int verdict = 0;  // 0 not yet, 1 sample, -1 leave
};

struct PairedSampler {
  std::shared_ptr<PairStart> pair;
  HallSampleRecord* rec;
};

void* PairedSampleThread(void* arg) {
  std::unique_ptr<PairedSampler> self(static_cast<PairedSampler*>(arg));
  bool sample;
  {
    std::unique_lock<std::mutex> lock(self->pair->mutex);
    self->pair->decided.wait(lock, [&] { return self->pair->verdict != 0; });
    sample = self->pair->verdict == 1;
  }
  if (!sample) {
    pthread_detach(pthread_self());
    Release(self->rec);
    return nullptr;
  }
  SampleClaimed(self->rec);
  return nullptr;
}

// Claimed before the thread exists, so a refill that comes before the thread runs waits for it.
bool StartPaired(const std::shared_ptr<PairStart>& pair, HallSampleRecord* rec) {
  auto* sampler = new PairedSampler{pair, rec};
  Claim(rec);
  pthread_t thread;
  if (pthread_create(&thread, nullptr, PairedSampleThread, sampler) != 0) {
    Release(rec);
    delete sampler;
    return false;
  }
  return true;
}

// Appends `text` at *at when it fits before `end` (keeping room for the terminator).
bool Append(char** at, const char* end, const char* text) {
  size_t n = strlen(text);
  if (static_cast<size_t>(end - *at) <= n) return false;
  memcpy(*at, text, n + 1);
  *at += n;
  return true;
}

}  // namespace

extern "C" ORBA_EXPORT int ready_to_sample_camera_pop_hall(int interval_ms, int sample_count,
                                                           HallSampleRecord* up, int /*ignored*/,
                                                           HallSampleRecord* down) {
  if (get_camera_motor_type() != 1) return 1;
  int ret1 = WriteNode(kUpHallEnable, "1");
  int ret2 = WriteNode(kDownHallEnable, "1");
  if (ret1 != 0 || ret2 != 0) {
    ORBA_LOGE("write_policy_file error: ret1=%d, ret2=%d, error: %s", ret1, ret2,
              strerror(-(ret1 != 0 ? ret1 : ret2)));
    return 0;
  }
  if (up == nullptr || down == nullptr) return 0;
  // A record holds at most HALL_SAMPLE_MAX readings; a larger count is held to that.
  int count = sample_count > HALL_SAMPLE_MAX ? HALL_SAMPLE_MAX : sample_count;
  FillRecord(up, interval_ms, count, kUpHallData);
  FillRecord(down, interval_ms, count, kDownHallData);
  return 1;
}

extern "C" ORBA_EXPORT int create_hall_sample_thread(int /*interval_ms*/, int /*sample_count*/,
                                                     HallSampleRecord* up, int /*ignored*/,
                                                     HallSampleRecord* down) {
  if (get_camera_motor_type() == 1 && up != nullptr && down != nullptr) {
    auto pair = std::make_shared<PairStart>();
    bool ok = StartPaired(pair, up) && StartPaired(pair, down);
    {
      std::lock_guard<std::mutex> lock(pair->mutex);
      pair->verdict = ok ? 1 : -1;
    }
    pair->decided.notify_all();
    if (ok) return 1;
  }
  ORBA_LOGE("thread created error!!");
  return 0;
}

extern "C" ORBA_EXPORT void* sample_data_thread(HallSampleRecord* rec) {
  Claim(rec);
  SampleClaimed(rec);
  return nullptr;
}

extern "C" ORBA_EXPORT int combine_hall_sample_resp(char* out, int count, HallSampleRecord* up,
                                                    int /*ignored*/, HallSampleRecord* down) {
  int motor_type = get_camera_motor_type();
  if (motor_type != 1 || out == nullptr || up == nullptr || down == nullptr) {
    if (out != nullptr) out[0] = '\0';
    return motor_type;
  }
  if (count > HALL_SAMPLE_MAX) count = HALL_SAMPLE_MAX;
  // The caller sizes `out` for the readings; this bound only keeps a bad count from running off.
  const size_t room = 2 * HALL_SAMPLE_TEXT * static_cast<size_t>(count > 0 ? count : 0) + 40;
  char* at = out;
  const char* end = out + room;
  *at = '\0';
  const HallSampleRecord* recs[2] = {up, down};
  const char* prefixes[2] = {"+hall_up_array:\"", "\r\n+hall_down_array:\""};
  for (int r = 0; r < 2; ++r) {
    Append(&at, end, prefixes[r]);
    for (int i = 0; i < count; ++i) {
      if (i > 0) Append(&at, end, ",");
      char slot[HALL_SAMPLE_TEXT + 1] = {};
      {
        std::lock_guard<std::mutex> lock(Records().mutex);
        memcpy(slot, recs[r]->samples[i], HALL_SAMPLE_TEXT);
      }
      Append(&at, end, slot);
    }
    Append(&at, end, "\"");
  }
  return static_cast<int>(at - out);
}
