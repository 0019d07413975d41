// libsensor_laser_8801.so on a host: the TMF8801 vendor library's calls, answered from sim.laser.*
// knobs. After init a thread of the library's own delivers the words of sim.laser.words through
// the caller's callback, one every sim.laser.period_ms, repeating the last until deinit, as the
// chip's interrupt thread does. Each object has its own delivery, so a one-shot reading and an
// open sensor can run side by side.

#include <stdlib.h>
#include <string.h>

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <android-base/strings.h>

#include "../../sensors/sensor_laser_8801.h"
#include "double_knobs.h"

namespace {

using orba::sim::AppendCall;
using orba::sim::KnobInt;

constexpr const char* kCallLog = "/data/sim/laser_calls";

struct Delivery {
  std::mutex mutex;
  std::condition_variable wake;
  bool stop = false;
  std::thread thread;
};

std::mutex g_sessions_mutex;
std::map<void*, std::unique_ptr<Delivery>> g_sessions;

std::vector<unsigned> Words() {
  std::vector<unsigned> words;
  for (const std::string& item : android::base::Split(orba::sim::KnobString("sim.laser.words"), ",")) {
    std::string text = android::base::Trim(item);
    if (text.empty()) continue;
    words.push_back(static_cast<unsigned>(strtoul(text.c_str(), nullptr, 0)));
  }
  return words;
}

void Deliver(Delivery* d, std::vector<unsigned> words, long period_ms,
             sensor_laser_8801_callback callback) {
  size_t next = 0;
  std::unique_lock<std::mutex> lock(d->mutex);
  while (!d->wake.wait_for(lock, std::chrono::milliseconds(period_ms), [d] { return d->stop; })) {
    unsigned word = words[next];
    if (next + 1 < words.size()) ++next;
    lock.unlock();
    callback(word);
    lock.lock();
  }
}

void StopDelivery(void* object) {
  std::unique_ptr<Delivery> d;
  {
    std::lock_guard<std::mutex> lock(g_sessions_mutex);
    auto it = g_sessions.find(object);
    if (it == g_sessions.end()) return;
    d = std::move(it->second);
    g_sessions.erase(it);
  }
  {
    std::lock_guard<std::mutex> lock(d->mutex);
    d->stop = true;
  }
  d->wake.notify_all();
  if (d->thread.joinable()) d->thread.join();
}

// Threads still delivering when the library is unloaded would run unmapped code.
__attribute__((destructor)) void StopAll() {
  std::vector<void*> objects;
  {
    std::lock_guard<std::mutex> lock(g_sessions_mutex);
    for (auto& entry : g_sessions) objects.push_back(entry.first);
  }
  for (void* object : objects) StopDelivery(object);
}

int Knob(const char* name, const char* call) {
  AppendCall(kCallLog, call);
  return static_cast<int>(KnobInt(name));
}

}  // namespace

extern "C" {

__attribute__((visibility("default"))) int sensor_laser_8801_init(
    void* object, sensor_laser_8801_callback callback) {
  int ret = Knob("sim.laser.init_ret", "sensor_laser_8801_init");
  if (ret != 0 || object == nullptr || callback == nullptr) return ret != 0 ? ret : -1;
  StopDelivery(object);  // a second init of the same object restarts its measurements
  std::vector<unsigned> words = Words();
  if (words.empty()) return 0;
  long period = KnobInt("sim.laser.period_ms");
  if (period < 1) period = 1;
  auto d = std::make_unique<Delivery>();
  Delivery* raw = d.get();
  std::lock_guard<std::mutex> lock(g_sessions_mutex);
  raw->thread = std::thread(Deliver, raw, std::move(words), period, callback);
  g_sessions[object] = std::move(d);
  return 0;
}

__attribute__((visibility("default"))) int sensor_laser_8801_deinit(void* object) {
  int ret = Knob("sim.laser.deinit_ret", "sensor_laser_8801_deinit");
  StopDelivery(object);
  return ret;
}

__attribute__((visibility("default"))) int sensor_laser_8801_clk_trim_enable(void* /*object*/) {
  return Knob("sim.laser.trim_enable_ret", "sensor_laser_8801_clk_trim_enable");
}

__attribute__((visibility("default"))) int sensor_laser_8801_clk_trim_result(void* /*object*/) {
  return Knob("sim.laser.trim_result", "sensor_laser_8801_clk_trim_result");
}

__attribute__((visibility("default"))) int sensor_laser_8801_crosstalk_calibration(void) {
  return Knob("sim.laser.xtalk_ret", "sensor_laser_8801_crosstalk_calibration");
}

__attribute__((visibility("default"))) int sensor_laser_8801_get_calibration_result(int* photon_num,
                                                                                   int* bin) {
  int ret = Knob("sim.laser.result_ret", "sensor_laser_8801_get_calibration_result");
  if (ret == 0) {
    if (photon_num != nullptr) *photon_num = static_cast<int>(KnobInt("sim.laser.photon"));
    if (bin != nullptr) *bin = static_cast<int>(KnobInt("sim.laser.bin"));
  }
  return ret;
}

__attribute__((visibility("default"))) int sensor_laser_8801_firmware_download(void) {
  return Knob("sim.laser.fw_ret", "sensor_laser_8801_firmware_download");
}

}  // extern "C"
