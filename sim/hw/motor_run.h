#ifndef ORBA_SIM_HW_MOTOR_RUN_H
#define ORBA_SIM_HW_MOTOR_RUN_H

// The timed output both camera motors hang on: "N" runs the motor N ms one way, "N + 65536" N ms
// the other way, and 0 stops it. A new command replaces the run under way, as a driver's store
// restarts its timer. The models keep the module's position; this keeps the run.

#include <stdlib.h>

#include <string>

#include "hw_model.h"
#include "node_io.h"

namespace orba::sim::hw {

class MotorRun {
 public:
  static constexpr long kReverseBit = 65536;

  // Takes a command node's text at `now`, logging it to /data/sim/motor_log under `label`.
  // False for a node caught between its writer's truncation and its text: that write's own
  // event brings the command a moment later.
  bool Command(const std::string& text, Clock::time_point now, const char* label, long* value) {
    if (text.find_first_of("0123456789") == std::string::npos) return false;
    *value = strtol(text.c_str(), nullptr, 10);
    AppendRecord("/data/sim/motor_log",
                 std::to_string(WallMs()) + " " + label + " " + std::to_string(*value));
    if (*value <= 0) {
      direction_ = 0;
      return true;
    }
    direction_ = *value >= kReverseBit ? -1 : 1;
    long ms = *value >= kReverseBit ? *value - kReverseBit : *value;
    until_ = now + std::chrono::milliseconds(ms);
    return true;
  }

  // Milliseconds the motor ran since the last call, up to `now` or the end of its run, and the
  // time that span began; the run ends once its time is out.
  double Elapse(Clock::time_point now, Clock::time_point* from) {
    *from = last_;
    // A command acts as of its store, which can be after the time a tick then brings the model
    // up to: the run does not go back.
    if (now <= last_) return 0.0;
    Clock::time_point until = direction_ != 0 && until_ < now ? until_ : now;
    double ms = direction_ != 0 && until > last_
                    ? std::chrono::duration<double, std::milli>(until - last_).count()
                    : 0.0;
    last_ = now;
    if (direction_ != 0 && now >= until_) direction_ = 0;
    return ms;
  }

  void Start(Clock::time_point now) { last_ = now; }
  void Stop() { direction_ = 0; }
  int direction() const { return direction_; }  // +1, -1, or 0 at rest
  Clock::time_point until() const { return until_; }

 private:
  int direction_ = 0;
  Clock::time_point until_{};
  Clock::time_point last_{};
};

}  // namespace orba::sim::hw

#endif
