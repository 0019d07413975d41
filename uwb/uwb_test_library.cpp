// The UWB factory test library is the vendor's and is loaded only when a UWB test runs, so a
// phone without the library (or with an older one) still loads this library. Every entry point
// is looked up at the moment of the call, never cached: a library reloaded between tests is
// always called at its current address.

#include <dlfcn.h>
#include <string.h>

#include <mutex>

#include <orbafactory/uwb.h>
#include <platform/devpath.h>
#include <platform/log.h>

static_assert(sizeof(per_rx_ntf_data) == UWB_PER_RX_NTF_SIZE, "the library's notification record");

namespace {

constexpr const char* kTestLibrary = "/vendor/lib64/libuwb_factory_smt.so";

void* g_handle = nullptr;
// The notification arrives on the test library's thread. Callers only read the record after the
// test, but the copy in and the copy out must not tear, so the three touches share one lock.
std::mutex g_ntf_mutex;

// The function of the same name in the test library, or null (logged) when unreachable.
template <typename Fn>
Fn Resolve(const char* name) {
  if (g_handle == nullptr) {
    ORBA_LOGE("uwb library handle not init.");
    return nullptr;
  }
  void* sym = dlsym(g_handle, name);
  if (sym == nullptr) {
    ORBA_LOGE("get function sym fail.");
    return nullptr;
  }
  return reinterpret_cast<Fn>(sym);
}

template <typename... Args>
int Forward(const char* name, Args... args) {
  auto fn = Resolve<int (*)(Args...)>(name);
  return fn != nullptr ? fn(args...) : -1;
}

}  // namespace

extern "C" {

per_rx_ntf_data g_per_rx_ntf_data;

int init_uwb_handle(void) {
  if (g_handle != nullptr) {
    ORBA_LOGE("uwb_api_handler already init");
    return 0;
  }
  DevPath path(kTestLibrary);
  g_handle = dlopen(path, RTLD_LAZY);
  if (g_handle == nullptr) {
    ORBA_LOGE("dlopen error: %s\n", dlerror());
    return -1;
  }
  return 0;
}

int close_uwb_handle(void) {
  // The phone's loader refuses a null handle with an error; glibc's would crash on it, so the
  // never-opened case answers as the phone does.
  int ret = g_handle != nullptr ? dlclose(g_handle) : -1;
  if (ret == 0) {
    g_handle = nullptr;
  } else {
    ORBA_LOGE("close uwb handle fail.");
  }
  return ret;
}

int orba_uwb_hal_callback(const per_rx_ntf_data* data) {
  ORBA_LOGE("get rx data.!");
  if (data == nullptr) {
    ORBA_LOGE("rx data is null.");
    return -1;
  }
  std::lock_guard<std::mutex> lock(g_ntf_mutex);
  memcpy(&g_per_rx_ntf_data, data, sizeof(g_per_rx_ntf_data));
  return 0;
}

int orba_uci_hal_init(void) {
  return Forward<int (*)(const per_rx_ntf_data*)>("orba_uci_hal_init", orba_uwb_hal_callback);
}

int orba_uci_hal_deinit(void) { return Forward("orba_uci_hal_deinit"); }

int orba_uci_hal_set_rframe_config(uint8_t rframe_config) {
  return Forward("orba_uci_hal_set_rframe_config", rframe_config);
}

int orba_uci_hal_set_channel_num(uint8_t channel) {
  return Forward("orba_uci_hal_set_channel_num", channel);
}

int orba_uci_hal_set_rx_antenna_pair(uint8_t pair) {
  return Forward("orba_uci_hal_set_rx_antenna_pair", pair);
}

int orba_uci_hal_set_tx_antenna_pair(uint8_t pair) {
  return Forward("orba_uci_hal_set_tx_antenna_pair", pair);
}

int orba_uci_hal_set_tx_adaptive_payload_power(uint8_t power) {
  return Forward("orba_uci_hal_set_tx_adaptive_payload_power", power);
}

int orba_uci_hal_set_number_of_sts_segments(uint8_t segments) {
  return Forward("orba_uci_hal_set_number_of_sts_segments", segments);
}

int orba_uci_hal_set_calibration_value(uint8_t a, uint8_t b, uint64_t value, uint8_t c) {
  return Forward("orba_uci_hal_set_calibration_value", a, b, value, c);
}

int orba_uci_hal_start_rx_test(void) {
  auto fn = Resolve<int (*)(void)>("orba_uci_hal_start_rx_test");
  if (fn == nullptr) return -1;
  {
    std::lock_guard<std::mutex> lock(g_ntf_mutex);
    memset(&g_per_rx_ntf_data, 0, sizeof(g_per_rx_ntf_data));
  }
  return fn();
}

int orba_uci_hal_stop_rx_test(per_rx_ntf_data* out) {
  if (g_handle == nullptr) {
    ORBA_LOGE("uwb library handle not init.");
    return -1;
  }
  if (out == nullptr) {
    ORBA_LOGE("rx result buffer is null.");
    return -1;
  }
  auto fn = Resolve<int (*)(per_rx_ntf_data*)>("orba_uci_hal_stop_rx_test");
  if (fn == nullptr) return -1;
  // What arrived while the test ran is the result; anything delivered during the stop is not.
  {
    std::lock_guard<std::mutex> lock(g_ntf_mutex);
    memcpy(out, &g_per_rx_ntf_data, sizeof(*out));
  }
  return fn(out);
}

int orba_uci_hal_start_tx_test(void) { return Forward("orba_uci_hal_start_tx_test"); }
int orba_uci_hal_stop_tx_test(void) { return Forward("orba_uci_hal_stop_tx_test"); }
int orba_uci_hal_connectiviy_test(void) { return Forward("orba_uci_hal_connectiviy_test"); }

int orba_uci_hal_set_rx_test_default_param(void) {
  return Forward("orba_uci_hal_set_rx_test_default_param");
}

int orba_uci_hal_set_tx_test_default_param(void) {
  return Forward("orba_uci_hal_set_tx_test_default_param");
}

}  // extern "C"
