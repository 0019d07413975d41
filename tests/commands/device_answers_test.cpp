// The typed answers of the device families, taken from the command table in this process on a
// running simulated device: the field names and kinds a JSON reader and the AT transport get.

#include <gtest/gtest.h>

#include <ctype.h>
#include <string.h>

#include <string>
#include <vector>

#include <platform/host/device_root.h>

#include "command.h"
#include "reply.h"
#include "support/recording_reply.h"
#include "support/sim_device.h"

namespace orba::test {
namespace {

using orba::cli::Value;
using Kind = orba::cli::Value::Kind;

// The families whose answers this suite covers.
constexpr const char* kFamilies[] = {"camera", "laser", "touch",   "uwb", "als", "prop",
                                     "file",   "exec",  "toolcmd", "log", "em"};

const orba::cli::Command* FindCommand(const std::string& family, const std::string& name) {
  for (const orba::cli::Family* f : orba::cli::Families()) {
    if (family != f->name) continue;
    for (const orba::cli::Command& c : f->commands) {
      if (name == c.name) return &c;
    }
  }
  return nullptr;
}

struct FieldShape {
  const char* name;
  Kind kind;
};

struct AnswerCase {
  std::vector<std::string> line;  // family, command ("" for a family's only one), arguments
  int code;
  size_t answers;  // how many answers, each of `shape`
  std::vector<FieldShape> shape;
};

bool SnakeCase(const std::string& name) {
  if (name.empty() || islower(static_cast<unsigned char>(name[0])) == 0) return false;
  for (char c : name) {
    const auto b = static_cast<unsigned char>(c);
    if (islower(b) == 0 && isdigit(b) == 0 && c != '_') return false;
  }
  return true;
}

class DeviceAnswersTest : public SimDeviceTest {
 protected:
  void SetUp() override {
    SimDeviceTest::SetUp();
    orba_device_root_reset();  // this process now works on the device the fixture started
  }
  void TearDown() override {
    SimDeviceTest::TearDown();
    orba_device_root_reset();
  }

  // Runs the case's command from the table and checks its answers' count, names and kinds.
  void Check(const AnswerCase& c) {
    SCOPED_TRACE(Join(c.line));
    const orba::cli::Command* command = FindCommand(c.line[0], c.line[1]);
    ASSERT_NE(command, nullptr);
    orba::testing::RecordingReply reply;
    const orba::cli::Args args(c.line.begin() + 2, c.line.end());
    ASSERT_EQ(command->run(args, reply), c.code)
        << (reply.failures.empty() ? "" : reply.failures[0].message);
    EXPECT_TRUE(reply.stream.empty()) << reply.stream;
    ASSERT_EQ(reply.answers.size(), c.answers);
    for (const orba::cli::Fields& answer : reply.answers) {
      ASSERT_EQ(answer.size(), c.shape.size());
      for (size_t i = 0; i < answer.size(); ++i) {
        EXPECT_EQ(answer[i].name, c.shape[i].name);
        EXPECT_TRUE(SnakeCase(answer[i].name)) << answer[i].name;
        EXPECT_EQ(answer[i].value.kind(), c.shape[i].kind) << answer[i].name;
      }
    }
    last_ = reply;
  }

  static std::string Join(const std::vector<std::string>& words) {
    std::string out;
    for (const std::string& w : words) out += (out.empty() ? "" : " ") + w;
    return out;
  }

