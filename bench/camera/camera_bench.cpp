// Closed-loop figures of the camera steps on a simulated rotary device:
//
//   BM_RotateToRandomAngle   rotate_to_appointted_angles to random targets, at a step period and
//                            with or without a CPU hog on every core beside it; counters: how
//                            many ended within the requested precision of the model's true
//                            angle, the worst error, and per turn (median, 99th percentile,
//                            worst): stop_to_halt (the library's stop write to the model's
//                            halt), model_late (the store to the model taking it), reading_age
//                            (the oldest of the readings the library stopped on, at its read:
//                            now less its newest measurement), read_to_stop (the library's
//                            first read of its last pass to its stop write) and node_age (the
//                            oldest a reading grew on the node before the model replaced it,
//                            over the turn's last readings while the module moved). Misses go to
//                            stderr with the readings the library stopped on and where the
//                            module was.
//   BM_PopBlockedTimeError   the blocked time the library measures against the model's true
//                            travel (command to end stop), over pops and retracts
//   BM_IdleDeviceCpu         CPU the device's services use while nothing moves, % of one core
//
// Each builds a fresh device in a temporary root with build/bin/orbafactory-sim: put TMPDIR in
// memory (/dev/shm), and say what else the machine ran (load_1min_before: its load average as
// the turns began).

#include <android/log.h>
#include <benchmark/benchmark.h>

#include <dlfcn.h>
#include <ftw.h>
#include <limits.h>
#include <math.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <android-base/unique_fd.h>
#include <orbafactory/camera.h>
#include <platform/host/device_root.h>
#include <platform/spawn.h>

namespace {

long long WallUs() {
  timeval tv{};
  gettimeofday(&tv, nullptr);
  return static_cast<long long>(tv.tv_sec) * 1000000 + tv.tv_usec;
}

// When the library last stored a stop ("0") to the rotary motor's node, in wall microseconds:
// its writes go through write() below. The store is made between the two; a process the host
// preempts on its way back from the call learns of it late, so the start is the time of the store
// when the two are close.
std::atomic<long long> g_stop_write_from_us{0};
std::atomic<long long> g_stop_write_to_us{0};
std::atomic<size_t> g_stop_writes{0};

bool IsRotaryMotorNode(int fd) {
  char link[64], path[PATH_MAX] = {};
  snprintf(link, sizeof(link), "/proc/self/fd/%d", fd);
  ssize_t n = readlink(link, path, sizeof(path) - 1);
  static const char kNode[] = "/sys/class/timed_output/motor5/enable";
  return n >= static_cast<ssize_t>(sizeof(kNode) - 1) &&
         strcmp(path + n - (sizeof(kNode) - 1), kNode) == 0;
}

}  // namespace

// The library's write of a stop, timed as it returns: the store is done by then.
extern "C" __attribute__((visibility("default"))) ssize_t write(int fd, const void* buf,
                                                              size_t n) {
  using WriteFn = ssize_t (*)(int, const void*, size_t);
  static WriteFn real = reinterpret_cast<WriteFn>(dlsym(RTLD_NEXT, "write"));
  const bool stop = n == 1 && static_cast<const char*>(buf)[0] == '0' && IsRotaryMotorNode(fd);
  const long long from = stop ? WallUs() : 0;
  ssize_t ret = real(fd, buf, n);
  if (stop && ret == 1) {
    ++g_stop_writes;
    g_stop_write_to_us = WallUs();
    g_stop_write_from_us = from;
  }
  return ret;
}

