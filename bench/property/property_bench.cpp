// Property area costs: a lookup-and-read of an existing property (bionic on a phone: ~100 ns),
// and a cross-process wake-up after a set, measured as a ping-pong between two processes (two
// wake-ups per iteration).

#include <benchmark/benchmark.h>
#include <cutils/properties.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/system_properties.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include <platform/host/device_init.h>
#include <platform/host/device_root.h>

namespace {

class BenchDevice {
 public:
  BenchDevice() {
    char templ[] = "/tmp/orba-bench-XXXXXX";
    root_ = mkdtemp(templ);
    setenv(ORBA_DEVICE_ROOT_ENV, root_.c_str(), 1);
    orba_device_root_reset();
    orba_init_property_area();
    for (int i = 0; i < 1000; ++i) {
      std::string name = "bench.filler." + std::to_string(i);
      orba_init_property_set(name.c_str(), "x");
    }
    orba_init_property_set("ro.product.model", "ORBA-SIM-1");
  }
  ~BenchDevice() {
    std::string cmd = "rm -rf '" + root_ + "'";
    if (system(cmd.c_str()) != 0) fprintf(stderr, "could not remove %s\n", root_.c_str());
  }

 private:
  std::string root_;
};

BenchDevice& Device() {
  static BenchDevice device;
  return device;
}

void BM_SystemPropertyGet(benchmark::State& state) {
  Device();
  char value[PROP_VALUE_MAX];
  for (auto _ : state) {
    benchmark::DoNotOptimize(__system_property_get("ro.product.model", value));
    benchmark::ClobberMemory();
  }
}
BENCHMARK(BM_SystemPropertyGet);

void BM_PropertyGetMissing(benchmark::State& state) {
  Device();
  char value[PROP_VALUE_MAX];
  for (auto _ : state) benchmark::DoNotOptimize(property_get("no.such.property", value, "d"));
}
BENCHMARK(BM_PropertyGetMissing);

uint32_t WaitForChange(const prop_info* pi, uint32_t serial) {
  uint32_t next = serial;
  __system_property_wait(pi, serial, &next, nullptr);
  return next;
}

// One iteration: this process sets bench.ping; the peer, asleep in __system_property_wait,
// wakes and sets bench.pong; this process wakes. Half of it is one cross-process wake-up.
void BM_CrossProcessPingPong(benchmark::State& state) {
  Device();
  orba_init_property_set("bench.ping", "0");
  orba_init_property_set("bench.pong", "0");
  const prop_info* ping = __system_property_find("bench.ping");
  const prop_info* pong = __system_property_find("bench.pong");
  uint32_t ping_serial = __system_property_serial(ping);
  pid_t peer = fork();
  if (peer == 0) {
    uint32_t seen = ping_serial;
    for (;;) {
      seen = WaitForChange(ping, seen);
      __system_property_set("bench.pong", "1");
    }
  }
  uint32_t pong_serial = __system_property_serial(pong);
  for (auto _ : state) {
    __system_property_set("bench.ping", "1");
    pong_serial = WaitForChange(pong, pong_serial);
  }
  kill(peer, SIGKILL);
  waitpid(peer, nullptr, 0);
}
BENCHMARK(BM_CrossProcessPingPong)->Repetitions(5)->ReportAggregatesOnly(true)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
