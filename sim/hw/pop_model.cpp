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
#include "motor_run.h"
#include "node_io.h"
#include "pop_halls.h"

namespace orba::sim::hw {
namespace {

constexpr char kEnable[] = "/sys/class/timed_output/motor/enable";
constexpr auto kTick = std::chrono::milliseconds(10);

class PopModel : public HardwareModel {
 public:
  const char* Name() const override { return "pop"; }
  std::vector<std::string> CommandNodes() const override { return {kEnable}; }

  void Start(Clock::time_point now) override {
    run_.Start(now);
    Publish();
  }

  void OnCommand(const std::string& node, const Store& store) override {
    (void)node;
    const Clock::time_point now = store.at;
    Advance(now);
    long value = 0;
    if (!run_.Command(store.text, now, "motor", &value)) return;
    if (value <= 0) {
      Publish();
      return;
    }
    travel_ms_ = Knob("sim.motor.travel_ms");
    if (travel_ms_ <= 0) travel_ms_ = 1;
    stuck_ = Knob("sim.motor.stuck") != 0;
    at_stop_logged_ = false;
  }

  std::optional<Clock::time_point> Tick(Clock::time_point now) override {
    Advance(now);
    Publish();
    if (run_.direction() == 0) return std::nullopt;
    return std::min(now + kTick, run_.until());
  }

 private:
  // Moves the module from the last update up to `now`, or to the end of the motor's run.
  void Advance(Clock::time_point now) {
    const int direction = run_.direction();
    Clock::time_point from;
    double ms = run_.Elapse(now, &from);
    if (ms <= 0 || stuck_) return;
    double to_stop_ms = (direction > 0 ? 1.0 - position_ : position_) * travel_ms_;
    if (ms < to_stop_ms) {
      position_ += direction * ms / travel_ms_;
      return;
    }
    position_ = direction > 0 ? 1.0 : 0.0;
    if (!at_stop_logged_) {
      // When the module met its stop, for tests that judge a measured blocked time.
      auto met = from + std::chrono::microseconds(static_cast<long long>(to_stop_ms * 1000));
      long long ago =
          std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - met).count();
      AppendRecord("/data/sim/motor_log", std::to_string(WallMs() - ago) + " pop stop " +
                                              (direction > 0 ? "out" : "in"));
      at_stop_logged_ = true;
    }
  }

  void Publish() {
    PopHallReadings r = PopHallsAt(position_);
    // A reading flickers by one count: the peak search takes a fall of more than one count for
    // the peak, so a wider flicker on a module that has not moved yet would pass for one.
    std::uniform_int_distribution<int> noise(0, 1);
    auto text = [&](int v) { return std::to_string(v + noise(rng_)); };
    std::string up = text(r.up), middle = text(r.middle), down = text(r.down);
    PublishReading("/sys/class/orba_hall/up_hall/data", up);
    PublishReading("/sys/class/orba_hall/up_hall/single_data", up);
    PublishReading("/sys/class/orba_hall/middle_hall/single_data", middle);
    PublishReading("/sys/class/orba_hall/down_hall/data", down);
    PublishReading("/sys/class/orba_hall/down_hall/single_data", down);
    char truth[32];
    snprintf(truth, sizeof(truth), "%.3f\n", position_);
    ReplaceNode("/data/sim/pop_position", truth);
  }

  double position_ = 0.0;  // 0 fully in, 1 fully out
  MotorRun run_;           // direction +1 out, -1 in
  double travel_ms_ = 800;
  bool stuck_ = false;
  bool at_stop_logged_ = false;
  std::mt19937 rng_{std::random_device{}()};
};

}  // namespace

std::unique_ptr<HardwareModel> CreatePopModel() { return std::make_unique<PopModel>(); }

}  // namespace orba::sim::hw
