// Closed-loop figures of the camera steps on a simulated rotary device:
//
//   BM_RotateToRandomAngle   rotate_to_appointted_angles to random targets; counters: how many
//                            ended within the requested precision of the model's true angle,
//                            the worst error, passes (re-measure and re-command rounds)
//   BM_PopBlockedTimeError   the blocked time the library measures against the model's true
//                            travel (command to end stop), over pops and retracts
//   BM_IdleDeviceCpu         CPU the device's services use while nothing moves, % of one core
//
// Each builds a fresh device in a temporary root with build/bin/orbafactory-sim.

#include <android/log.h>
#include <benchmark/benchmark.h>

#include <ftw.h>
#include <limits.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <orbafactory/camera.h>
#include <platform/host/device_root.h>
#include <platform/spawn.h>

namespace {

std::string BinDir() {
  char self[PATH_MAX] = {};
  ssize_t n = readlink("/proc/self/exe", self, sizeof(self) - 1);
  std::string path(self, n > 0 ? static_cast<size_t>(n) : 0);
  return path.substr(0, path.rfind('/'));
}

int RunSim(const std::vector<std::string>& args) {
  std::vector<std::string> argv = {"orbafactory-sim"};
  argv.insert(argv.end(), args.begin(), args.end());
  orba::platform::ChildOptions quiet;
  quiet.stdout_fd = orba::platform::kNullDevice;
  pid_t pid = orba::platform::StartChild((BinDir() + "/orbafactory-sim").c_str(), argv, quiet);
  int status = pid > 0 ? orba::platform::WaitChild(pid) : -1;
  return status >= 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int RemoveEntry(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }

// A running simulated device for one benchmark, torn down with it.
class Device {
 public:
  explicit Device(const char* profile, std::vector<std::pair<std::string, std::string>> knobs = {}) {
    const char* tmp = getenv("TMPDIR");
    std::string templ = std::string(tmp != nullptr && *tmp != '\0' ? tmp : "/tmp") +
                        "/orba-camera-bench-XXXXXX";
    root_ = mkdtemp(templ.data());
    rmdir(root_.c_str());
    ok_ = RunSim({"init", "--root", root_, "--profile", profile}) == 0;
    for (const auto& k : knobs) ok_ = ok_ && RunSim({"setprop", "--root", root_, k.first, k.second}) == 0;
    ok_ = ok_ && RunSim({"start", "--root", root_}) == 0;
    setenv(ORBA_DEVICE_ROOT_ENV, root_.c_str(), 1);
    orba_device_root_reset();
    // Log lines would swamp the figures.
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
  }
  ~Device() {
    RunSim({"stop", "--root", root_});
    nftw(root_.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
  }
  bool ok() const { return ok_; }
  void Write(const std::string& device_path, const std::string& text) const {
    std::ofstream(root_ + device_path) << text;
  }
  std::string Read(const std::string& device_path) const {
    std::ifstream in(root_ + device_path);
    std::stringstream ss;
    ss << in.rdbuf();
    return ss.str();
  }

 private:
  std::string root_;
  bool ok_ = false;
};

int StoreCali(const char* text) {
  std::string msg = std::string("set_ratary_camera_cali_data ") + text;
  return set_ratary_camera_cali_data(&msg[0]);
}

double AngleDistance(double a, double b) {
  double d = fabs(a - b);
  return d > 180 ? 360 - d : d;
}

// Argument: the motor's step period (50: the rotary profile's 170 degrees a second).
void BM_RotateToRandomAngle(benchmark::State& state) {
  Device device("rotary");  // stop at 300 degrees
  if (!device.ok() || StoreCali("set_unreached_angle 300") != 1) {
    state.SkipWithError("no simulated device");
    return;
  }
  device.Write("/sys/class/timed_output/motor5/period", std::to_string(state.range(0)));
  const double precision = 0.3;  // the rotary profile's anglePrecision
  std::mt19937 rng(20261123);
  // Targets off the stop, and off 0/360, where a plain mean of readings on both sides of the
  // wrap is meaningless (as the library has always computed it).
  std::uniform_real_distribution<double> pick(3.0, 357.0);
  long within = 0, count = 0;
  double worst = 0, total_ms = 0;
  for (auto _ : state) {
    double target;
    do target = pick(rng); while (AngleDistance(target, 300) < 3);
    int ms = rotate_to_appointted_angles(2, 8000, target, precision);
    double truth = atof(device.Read("/data/sim/rotary_angle").c_str());
    double error = AngleDistance(truth, target);
    ++count;
    within += ms >= 0 && error <= precision ? 1 : 0;
    worst = std::max(worst, error);
    total_ms += ms;
    state.SetIterationTime(ms / 1000.0);
  }
  state.counters["within_precision"] = static_cast<double>(within);
  state.counters["targets"] = static_cast<double>(count);
  state.counters["worst_error_deg"] = worst;
  state.counters["mean_ms"] = count > 0 ? total_ms / count : 0;
  state.counters["degrees_per_s"] = 1.8e7 / (static_cast<double>(state.range(0)) * 2112);
}
BENCHMARK(BM_RotateToRandomAngle)
    ->Arg(50)
    ->Arg(100)
    ->Iterations(100)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

// The module's true travel of the last move: from the command to its meeting the end stop, as
// the model logged them.
long long TrueTravelMs(const std::string& log) {
  long long command = -1, stop = -1;
  std::istringstream in(log);
  std::string line;
  while (std::getline(in, line)) {
    long long t = atoll(line.c_str());
    if (line.find(" motor ") != std::string::npos && line.find(" motor 0") == std::string::npos) {
      command = t;
      stop = -1;
    }
    if (line.find(" pop stop ") != std::string::npos) stop = t;
  }
  return command >= 0 && stop >= 0 ? stop - command : -1;
}

void BM_PopBlockedTimeError(benchmark::State& state) {
  Device device("rotary");
  if (!device.ok()) {
    state.SkipWithError("no simulated device");
    return;
  }
  double sum_abs = 0, worst = 0, sum = 0;
  long runs = 0;
  bool out = true;
  for (auto _ : state) {
    char msg[64];
    snprintf(msg, sizeof(msg), out ? "pop_all 1500 30 2000" : "retract_all 67036 30 2000");
    int measured = atoi(pop_up_camera_by_engineer_interface(msg));
    long long truth = TrueTravelMs(device.Read("/data/sim/motor_log"));
    double error = static_cast<double>(measured - truth);
    sum += error;
    sum_abs += fabs(error);
    worst = std::max(worst, fabs(error));
    ++runs;
    out = !out;
    state.SetIterationTime(measured / 1000.0);
  }
  state.counters["mean_error_ms"] = runs > 0 ? sum / runs : 0;
  state.counters["mean_abs_error_ms"] = runs > 0 ? sum_abs / runs : 0;
  state.counters["worst_error_ms"] = worst;
}
BENCHMARK(BM_PopBlockedTimeError)->Iterations(20)->UseManualTime()->Unit(benchmark::kMillisecond);

// utime + stime of a process, in clock ticks.
long long CpuTicks(pid_t pid) {
  std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
  std::string stat((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  size_t paren = stat.rfind(')');
  if (paren == std::string::npos) return 0;
  std::istringstream fields(stat.substr(paren + 2));
  std::string f;
  long long utime = 0, stime = 0;
  for (int i = 3; fields >> f; ++i) {
    if (i == 14) utime = atoll(f.c_str());
    if (i == 15) {
      stime = atoll(f.c_str());
      break;
    }
  }
  return utime + stime;
}

void BM_IdleDeviceCpu(benchmark::State& state) {
  Device device("rotary");
  if (!device.ok()) {
    state.SkipWithError("no simulated device");
    return;
  }
  std::vector<pid_t> pids;
  for (const char* s : {"orba-hw-models", "orbaatcmd-hal-1-0", "orbaem-hal-1-0"}) {
    pids.push_back(atoi(device.Read(std::string("/data/sim/run/") + s + ".pid").c_str()));
  }
  const double seconds = 10;
  double models_pct = 0, device_pct = 0;
  for (auto _ : state) {
    std::vector<long long> before;
    for (pid_t p : pids) before.push_back(CpuTicks(p));
    usleep(static_cast<useconds_t>(seconds * 1e6));
    long long all = 0;
    for (size_t i = 0; i < pids.size(); ++i) {
      long long used = CpuTicks(pids[i]) - before[i];
      all += used;
      if (i == 0) models_pct = 100.0 * used / sysconf(_SC_CLK_TCK) / seconds;
    }
    device_pct = 100.0 * all / sysconf(_SC_CLK_TCK) / seconds;
  }
  state.counters["models_cpu_pct"] = models_pct;
  state.counters["device_cpu_pct"] = device_pct;
}
BENCHMARK(BM_IdleDeviceCpu)->Iterations(1)->Unit(benchmark::kSecond);

}  // namespace

BENCHMARK_MAIN();
