// libuwb_factory_smt.so on a host: the UWB factory test library's orba_uci_hal_* calls, each
// answering sim.uwb.<function>.ret (default 0) and logged with its arguments. A receive test
// delivers sim.uwb.rx_ntf (72 hex digits, the 36-byte notification) through the callback
// registered at init, from a thread of the library's own, sim.uwb.rx_ntf_delay_ms after it
// starts, as the controller's notification thread does.

#include <stdint.h>
#include <stdio.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include <android-base/stringprintf.h>

#include "double_knobs.h"

namespace {

using android::base::StringPrintf;

constexpr const char* kCallLog = "/data/sim/uwb_calls";
constexpr size_t kNtfSize = 36;

typedef int (*NtfCallback)(const void* ntf);

std::mutex g_mutex;
std::condition_variable g_wake;
NtfCallback g_callback = nullptr;
std::thread g_notifier;
bool g_cancel = false;

int Answer(const char* function, const std::string& args) {
  orba::sim::AppendCall(kCallLog, args.empty() ? function : std::string(function) + " " + args);
  std::string knob = StringPrintf("sim.uwb.%s.ret", function);
  return static_cast<int>(orba::sim::KnobInt(knob.c_str()));
}

bool DecodeNtf(const std::string& hex, unsigned char (&out)[kNtfSize]) {
  if (hex.size() != kNtfSize * 2) return false;
  for (size_t i = 0; i < kNtfSize; ++i) {
    unsigned byte = 0;
    if (sscanf(hex.c_str() + 2 * i, "%2x", &byte) != 1) return false;
    out[i] = static_cast<unsigned char>(byte);
  }
  return true;
}

void StopNotifier() {
  {
    std::lock_guard<std::mutex> lock(g_mutex);
    g_cancel = true;
  }
  g_wake.notify_all();
  if (g_notifier.joinable()) g_notifier.join();
  std::lock_guard<std::mutex> lock(g_mutex);
  g_cancel = false;
}

void StartNotifier() {
  StopNotifier();
  unsigned char ntf[kNtfSize] = {};
  if (!DecodeNtf(orba::sim::KnobString("sim.uwb.rx_ntf"), ntf)) return;
  long delay = orba::sim::KnobInt("sim.uwb.rx_ntf_delay_ms");
  g_notifier = std::thread([delay, ntf_copy = std::string(reinterpret_cast<char*>(ntf), kNtfSize)] {
    std::unique_lock<std::mutex> lock(g_mutex);
    if (g_wake.wait_for(lock, std::chrono::milliseconds(delay), [] { return g_cancel; })) return;
    NtfCallback callback = g_callback;
    lock.unlock();
    if (callback != nullptr) callback(ntf_copy.data());
  });
}

// The notification thread must be gone before the library's code is unmapped.
__attribute__((destructor)) void Unload() { StopNotifier(); }

}  // namespace

#define UWB_EXPORT extern "C" __attribute__((visibility("default")))

UWB_EXPORT int orba_uci_hal_init(NtfCallback callback) {
  int ret = Answer("orba_uci_hal_init", callback != nullptr ? "callback" : "null");
  std::lock_guard<std::mutex> lock(g_mutex);
  g_callback = callback;
  return ret;
}

UWB_EXPORT int orba_uci_hal_deinit(void) {
  StopNotifier();
  std::lock_guard<std::mutex> lock(g_mutex);
  g_callback = nullptr;
  return Answer("orba_uci_hal_deinit", "");
}

#define UWB_SETTER(name)                                                  \
  UWB_EXPORT int name(uint8_t value) {                                    \
    return Answer(#name, std::to_string(static_cast<unsigned>(value)));  \
  }

UWB_SETTER(orba_uci_hal_set_rframe_config)
UWB_SETTER(orba_uci_hal_set_channel_num)
UWB_SETTER(orba_uci_hal_set_rx_antenna_pair)
UWB_SETTER(orba_uci_hal_set_tx_antenna_pair)
UWB_SETTER(orba_uci_hal_set_tx_adaptive_payload_power)
UWB_SETTER(orba_uci_hal_set_number_of_sts_segments)

UWB_EXPORT int orba_uci_hal_set_calibration_value(uint8_t a, uint8_t b, uint64_t value,
                                                  uint8_t c) {
  return Answer("orba_uci_hal_set_calibration_value",
                StringPrintf("%u %u 0x%llx %u", a, b, static_cast<unsigned long long>(value), c));
}

UWB_EXPORT int orba_uci_hal_start_rx_test(void) {
  int ret = Answer("orba_uci_hal_start_rx_test", "");
  if (ret == 0) StartNotifier();
  return ret;
}

UWB_EXPORT int orba_uci_hal_stop_rx_test(void* out) {
  int ret = Answer("orba_uci_hal_stop_rx_test", out != nullptr ? "record" : "null");
  StopNotifier();
  return ret;
}

#define UWB_CALL(name) \
  UWB_EXPORT int name(void) { return Answer(#name, ""); }

UWB_CALL(orba_uci_hal_start_tx_test)
UWB_CALL(orba_uci_hal_stop_tx_test)
UWB_CALL(orba_uci_hal_connectiviy_test)
UWB_CALL(orba_uci_hal_set_rx_test_default_param)
UWB_CALL(orba_uci_hal_set_tx_test_default_param)
