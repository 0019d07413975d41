// The touch controller's self-test node. A test number written to it starts a self-test; after
// sim.touch.delay_ms (default 1000) the node reads the controller's verdict, sim.touch.result
// (default a passing result). Each test number is recorded in /data/sim/touch_tests.
//
// The node is both the command and the answer, so the model's own replacement of it shows up
// as a write too: only a test number (digits) starts a test.

#include <ctype.h>

#include <string>

#include <cutils/properties.h>

#include "knob_table.h"
#include "node_io.h"
#include "touch_model.h"

namespace orba::sim::hw {
namespace {


bool IsTestNumber(const std::string& text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (!isdigit(static_cast<unsigned char>(c))) return false;
  }
  return true;
}

std::string Trimmed(std::string text) {
  while (!text.empty() && isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
  return text;
}

class TouchModel : public HardwareModel {
 public:
  const char* Name() const override { return "touch"; }
  std::vector<std::string> CommandNodes() const override { return {kTouchTestNode}; }

  void Start(Clock::time_point) override {}

  void OnCommand(const std::string&, Clock::time_point now) override {
    std::string value = Trimmed(ReadNode(kTouchTestNode));
    if (!IsTestNumber(value)) return;
    AppendRecord("/data/sim/touch_tests", std::to_string(WallMs()) + " " + value);
    double delay = Knob("sim.touch.delay_ms");
    due_ = now + std::chrono::milliseconds(static_cast<long long>(delay < 0 ? 0 : delay));
  }

  std::optional<Clock::time_point> Tick(Clock::time_point now) override {
    if (!due_) return std::nullopt;
    if (now < *due_) return due_;
    char result[PROPERTY_VALUE_MAX] = {};
    property_get("sim.touch.result", result, KnobDefault("sim.touch.result"));
    ReplaceNode(kTouchTestNode, result);
    due_.reset();
    return std::nullopt;
  }

 private:
  std::optional<Clock::time_point> due_;
};

}  // namespace

std::unique_ptr<HardwareModel> CreateTouchModel() { return std::make_unique<TouchModel>(); }

}  // namespace orba::sim::hw
