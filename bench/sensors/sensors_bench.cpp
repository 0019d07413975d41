// The library's own cost around the vendor libraries and kernel nodes:
//  - a one-shot laser reading against the TMF8801 double, less the double's delay before its
//    first callback (sim.laser.period_ms): thread start, semaphores, init and deinit calls;
//    median and worst of 100 readings are reported as counters;
//  - the thermistor response over INI files of 25 to 200 thermistors, which should grow
//    linearly with their number.

#include <benchmark/benchmark.h>
#include <ftw.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <vector>

#include <orbafactory/devices.h>
#include <orbafactory/sensors.h>
#include <platform/host/device_init.h>
#include <platform/host/device_root.h>

namespace {

constexpr int kPeriodMs = 20;

int RemoveEntry(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }

// Plain storage: the exit handler runs after static strings are gone.
char g_root_path[64] = "/tmp/orba-bench-sensors-XXXXXX";

// One device root for the whole run, with its property area; removed at exit.
const std::string& Root() {
  static const std::string root = [] {
    std::string r = mkdtemp(g_root_path);
    atexit([] { nftw(g_root_path, RemoveEntry, 16, FTW_DEPTH | FTW_PHYS); });
    setenv(ORBA_DEVICE_ROOT_ENV, r.c_str(), 1);
    orba_device_root_reset();
    orba_init_property_area();
    mkdir((r + "/data").c_str(), 0755);
    mkdir((r + "/data/sim").c_str(), 0755);
    return r;
  }();
  return root;
}

double NowMs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec * 1e3 + ts.tv_nsec / 1e6;
}

void BM_LaserOneShotOverhead(benchmark::State& state) {
  Root();
  orba_init_property_set("sim.laser.words", "0x002A0150");
  orba_init_property_set("sim.laser.period_ms", std::to_string(kPeriodMs).c_str());
  std::vector<double> overhead;
  for (auto _ : state) {
    char distance[16] = {};
    char confidence[16] = {};
    double start = NowMs();
    int ret = get_laser_data_TMF8801_sync(distance, confidence);
    double elapsed = NowMs() - start;
    if (ret != 1) {
      state.SkipWithError("no measurement from the double");
      break;
    }
    overhead.push_back(elapsed - kPeriodMs);
    state.SetIterationTime((elapsed - kPeriodMs) / 1e3);
  }
  if (overhead.empty()) return;
  std::sort(overhead.begin(), overhead.end());
  state.counters["median_ms"] = overhead[overhead.size() / 2];
  state.counters["worst_ms"] = overhead.back();
}
BENCHMARK(BM_LaserOneShotOverhead)->Iterations(100)->UseManualTime()->Unit(benchmark::kMillisecond);

void WriteNtcIni(int thermistors) {
  const std::string& root = Root();
  mkdir((root + "/vendor").c_str(), 0755);
  mkdir((root + "/vendor/etc").c_str(), 0755);
  mkdir((root + "/sys").c_str(), 0755);
  std::ofstream ini(root + "/vendor/etc/ntc.ini");
  ini << "[type_i]\n";
  for (int i = 0; i < thermistors; ++i) {
    std::string node = "/sys/ntc" + std::to_string(i);
    std::ofstream(root + node) << (20000 + 37 * i) << "\n";
    ini << "ntc" << i << " = " << node << "%1000\n";
  }
}

void BM_NtcResponse(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  WriteNtcIni(n);
  std::vector<char> out(64 * static_cast<size_t>(n) + 1);
  for (auto _ : state) {
    std::fill(out.begin(), out.end(), '\0');
    if (get_ntc_temperature_ini(out.data(), static_cast<int>(out.size()) - 1, 1) != 1) {
      state.SkipWithError("response not built");
      break;
    }
    benchmark::DoNotOptimize(out.data());
  }
  state.SetComplexityN(n);
}
BENCHMARK(BM_NtcResponse)->Arg(25)->Arg(50)->Arg(100)->Arg(200)->Complexity(benchmark::oN)
    ->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
