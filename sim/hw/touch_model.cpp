// The touch controller's self-test node. A test number written to it starts a self-test; after
// sim.touch.delay_ms (default 1000) the node reads the controller's verdict, sim.touch.result
// (default a passing result). Each test number is recorded in /data/sim/touch_tests.
//
// The node is both the command and the answer. On a phone the driver's answer is no store, but
// here the model's replacement of the node raises the same event a writer's does, and a verdict
// of digits alone would read as a new test number. So the model keeps the file it answered with
// and takes an event for a command only when the node is no longer that file as it wrote it.

#include <ctype.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <string>

#include <cutils/properties.h>

#include "device_fs.h"
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

  void OnCommand(const std::string&, const Store& store) override {
    if (NodeIsOwnAnswer()) return;
    std::string value = Trimmed(store.text);
    if (!IsTestNumber(value)) return;
    AppendRecord("/data/sim/touch_tests", std::to_string(WallMs()) + " " + value);
    double delay = Knob("sim.touch.delay_ms");
    due_ = store.at + std::chrono::milliseconds(static_cast<long long>(delay < 0 ? 0 : delay));
  }

  std::optional<Clock::time_point> Tick(Clock::time_point now) override {
    if (!due_) return std::nullopt;
    if (now < *due_) return due_;
    char result[PROPERTY_VALUE_MAX] = {};
    property_get("sim.touch.result", result, KnobDefault("sim.touch.result"));
    answer_ = InstalledFile();
    PublishReading(kTouchTestNode, result, &answer_);
    due_.reset();
    return std::nullopt;
  }

 private:
  // Open, the answer's file keeps its inode number from being given to a file another writer
  // puts in its place.
  bool NodeIsOwnAnswer() const {
    if (answer_.fd.get() < 0) return false;
    unique_fd node = OpenInDevice(kTouchTestNode, O_PATH);
    struct stat now {};
    return node.get() >= 0 && fstat(node.get(), &now) == 0 &&
           SameFileUnchanged(now, answer_.written);
  }

  std::optional<Clock::time_point> due_;
  InstalledFile answer_;  // the last answer, while it may still be the node
};

}  // namespace

std::unique_ptr<HardwareModel> CreateTouchModel() { return std::make_unique<TouchModel>(); }

}  // namespace orba::sim::hw