  orba::testing::RecordingReply last_;
};

TEST_F(DeviceAnswersTest, ServiceFamiliesAnswerTypedFields) {
  WriteDeviceFile("/cache/recovery/last_tool_test_app.ini",
                  "[tool_test_app]\nloop_total = 1\ncmd_total = 1\n[loop0]\ncommand0 = AT+A\n"
                  "delay_time0 = 250\nresponse0 = OK\n");
  const AnswerCase cases[] = {
      {{"prop", "get", "ro.orba.product.model"}, 0, 1, {{"value", Kind::kText}}},
      {{"prop", "set", "persist.sys.station", "7"}, 0, 0, {}},
      {{"prop", "wait", "persist.sys.station", "7", "100"},
       0,
       1,
       {{"property", Kind::kText}, {"value", Kind::kText}}},
      {{"file", "write", "/cache/recovery/r.txt", "line\n"}, 0, 0, {}},
      {{"file", "md5", "/cache/recovery/r.txt"},
       0,
       1,
       {{"path", Kind::kText}, {"md5", Kind::kText}}},
      {{"file", "size", "/cache/recovery/r.txt"}, 0, 1, {{"size", Kind::kInteger}}},
      {{"em", "send", "get_lcm_refreshrate", "max"}, 0, 1, {{"reply", Kind::kText}}},
      {{"em", "running", "com.orba.engineermode.NoSuchService"},
       orba::cli::kFailed,
       1,
       {{"running", Kind::kBool}}},
      {{"log", "status"}, 0, 1, {{"running", Kind::kBool}}},
      {{"log", "clear"}, 0, 1, {{"state", Kind::kText}}},
      {{"toolcmd", "", "AT+A"},
       0,
       1,
       {{"command", Kind::kText}, {"delay_time", Kind::kInteger}, {"response", Kind::kText}}},
      {{"als", "store", "0", "AT+ALSCALI=0000,812.5;402;388;221;1030"},
       0,
       5,
       {{"property", Kind::kText}, {"value", Kind::kText}}},
  };
  for (const AnswerCase& c : cases) Check(c);
}

TEST_F(DeviceAnswersTest, SensorFamiliesAnswerNumbersAsNumbers) {
  ASSERT_EQ(Sim({"setprop", "sim.uwb.rx_ntf",
                 "000000006400000060000000040000000200000060000000000000005e00000001000000"})
                .status,
            0);
  const std::vector<FieldShape> counters = {
      {"status", Kind::kInteger},       {"attempts", Kind::kInteger},
      {"acq_detect", Kind::kInteger},   {"acq_reject", Kind::kInteger},
      {"rx_fail", Kind::kInteger},      {"sync_cir_ready", Kind::kInteger},
      {"sfd_fail", Kind::kInteger},     {"sfd_found", Kind::kInteger},
      {"phr_dec_error", Kind::kInteger}};
  const AnswerCase cases[] = {
      {{"laser", "read-once"},
       0,
       1,
       {{"distance_mm", Kind::kInteger}, {"confidence", Kind::kInteger}}},
      {{"laser", "clock-cali"}, 0, 2, {{"step", Kind::kText}, {"result", Kind::kInteger}}},
      {{"camera", "halls"},
       0,
       1,
       {{"up", Kind::kInteger}, {"middle", Kind::kInteger}, {"down", Kind::kInteger}}},
      {{"camera", "blocked-time", "pop", "1500"}, 0, 1, {{"time_ms", Kind::kInteger}}},
      {{"camera", "sn", "rear_camera_main"}, 0, 1, {{"serial", Kind::kText}}},
  };
  for (const AnswerCase& c : cases) Check(c);
  // The values are the device's, not only of the right kind.
  Check({{"uwb", "rx", "9", "1", "1"}, 0, 1, counters});
  EXPECT_EQ(last_.Find(0, "attempts")->integer(), 100);
  EXPECT_EQ(last_.Find(0, "sfd_found")->integer(), 94);
  Check({{"camera", "motor-type"}, 0, 1, {{"type", Kind::kInteger}, {"name", Kind::kText}}});
  EXPECT_EQ(last_.Find(0, "type")->integer(), 1);
  EXPECT_EQ(last_.Find(0, "name")->text(), "fully_auto_pop");
}

// A phone whose pop-up camera turns: its rotary motor and magnetometer run as models.
class RotaryAnswersTest : public DeviceAnswersTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    ASSERT_EQ(Sim({"init", "--profile", "rotary"}).status, 0);
    ASSERT_EQ(Sim({"start"}).status, 0);
    orba_device_root_reset();
  }
};

TEST_F(RotaryAnswersTest, AnglesAreMeasurementsAndTurnsTakeTime) {
  const AnswerCase cases[] = {
      {{"camera", "angle"}, 0, 1, {{"angle", Kind::kReal}}},
      {{"camera", "field"},
       0,
       1,
       {{"x", Kind::kInteger}, {"y", Kind::kInteger}, {"z", Kind::kInteger}}},
      {{"camera", "blocked-time", "pop", "1500"}, 0, 1, {{"time_ms", Kind::kInteger}}},
      {{"camera", "max", "negatively"},
       0,
       1,
       {{"time_ms", Kind::kInteger}, {"angle", Kind::kReal}}},
  };
  for (const AnswerCase& c : cases) Check(c);
  EXPECT_EQ(last_.Find(0, "angle")->decimals(), 2);
}

// Each command of these families can be shown and completed: an example that runs the command
// itself, a summary without an open-ended list, and a value list where one is set.
TEST(DeviceCommandTableTest, EveryCommandHasAnExampleAndClosedLists) {
  size_t seen = 0;
  for (const orba::cli::Family* f : orba::cli::Families()) {
    bool ours = false;
    for (const char* name : kFamilies) ours = ours || strcmp(name, f->name) == 0;
    if (!ours) continue;
    for (const orba::cli::Command& c : f->commands) {
      ++seen;
      const std::string call = std::string(f->name) + (c.name[0] != '\0' ? " " : "") + c.name;
      SCOPED_TRACE(call);
      ASSERT_NE(c.example, nullptr);
      const std::string example = c.example;
      EXPECT_TRUE(example == call || example.rfind(call + " ", 0) == 0) << example;
      const std::string summary = c.summary;
      for (const char* open : {"...", "\xe2\x80\xa6", "etc"}) {
        EXPECT_EQ(summary.find(open), std::string::npos) << summary;
      }
      if (c.values != nullptr) {
        EXPECT_FALSE(c.values(0).empty());
      }
    }
  }
  EXPECT_GT(seen, 40u);  // every family above registered its commands
}

}  // namespace
}  // namespace orba::test
