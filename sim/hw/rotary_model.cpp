// The rotary module: a second stepper motor turns the popped camera, and a three-axis
// magnetometer sees the field of a magnet on the turning part.
//
//   /sys/class/timed_output/motor5/enable   N: turn negatively for N ms (the measured angle
//                                           rises); N + 65536: positively (it falls); 0: stop
//   /sys/class/timed_output/motor5/period   step period P; the module turns at
//                                           1.8e7 / (P * 32 * 66) degrees a second
//   /sys/class/orba_hall/ak09970/data       "x y z" of the field at the current angle
//
// The module cannot cross its mechanical stop at sim.rotary.stop_angle: a turn that reaches it
// rests there until the motor's time runs out. sim.rotary.speed_factor scales the speed (a worn
// gear turns slower than its period says).
//
// The magnetometer measures every 0.5 ms while the module moves, each measurement blurred by
// sim.rotary.noise_deg, and reports the mean field of its last four, as the chip's averaging
// does: a reading is steadier than one measurement and about a millisecond behind the module.
// Once the module rests the window fills with resting measurements and the node stands still.
// Commands act as of their store and measurements are taken at their own times, so a model the
// host runs late neither turns the module on past a stop nor reports a module that is long gone;
// each stop is recorded in /data/sim/rotary_stops with the delays it met.

#include <stdio.h>
#include <stdlib.h>

#include <array>
#include <cmath>
#include <random>

#include <android/log.h>

#include "hw_model.h"
#include "motor_run.h"
#include "node_io.h"
#include "rotary_geometry.h"

namespace orba::sim::hw {
namespace {

constexpr char kEnable[] = "/sys/class/timed_output/motor5/enable";
constexpr char kPeriod[] = "/sys/class/timed_output/motor5/period";
constexpr char kField[] = "/sys/class/orba_hall/ak09970/data";
constexpr auto kSamplePeriod = std::chrono::microseconds(500);
constexpr int kWindow = 4;  // measurements averaged into one reading
constexpr char kTag[] = "orba-hw-models";

class RotaryModel : public HardwareModel {
 public:
  const char* Name() const override { return "rotary"; }
  std::vector<std::string> CommandNodes() const override { return {kEnable, kPeriod}; }

  void Start(Clock::time_point now) override {
    stop_angle_ = Knob("sim.rotary.stop_angle");
    travel_ = TravelFromAngle(Knob("sim.rotary.angle"), stop_angle_);
    period_ = strtol(ReadNode(kPeriod).c_str(), nullptr, 10);
    run_.Start(now);
    next_sample_ = now - kWindow * kSamplePeriod;
    MeasureUntil(now);
    Publish();
  }

  void OnCommand(const std::string& node, const Store& store) override {
    // The chip measured the module as it moved under the old command up to the store.
    const Clock::time_point at = store.at;
    MeasureUntil(at);
    if (node == kPeriod) {
      // The period is a setting, not a run: it is logged and changes the speed from here on.
      if (store.text.find_first_of("0123456789") == std::string::npos) return;
      period_ = strtol(store.text.c_str(), nullptr, 10);
      AppendRecord("/data/sim/motor_log",
                   std::to_string(WallMs()) + " period " + std::to_string(period_));
    } else {
      // A positive turn (reverse bit set) lowers the measured angle: it winds the module back
      // towards the stop from above.
      const bool moving = run_.direction() != 0;
      long value = 0;
      if (!run_.Command(store.text, at, "motor5", &value)) return;
      if (value <= 0) RecordStop(store, moving);
    }
    speed_ = DegreesPerMs(period_) * Knob("sim.rotary.speed_factor");
  }

  std::optional<Clock::time_point> Tick(Clock::time_point now) override {
    // A reading older than the chip's window while the module moves is the host's doing: the
    // chip would have replaced it. Said, with by how much, so a step that misses its angle on a
    // loaded machine is not blamed on the module.
    const auto stood = now - published_newest_;
    if (asked_ && stood > kWindow * kSamplePeriod) {
      __android_log_print(ANDROID_LOG_WARN, kTag,
                          "rotary: the magnetometer reading stood %.2f ms while the module "
                          "moved: the host did not run the models; publishing the chip's "
                          "reading now",
                          std::chrono::duration<double, std::milli>(stood).count());
    }
    // Measurements taken up to a command are published too: a writer re-commanding in a tight
    // loop brings a command before every measurement, and the node stood still meanwhile.
    MeasureUntil(now);
    if (newest_ != published_newest_) Publish();
    if (run_.direction() == 0 && resting_samples_ >= kWindow) {
      asked_.reset();
    } else {
      asked_ = run_.direction() != 0 ? std::min(next_sample_, run_.until()) : next_sample_;
    }
    return asked_;
  }

 private:
  void Advance(Clock::time_point now) {
    const int direction = run_.direction();
    Clock::time_point from;
    double ms = run_.Elapse(now, &from);
    if (ms > 0) travel_ = ClampTravel(travel_ + direction * speed_ * ms);
  }

