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

#include <stdio.h>
#include <stdlib.h>

#include <array>
#include <cmath>
#include <random>

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

class RotaryModel : public HardwareModel {
 public:
  const char* Name() const override { return "rotary"; }
  std::vector<std::string> CommandNodes() const override { return {kEnable, kPeriod}; }

  void Start(Clock::time_point now) override {
    stop_angle_ = Knob("sim.rotary.stop_angle", 0);
    travel_ = TravelFromAngle(Knob("sim.rotary.angle", 0), stop_angle_);
    run_.Start(now);
    for (int i = 0; i < kWindow; ++i) Measure();
    Publish();
  }

  void OnCommand(const std::string& node, Clock::time_point now) override {
    Advance(now);
    std::string text = ReadNode(node);
    if (node == kPeriod) {
      // The period is a setting, not a run: it is logged and changes the speed of the next move.
      if (text.find_first_of("0123456789") == std::string::npos) return;
      AppendRecord("/data/sim/motor_log", std::to_string(WallMs()) + " period " +
                                              std::to_string(strtol(text.c_str(), nullptr, 10)));
    } else {
      // A positive turn (reverse bit set) lowers the measured angle: it winds the module back
      // towards the stop from above.
      long value = 0;
      if (!run_.Command(text, now, "motor5", &value)) return;
    }
    speed_ = DegreesPerMs(strtol(ReadNode(kPeriod).c_str(), nullptr, 10)) *
             Knob("sim.rotary.speed_factor", 1.0);
  }

  std::optional<Clock::time_point> Tick(Clock::time_point now) override {
    Advance(now);
    if (now >= next_sample_) {
      Measure();
      Publish();
      next_sample_ = now + kSamplePeriod;
      resting_samples_ = run_.direction() == 0 ? resting_samples_ + 1 : 0;
    }
    if (run_.direction() == 0 && resting_samples_ >= kWindow) return std::nullopt;
    return run_.direction() != 0 ? std::min(next_sample_, run_.until()) : next_sample_;
  }

 private:
  void Advance(Clock::time_point now) {
    const int direction = run_.direction();
    Clock::time_point from;
    double ms = run_.Elapse(now, &from);
    if (ms > 0) travel_ = ClampTravel(travel_ + direction * speed_ * ms);
  }

  // One measurement of the field's direction into the averaging window.
  void Measure() {
    double noise_deg = Knob("sim.rotary.noise_deg", 0.1);
    std::normal_distribution<double> blur(0.0, noise_deg > 0 ? noise_deg : 1e-9);
    double seen = (AngleFromTravel(travel_, stop_angle_) + blur(rng_)) * kPi / 180.0;
    window_[next_slot_] = {std::cos(seen), std::sin(seen)};
    next_slot_ = (next_slot_ + 1) % kWindow;
  }

  // The reading is the window's mean field (vectors, not angles, so 0/360 averages right) and
  // the ground truth is where the module is now.
  void Publish() {
    double field = Knob("sim.rotary.field", 1000);
    double x = 0, y = 0;
    for (const auto& m : window_) {
      x += m[0] / kWindow;
      y += m[1] / kWindow;
    }
    std::uniform_int_distribution<int> z_noise(-1, 1);
    char text[96];
    snprintf(text, sizeof(text), "%ld %ld %d", std::lround(field * x), std::lround(field * y),
             z_noise(rng_));
    PublishReading(kField, text);
    char truth[32];
    snprintf(truth, sizeof(truth), "%.3f\n", AngleFromTravel(travel_, stop_angle_));
    ReplaceNode("/data/sim/rotary_angle", truth);
  }

  double stop_angle_ = 0;
  double travel_ = 0;  // degrees turned up from the stop, 0..360
  double speed_ = 0;   // degrees per ms
  MotorRun run_;       // direction +1: angle rising, -1: falling
  Clock::time_point next_sample_{};
  std::array<std::array<double, 2>, kWindow> window_{};  // unit field vectors
  int next_slot_ = 0;
  int resting_samples_ = 0;  // measurements since the module came to rest
  std::mt19937 rng_{std::random_device{}()};
};

}  // namespace

std::unique_ptr<HardwareModel> CreateRotaryModel() { return std::make_unique<RotaryModel>(); }

}  // namespace orba::sim::hw
