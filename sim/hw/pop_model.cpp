// The pop-up module: a stepper motor on a timed output slides the camera along its travel, and
// three hall sensors (up, middle, down) see the magnet on it.
//
//   /sys/class/timed_output/motor/enable   N: out for N ms; N + 65536: in for N ms; 0: stop
//
// A healthy module crosses its whole travel in sim.motor.travel_ms; a module with
// sim.motor.stuck = 1 hums but does not move. Against an end stop the motor keeps running out
// its time while the module rests, so the halls hold steady within their one-count flicker.

#include <stdio.h>
#include <stdlib.h>

#include <cmath>
#include <random>

#include "hw_model.h"
#include "node_io.h"
#include "pop_halls.h"

namespace orba::sim::hw {
namespace {

constexpr char kEnable[] = "/sys/class/timed_output/motor/enable";
constexpr long kReverseBit = 65536;
constexpr auto kTick = std::chrono::milliseconds(10);

class PopModel : public HardwareModel {
 public:
  const char* Name() const override { return "pop"; }
  std::vector<std::string> CommandNodes() const override { return {kEnable}; }

  void Start(Clock::time_point now) override {
    last_ = now;
    Publish();
  }

  void OnCommand(const std::string& node, Clock::time_point now) override {
    (void)node;
    Advance(now);
    std::string text = ReadNode(kEnable);
    // A writer truncates the node before its text lands: a node read in between is empty, and
    // the text's own write brings the command a moment later.
    if (text.find_first_of("0123456789") == std::string::npos) return;
    long value = strtol(text.c_str(), nullptr, 10);
    AppendRecord("/data/sim/motor_log", std::to_string(WallMs()) + " motor " + std::to_string(value));
    if (value <= 0) {
      direction_ = 0;
      Publish();
      return;
    }
    direction_ = value >= kReverseBit ? -1 : 1;
    long ms = value >= kReverseBit ? value - kReverseBit : value;
    run_until_ = now + std::chrono::milliseconds(ms);
    travel_ms_ = Knob("sim.motor.travel_ms", 800);
    if (travel_ms_ <= 0) travel_ms_ = 1;
    stuck_ = Knob("sim.motor.stuck", 0) != 0;
    at_stop_logged_ = false;
  }

  std::optional<Clock::time_point> Tick(Clock::time_point now) override {
    Advance(now);
    Publish();
    if (direction_ == 0) return std::nullopt;
    return std::min(now + kTick, run_until_);
  }

 private:
  // Moves the module from the last update up to `now`, or to the end of the motor's run.
  void Advance(Clock::time_point now) {
    Clock::time_point until = direction_ != 0 && run_until_ < now ? run_until_ : now;
    if (direction_ != 0 && !stuck_ && until > last_) {
      double ms = std::chrono::duration<double, std::milli>(until - last_).count();
      double to_stop_ms = (direction_ > 0 ? 1.0 - position_ : position_) * travel_ms_;
      if (ms < to_stop_ms) {
        position_ += direction_ * ms / travel_ms_;
      } else {
        position_ = direction_ > 0 ? 1.0 : 0.0;
        if (!at_stop_logged_) {
          // When the module met its stop, for tests that judge a measured blocked time.
          auto met = last_ + std::chrono::microseconds(static_cast<long long>(to_stop_ms * 1000));
          long long ago =
              std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - met).count();
          AppendRecord("/data/sim/motor_log", std::to_string(WallMs() - ago) + " pop stop " +
                                                  (direction_ > 0 ? "out" : "in"));
          at_stop_logged_ = true;
        }
      }
    }
    last_ = now;
    if (direction_ != 0 && now >= run_until_) direction_ = 0;
  }

  void Publish() {
    PopHallReadings r = PopHallsAt(position_);
    // A reading flickers by one count: the peak search takes a fall of more than one count for
    // the peak, so a wider flicker on a module that has not moved yet would pass for one.
    std::uniform_int_distribution<int> noise(0, 1);
    auto text = [&](int v) { return std::to_string(v + noise(rng_)); };
    std::string up = text(r.up), middle = text(r.middle), down = text(r.down);
    ReplaceNode("/sys/class/orba_hall/up_hall/data", up);
    ReplaceNode("/sys/class/orba_hall/up_hall/single_data", up);
    ReplaceNode("/sys/class/orba_hall/middle_hall/single_data", middle);
    ReplaceNode("/sys/class/orba_hall/down_hall/data", down);
    ReplaceNode("/sys/class/orba_hall/down_hall/single_data", down);
    char truth[32];
    snprintf(truth, sizeof(truth), "%.3f\n", position_);
    ReplaceNode("/data/sim/pop_position", truth);
  }

  double position_ = 0.0;  // 0 fully in, 1 fully out
  int direction_ = 0;      // +1 out, -1 in, 0 stopped
  Clock::time_point run_until_{};
  Clock::time_point last_{};
  double travel_ms_ = 800;
  bool stuck_ = false;
  bool at_stop_logged_ = false;
  std::mt19937 rng_{std::random_device{}()};
};

}  // namespace

std::unique_ptr<HardwareModel> CreatePopModel() { return std::make_unique<PopModel>(); }

}  // namespace orba::sim::hw