namespace {

// The library's last few reads of the magnetometer node: when it took the reading (wall
// microseconds, as it resolved the path to the file inside the device root: from then on it
// holds that file, and each reading is a file of its own, renamed into place) and which reading
// it got. Only the turning thread reads it.
struct FieldRead {
  long long us = 0;
  ino_t ino = 0;
};
constexpr size_t kReadsKept = 8;
FieldRead g_field_reads[kReadsKept];
size_t g_field_read_count = 0;
long long g_field_resolved_us = 0;  // the last resolution of the node's path, not yet opened

constexpr char kFieldNode[] = "/sys/class/orba_hall/ak09970/data";

bool EndsWith(const char* text, const char* end) {
  size_t n = strlen(text), m = strlen(end);
  return n >= m && strcmp(text + n - m, end) == 0;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int orba_confine_device_path(
    const char* path, int follow_last, char* out, size_t size, int* ok) {
  using ConfineFn = int (*)(const char*, int, char*, size_t, int*);
  static ConfineFn real = reinterpret_cast<ConfineFn>(dlsym(RTLD_NEXT, "orba_confine_device_path"));
  int fd = real(path, follow_last, out, size, ok);
  if (path != nullptr && EndsWith(path, kFieldNode)) g_field_resolved_us = WallUs();
  return fd;
}

extern "C" __attribute__((visibility("default"))) FILE* fopen(const char* path,
                                                             const char* mode) {
  using FopenFn = FILE* (*)(const char*, const char*);
  static FopenFn real = reinterpret_cast<FopenFn>(dlsym(RTLD_NEXT, "fopen"));
  FILE* f = real(path, mode);
  struct stat st {};
  if (f != nullptr && g_field_resolved_us != 0 && fstat(fileno(f), &st) == 0) {
    g_field_reads[g_field_read_count++ % kReadsKept] = {g_field_resolved_us, st.st_ino};
  }
  g_field_resolved_us = 0;
  return f;
}

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
  std::string Host(const std::string& device_path) const { return root_ + device_path; }
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

// Spinning shells, one per core, for the life of the object: a machine loaded by others.
class CpuHog {
 public:
  explicit CpuHog(bool on) {
    long cores = on ? sysconf(_SC_NPROCESSORS_ONLN) : 0;
    for (long i = 0; i < cores; ++i) {
      pid_t pid = orba::platform::StartChild("/bin/sh", {"sh", "-c", "while :; do :; done"},
                                             orba::platform::ChildOptions());
      if (pid > 0) pids_.push_back(pid);
    }
  }
  ~CpuHog() {
    for (pid_t pid : pids_) {
      kill(pid, SIGKILL);
      orba::platform::WaitChild(pid);
    }
  }

 private:
  std::vector<pid_t> pids_;
};

// The angle the library last measured before it stopped ("current angles=%.2f, ..."): the
// reading it stopped on.
std::atomic<double> g_stopped_on{NAN};
std::atomic<long long> g_stopped_on_us{0};  // when the library had it

void KeepStoppedOn(const struct __android_logger_data*, const char* message) {
  const char* at = strstr(message, "current angles=");
  if (at != nullptr) {
    g_stopped_on = atof(at + strlen("current angles="));
    g_stopped_on_us = WallUs();
  }
}

struct Distribution {
  std::vector<double> values;
  void Add(double v) { values.push_back(v); }
  // Into counters NAME_p50, NAME_p99, NAME_max.
  void Report(benchmark::State& state, const std::string& name) {
    if (values.empty()) return;
    std::sort(values.begin(), values.end());
    auto at = [&](double q) {
      size_t i = static_cast<size_t>(ceil(q * values.size()));
      return values[std::min(values.size() - 1, i > 0 ? i - 1 : 0)];
    };
    state.counters[name + "_p50"] = at(0.5);
    state.counters[name + "_p99"] = at(0.99);
    state.counters[name + "_max"] = values.back();
  }
};

// A reading the rotary model put on the magnetometer node (wall microseconds, degrees).
struct Shown {
  unsigned long long ino = 0;  // the file it was put there in
  long long at_us = 0;
  long long newest_us = 0;  // its newest measurement
  double reading = NAN;
  double module = NAN;  // where the module was as it was put there
};

// The rotary model's record of one stop (/data/sim/rotary_stops).
struct StopRecord {
  long long halt_us = 0;
  long long taken_us = 0;
  double angle = NAN;  // where the module halted
  std::vector<Shown> shown;  // the readings before, oldest first
};

bool ParseStop(const std::string& line, StopRecord* stop) {
  int used = 0;
  if (sscanf(line.c_str(), "%lld %*s taken_us %lld reading_age_us %*d angle %lf shown%n",
             &stop->halt_us, &stop->taken_us, &stop->angle, &used) != 3 ||
      used == 0) {
    return false;
  }
  std::istringstream items(line.substr(static_cast<size_t>(used)));
  for (std::string item; items >> item;) {
    Shown r;
    if (sscanf(item.c_str(), "%llu:%lld:%lld:%lf:%lf", &r.ino, &r.at_us, &r.newest_us,
               &r.reading, &r.module) == 5) {
      stop->shown.push_back(r);
    }
  }
  return true;
}

// The reading a read got, by its file.
const Shown* ShownIn(const StopRecord& stop, ino_t ino) {
  for (const Shown& r : stop.shown) {
    if (r.ino == ino) return &r;
  }
  return nullptr;
}

double LoadAverage() {
  std::ifstream in("/proc/loadavg");
  double load = -1;
  in >> load;
  return load;
}

// Arguments: the motor's step period (50: the rotary profile's 170 degrees a second), and 1 for
// a CPU hog on every core beside the turns.
void BM_RotateToRandomAngle(benchmark::State& state) {
  Device device("rotary");  // stop at 300 degrees
  if (!device.ok() || StoreCali("set_unreached_angle 300") != 1) {
    state.SkipWithError("no simulated device");
    return;
  }
  const long period = state.range(0);
  device.Write("/sys/class/timed_output/motor5/period", std::to_string(period));
  android::base::unique_fd watch(inotify_init1(IN_CLOEXEC));
  inotify_add_watch(watch.get(), device.Host("/data/sim").c_str(), IN_MODIFY);
  __android_log_set_minimum_priority(ANDROID_LOG_DEBUG);
  __android_log_set_logger(KeepStoppedOn);
  const double load_before = LoadAverage();
  CpuHog hog(state.range(1) != 0);

  const double precision = 0.3;  // the rotary profile's anglePrecision
  const double deg_per_ms = 1.8e7 / (static_cast<double>(period) * 2112) / 1000;
  std::mt19937 rng(20261123);
  // Targets off the stop, and off 0/360, where a plain mean of readings on both sides of the
  // wrap is meaningless (as the library has always computed it).
  std::uniform_real_distribution<double> pick(3.0, 357.0);
  long within = 0, count = 0;
  double worst = 0, total_ms = 0;
  Distribution stop_to_halt, model_late, reading_age, read_to_stop, node_age;
  long reads_unmatched = 0;  // turns whose readings had left the model's record
  size_t records = 0;
  const size_t stops_before = g_stop_writes;  // of earlier cases, on other devices
  long store_untimed = 0;  // turns whose stop write took over 1 ms: its store is not known
  for (auto _ : state) {
    double target;
    do target = pick(rng); while (AngleDistance(target, 300) < 3);
    g_stopped_on = NAN;
    g_stop_write_from_us = 0;
    int ms = rotate_to_appointted_angles(2, 8000, target, precision);
    const long long stored_us = g_stop_write_from_us;
    // The last pass measured with four reads, then wrote the stop.
    FieldRead reads[4] = {};
    for (size_t i = 0; i < 4 && g_field_read_count >= 4; ++i) {
      reads[i] = g_field_reads[(g_field_read_count - 4 + i) % kReadsKept];
    }
    const bool store_timed = stored_us > 0 && g_stop_write_to_us - stored_us < 1000;
    // The model takes the stop in its own time: wait for its record of every stop stored.
    std::vector<std::string> lines;
    for (;;) {
      lines.clear();
      std::istringstream in(device.Read("/data/sim/rotary_stops"));
      for (std::string l; std::getline(in, l);) lines.push_back(l);
      if (lines.size() >= g_stop_writes - stops_before && lines.size() > records) break;
      char events[4096];
      if (read(watch.get(), events, sizeof(events)) <= 0) break;
    }
    StopRecord stop;
    bool recorded = lines.size() > records && ParseStop(lines.back(), &stop);
    records = lines.size();
    // Where the module halted: the truth file is brought up to it only at the model's next
    // measurement.
    double truth = recorded ? stop.angle : atof(device.Read("/data/sim/rotary_angle").c_str());
    double error = AngleDistance(truth, target);
    if (recorded && store_timed) {
      stop_to_halt.Add((stop.halt_us - stored_us) / 1000.0);
    } else {
      ++store_untimed;
    }
    // The readings the library stopped on, as the model put them on the node.
    const Shown* read[4] = {};
    bool matched = recorded && reads[0].us > 0;
    for (size_t i = 0; i < 4 && matched; ++i) matched = (read[i] = ShownIn(stop, reads[i].ino));
    if (matched) {
      long long oldest = 0;
      for (size_t i = 0; i < 4; ++i) oldest = std::max(oldest, reads[i].us - read[i]->newest_us);
      reading_age.Add(oldest / 1000.0);
      if (store_timed) read_to_stop.Add((stored_us - reads[0].us) / 1000.0);
    } else {
      ++reads_unmatched;
    }
    if (recorded) {
      model_late.Add(stop.taken_us / 1000.0);
      // How old a reading grew on the node before the model replaced it, at worst, over the
      // last readings of the turn: the model's own part in a stale read.
      long long oldest = -1;
      for (size_t i = 1; i < stop.shown.size(); ++i) {
        if (stop.shown[i].module == stop.shown[i - 1].module) continue;  // at rest
        oldest = std::max(oldest, stop.shown[i].at_us - stop.shown[i - 1].newest_us);
      }
      if (oldest >= 0) node_age.Add(oldest / 1000.0);
    }
    ++count;
    bool ok = ms >= 0 && error <= precision;
    within += ok ? 1 : 0;
    if (!ok) {
      std::string seen;
      for (size_t i = 0; i < 4 && matched; ++i) {
        char item[128];
        snprintf(item, sizeof(item), "%s%.2f (module %.2f, %.2f ms old at +%.2f ms)",
                 i > 0 ? ", " : "", read[i]->reading, read[i]->module,
                 (reads[i].us - read[i]->newest_us) / 1000.0,
                 (reads[i].us - reads[0].us) / 1000.0);
        seen += item;
      }
      fprintf(stderr,
              "miss: period %ld target %.2f stopped on %.2f (off %+.2f) halted at %.3f (off "
              "%.2f = %.1f ms of travel, %.2f from the reading); read: %s; first read to stop "
              "write %.2f ms, stop write took %.2f ms, stop to halt %.2f ms, model late %.2f "
              "ms\n",
              period, target, g_stopped_on.load(), g_stopped_on.load() - target, truth, error,
              error / deg_per_ms, AngleDistance(truth, g_stopped_on.load()),
              matched ? seen.c_str() : "not in the model's record",
              (stored_us - reads[0].us) / 1000.0, (g_stop_write_to_us - stored_us) / 1000.0,
              (stop.halt_us - stored_us) / 1000.0, stop.taken_us / 1000.0);
    }
    worst = std::max(worst, error);
    total_ms += ms;
    state.SetIterationTime(ms / 1000.0);
  }
  __android_log_set_logger(__android_log_stderr_logger);
  __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
  state.counters["within_precision"] = static_cast<double>(within);
  state.counters["targets"] = static_cast<double>(count);
  state.counters["worst_error_deg"] = worst;
  state.counters["mean_ms"] = count > 0 ? total_ms / count : 0;
  state.counters["load_1min_before"] = load_before;
  state.counters["stop_write_over_1ms"] = static_cast<double>(store_untimed);
  state.counters["reads_unmatched"] = static_cast<double>(reads_unmatched);
  stop_to_halt.Report(state, "stop_to_halt_ms");
  model_late.Report(state, "model_late_ms");
  reading_age.Report(state, "reading_age_ms");
  read_to_stop.Report(state, "read_to_stop_ms");
  node_age.Report(state, "node_age_ms");
}
BENCHMARK(BM_RotateToRandomAngle)
    ->ArgNames({"period", "hog"})
    ->Args({50, 0})
    ->Args({100, 0})
    ->Args({50, 1})
    ->Args({100, 1})
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