  // Takes every measurement the chip made up to `t`, each where the module was at its own time,
  // then moves the module on to `t`. A model the host kept from running catches up here: its
  // next reading is the chip's reading now, not a mean with measurements from before the wait.
  // Only the last window's worth matters; older ones are skipped.
  void MeasureUntil(Clock::time_point t) {
    if (next_sample_ > t) {
      Advance(t);
      return;
    }
    const auto window = kWindow * kSamplePeriod;
    if (t - next_sample_ >= window) {
      next_sample_ += (t - next_sample_) / kSamplePeriod * kSamplePeriod - (window - kSamplePeriod);
    }
    for (; next_sample_ <= t; next_sample_ += kSamplePeriod) {
      Advance(next_sample_);
      Measure();
      newest_ = next_sample_;
      resting_samples_ = run_.direction() == 0 ? resting_samples_ + 1 : 0;
    }
    Advance(t);
  }

  // One measurement of the field's direction into the averaging window.
  void Measure() {
    double noise_deg = Knob("sim.rotary.noise_deg");
    std::normal_distribution<double> blur(0.0, noise_deg > 0 ? noise_deg : 1e-9);
    double seen = (AngleFromTravel(travel_, stop_angle_) + blur(rng_)) * kPi / 180.0;
    window_[next_slot_] = {std::cos(seen), std::sin(seen)};
    next_slot_ = (next_slot_ + 1) % kWindow;
  }

  // The reading is the window's mean field (vectors, not angles, so 0/360 averages right) and
  // the ground truth is where the module is now.
  void Publish() {
    double field = Knob("sim.rotary.field");
    double x = 0, y = 0;
    for (const auto& m : window_) {
      x += m[0] / kWindow;
      y += m[1] / kWindow;
    }
    std::uniform_int_distribution<int> z_noise(-1, 1);
    char text[96];
    snprintf(text, sizeof(text), "%ld %ld %d", std::lround(field * x), std::lround(field * y),
             z_noise(rng_));
    InstalledFile shown;
    PublishReading(kField, text, &shown);
    published_newest_ = newest_;
    const double truth = AngleFromTravel(travel_, stop_angle_);
    char truth_text[32];
    snprintf(truth_text, sizeof(truth_text), "%.3f\n", truth);
    ReplaceNode("/data/sim/rotary_angle", truth_text);
    double reading = std::atan2(std::lround(field * y), std::lround(field * x)) * 180 / kPi;
    const long long now_us = WallUs();
    shown_[next_shown_] = {static_cast<unsigned long long>(shown.written.st_ino), now_us,
                           now_us - UsAgo(newest_), reading < 0 ? reading + 360 : reading, truth};
    next_shown_ = (next_shown_ + 1) % shown_.size();
  }

  static long long UsAgo(Clock::time_point t) {
    return std::chrono::duration_cast<std::chrono::microseconds>(Clock::now() - t).count();
  }

  // For judging a closed loop against this model: per stop, when the module halted (wall
  // microseconds), how long after the store the model took it, how old the newest measurement
  // in the reading on the node at the store was, where the module halted, and the readings the
  // node showed before, oldest first, each as "inode:shown_us:newest_measurement_us:reading:
  // module" (the file it was put there in, when, its newest measurement, the angle it reads,
  // and where the module was then): a reader's file tells which of them it read.
  void RecordStop(const Store& store, bool moving) {
    using std::chrono::duration_cast;
    using std::chrono::microseconds;
    std::string line =
        std::to_string(WallUs() - UsAgo(store.at)) + " " + (moving ? "moving" : "resting") +
        " taken_us " +
        std::to_string(duration_cast<microseconds>(store.seen - store.at).count()) +
        " reading_age_us " +
        std::to_string(duration_cast<microseconds>(store.at - published_newest_).count()) +
        " angle " + std::to_string(AngleFromTravel(travel_, stop_angle_)) + " shown";
    for (size_t i = 0; i < shown_.size(); ++i) {
      const Shown& r = shown_[(next_shown_ + i) % shown_.size()];
      if (r.at_us == 0) continue;
      char item[96];
      snprintf(item, sizeof(item), " %llu:%lld:%lld:%.3f:%.3f", r.ino, r.at_us, r.newest_us,
               r.reading, r.module);
      line += item;
    }
    AppendRecord("/data/sim/rotary_stops", line);
  }

  double stop_angle_ = 0;
  double travel_ = 0;  // degrees turned up from the stop, 0..360
  long period_ = 0;    // the motor's step period
  double speed_ = 0;   // degrees per ms
  MotorRun run_;       // direction +1: angle rising, -1: falling
  Clock::time_point next_sample_{};       // the chip's next measurement
  Clock::time_point newest_{};            // its last one
  Clock::time_point published_newest_{};  // the last one in the reading on the node
  std::optional<Clock::time_point> asked_;  // when this model asked to run next, while it moves
  std::array<std::array<double, 2>, kWindow> window_{};  // unit field vectors
  int next_slot_ = 0;
  int resting_samples_ = 0;  // measurements since the module came to rest
  // The last readings put on the node, for the stop records (wall microseconds, degrees).
  struct Shown {
    unsigned long long ino = 0;  // the file it was put there in
    long long at_us = 0;
    long long newest_us = 0;
    double reading = 0;
    double module = 0;
  };
  std::array<Shown, 24> shown_{};
  size_t next_shown_ = 0;
  std::mt19937 rng_{std::random_device{}()};
};

}  // namespace

std::unique_ptr<HardwareModel> CreateRotaryModel() { return std::make_unique<RotaryModel>(); }

}  // namespace orba::sim::hw
