#ifndef ORBA_SIM_HW_HW_MODEL_H
#define ORBA_SIM_HW_HW_MODEL_H

// One piece of moving hardware of the simulated device (a motor and the sensors that see it).
// The model service owns every fitted model and runs them on one thread:
//   - a write to one of a model's command nodes calls OnCommand;
//   - Tick is called whenever the time a model asked for has come, and after every command;
//   - between the two the service sleeps, so an idle device costs nothing.
// A driver acts on a store the moment it is made; the service learns of it when the host runs
// it, which on a busy machine can be milliseconds later. So a command carries the time it was
// stored, and a model acts on it then, as if it had been there: a module must not run on past
// a stop for as long as the host kept its model waiting. Tick is never called for a time before
// a command that has not been handed over yet.
// Models write only their sensor nodes, each replaced whole (ReplaceNode), never a command node.

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orba::sim::hw {

using Clock = std::chrono::steady_clock;

// A command as it reached its node. `at` is the store as closely as the service can tell: the
// node's time stamp, held between the service's last look that found nothing and `seen`, when
// it took the command (at <= seen). `text` is what that store left in the node, read together
// with its time stamp: a model reading the node again could find the next store in it.
struct Store {
  Clock::time_point at;
  Clock::time_point seen;
  std::string text;
};

class HardwareModel {
 public:
  virtual ~HardwareModel() = default;

  virtual const char* Name() const = 0;
  // Device paths of the nodes the library writes to command this model.
  virtual std::vector<std::string> CommandNodes() const = 0;
  // Lays out the sensor nodes for the resting module. Called once, before any command.
  virtual void Start(Clock::time_point now) = 0;
  virtual void OnCommand(const std::string& node, const Store& store) = 0;
  // Brings the sensor nodes up to `now`; returns when the model next needs to run, or nothing
  // while it rests.
  virtual std::optional<Clock::time_point> Tick(Clock::time_point now) = 0;
};

// A kind of model the device may have fitted. New hardware adds one entry to the registry.
struct ModelKind {
  const char* name;
  bool (*fitted)();  // from the device's features and profile
  std::unique_ptr<HardwareModel> (*create)();
};

const std::vector<ModelKind>& ModelKinds();

}  // namespace orba::sim::hw

#endif
