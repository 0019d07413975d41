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
// gear turns slower than its period says), sim.rotary.noise_deg blurs each reading.

#include <stdio.h>
#include <stdlib.h>

#include <cmath>
#include <random>

#include "hw_model.h"
#include "node_io.h"
#include "rotary_geometry.h"

namespace orba::sim::hw {
namespace {

constexpr char kEnable[] = "/sys/class/timed_output/motor5/enable";
constexpr char kPeriod[] = "/sys/class/timed_output/motor5/period";
constexpr char kField[] = "/sys/class/orba_hall/ak09970/data";
constexpr long kReverseBit = 65536;
// Short enough that a reading is never more than a fraction of a degree behind the module.
constexpr auto kTick = std::chrono::milliseconds(1);

class RotaryModel : public HardwareModel {
 public:
  const char* Name() const override { return "rotary"; }
  std::vector<std::string> CommandNodes() const override { return {kEnable, kPeriod}; }

  void Start(Clock::time_point now) override {
    stop_angle_ = Knob("sim.rotary.stop_angle", 0);
    travel_ = TravelFromAngle(Knob("sim.rotary.angle", 0), stop_angle_);
    last_ = now;
    Publish();
  }

  void OnCommand(const std::string& node, Clock::time_point now) override {
    Advance(now);
    std::string text = ReadNode(node);
    // A writer truncates the node before its text lands: a node read in between is empty, and
    // the close of that very write brings the command a moment later.
    if (text.find_first_of("0123456789") == std::string::npos) return;
    long value = strtol(text.c_str(), nullptr, 10);
    bool period = node == kPeriod;
    AppendRecord("/data/sim/motor_log", std::to_string(WallMs()) + (period ? " period " : " motor5 ") +
                                            std::to_string(value));
    speed_ = DegreesPerMs(strtol(ReadNode(kPeriod).c_str(), nullptr, 10)) *
             Knob("sim.rotary.speed_factor", 1.0);
    if (period) return;
    if (value <= 0) {
      direction_ = 0;
      Publish();
      return;
    }
    // A positive turn lowers the measured angle: it winds the module back towards the stop
    // from above.
    direction_ = value >= kReverseBit ? -1 : 1;
    long ms = value >= kReverseBit ? value - kReverseBit : value;
    run_until_ = now + std::chrono::milliseconds(ms);
  }

  std::optional<Clock::time_point> Tick(Clock::time_point now) override {
    Advance(now);
    Publish();
    if (direction_ == 0) return std::nullopt;
    return std::min(now + kTick, run_until_);
  }

 private:
  void Advance(Clock::time_point now) {
    Clock::time_point until = direction_ != 0 && run_until_ < now ? run_until_ : now;
    if (direction_ != 0 && until > last_) {
      double ms = std::chrono::duration<double, std::milli>(until - last_).count();
      travel_ = ClampTravel(travel_ + direction_ * speed_ * ms);
    }
    last_ = now;
    if (direction_ != 0 && now >= run_until_) direction_ = 0;
  }

  void Publish() {
    double angle = AngleFromTravel(travel_, stop_angle_);
    double noise_deg = Knob("sim.rotary.noise_deg", 0.1);
    double field = Knob("sim.rotary.field", 1000);
    std::normal_distribution<double> blur(0.0, noise_deg > 0 ? noise_deg : 1e-9);
    double seen = (angle + blur(rng_)) * kPi / 180.0;
    std::uniform_int_distribution<int> z_noise(-1, 1);
    char text[96];
    snprintf(text, sizeof(text), "%ld %ld %d", std::lround(field * std::cos(seen)),
             std::lround(field * std::sin(seen)), z_noise(rng_));
    ReplaceNode(kField, text);
    char truth[32];
    snprintf(truth, sizeof(truth), "%.3f\n", angle);
    ReplaceNode("/data/sim/rotary_angle", truth);
  }

  double stop_angle_ = 0;
  double travel_ = 0;  // degrees turned up from the stop, 0..360
  double speed_ = 0;   // degrees per ms
  int direction_ = 0;  // +1 angle rising, -1 falling, 0 stopped
  Clock::time_point run_until_{};
  Clock::time_point last_{};
  std::mt19937 rng_{std::random_device{}()};
};

}  // namespace

std::unique_ptr<HardwareModel> CreateRotaryModel() { return std::make_unique<RotaryModel>(); }

}  // namespace orba::sim::hw
