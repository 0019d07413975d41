// The typed answers of the record, device and file families, run from the command table on a
// simulated device: the field names and kinds a JSON reader and the AT transport depend on.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "command.h"
#include "support/recording_reply.h"
#include "support/sim_device.h"

namespace orba::test {
namespace {

using orba::cli::Value;
using Kind = orba::cli::Value::Kind;
using orba::testing::RecordingReply;

const orba::cli::Command* FindCommand(const std::string& family, const std::string& command) {
  for (const orba::cli::Family* f : orba::cli::Families()) {
    if (family != f->name) continue;
    for (const orba::cli::Command& c : f->commands) {
      if (command == c.name) return &c;
    }
  }
  return nullptr;
}

int RunCommand(const std::string& family, const std::string& command, const orba::cli::Args& args,
               RecordingReply* reply) {
  const orba::cli::Command* c = FindCommand(family, command);
  if (c == nullptr) {
    ADD_FAILURE() << "no command " << family << " " << command;
    return -1;
  }
  return c->run(args, *reply);
}

struct Expected {
  const char* name;
  Kind kind;
};

struct Case {
  std::string family;
  std::string command;
  orba::cli::Args args;
  std::vector<Expected> fields;  // of every answer
  size_t answers;                // at least this many
};

const char* KindName(Kind kind) {
  switch (kind) {
    case Kind::kText: return "text";
    case Kind::kInteger: return "integer";
    case Kind::kReal: return "real";
    case Kind::kBool: return "bool";
  }
  return "?";
}

class TypedAnswersTest : public SimDeviceTest {};

TEST_F(TypedAnswersTest, EachCommandAnswersItsFieldsWithTheirKinds) {
  constexpr Kind T = Kind::kText, I = Kind::kInteger, R = Kind::kReal, B = Kind::kBool;
  const std::string items = "/data/vendor/engineermode/station_items";
  const std::vector<Case> cases = {
      {"sn", "set", {"ORBA00000000001"}, {{"serial", T}}, 1},
      {"sn", "get", {}, {{"serial", T}}, 1},
      {"nv", "get", {"als_cali_flag"}, {{"value", I}}, 1},
      {"nv", "get", {"mtk_nv_checksum"}, {{"value", T}}, 1},
      {"nv", "get", {"cct_final_value"}, {{"value", R}}, 1},
      {"nv", "get", {"xole_sv"}, {{"value", T}}, 1},
      {"nv", "set", {"als_cali_flag", "1"}, {{"field", T}, {"value", I}}, 1},
      {"cali", "set", {"gsensor_calibration", "1"}, {{"item", T}, {"state", I}}, 1},
      {"cali", "get", {"gsensor_calibration"}, {{"state", I}}, 1},
      {"cali", "bg-dark", {"light_sensor_cali", "1"}, {{"item", T}, {"bg_dark", I}}, 1},
      {"cali", "bg-dark", {"light_sensor_cali"}, {{"bg_dark", I}}, 1},
      {"cali", "bg-dark", {"--all", "0"}, {{"item", T}, {"bg_dark", I}}, 1},
      {"cali", "list", {}, {{"item", T}}, 2},
      {"cali", "items", {}, {{"item", T}}, 49},
      {"otp", "write", {"72", "0a0b"}, {{"offset", I}, {"size", I}}, 1},
      {"otp", "read", {"72", "2"}, {{"hex", T}}, 1},
      {"identity", "", {},
       {{"project", T}, {"export_variant", B}, {"hardware", T}, {"platform", T},
        {"platform_id", I}, {"edition", T}, {"engineer_mode", B}, {"android", T}, {"sdk", I},
        {"factory_boot", B}, {"multi_sim", B}, {"fingerprint", B}},
       1},
      {"storage", "maker", {}, {{"maker", T}}, 1},
      {"storage", "bom", {}, {{"bom", T}}, 1},
      {"storage", "secure-boot", {}, {{"secure_boot", B}}, 1},
      {"ntc", "", {}, {{"type", I}, {"name", T}, {"celsius", R}}, 3},
      {"pcb", "set", {"PCB0001"}, {{"pcb", T}}, 1},
      {"pcb", "get", {}, {{"pcb", T}}, 1},
      {"em-flag", "set", {"on"}, {{"state", T}}, 1},
      {"em-flag", "get", {}, {{"state", T}}, 1},
      {"feature", "get", {"camera_motor_type"}, {{"value", T}}, 1},
      {"propfile", "set", {items, "sn", "ORBA0001"}, {}, 0},
      {"propfile", "get", {items, "sn"}, {{"value", T}}, 1},
      {"md5", "", {"/etc/em_features.xml"}, {{"path", T}, {"md5", T}}, 1},
      {"sha256", "", {"/etc/em_features.xml", "/dev/block/sdd"}, {{"path", T}, {"sha256", T}}, 2},
      {"ini", "sections", {"/vendor/etc/ntc.ini"}, {{"section", T}, {"keys", I}}, 2},
      {"ini", "get", {"/vendor/etc/ntc.ini", "type_i:board_ntc"}, {{"value", T}}, 1},
      {"ini", "get", {"/vendor/etc/ntc.ini", "type_i:board_ntc", "type_ii:chg_ntc"},
       {{"key", T}, {"value", T}}, 2},
      {"tfdata", "type", {}, {{"type", I}, {"format", T}, {"path", T}}, 1},
      {"copy", "file", {"/etc/em_features.xml", "/data/local/tmp/features.xml"},
       {{"source", T}, {"path", T}, {"size", I}}, 1},
      {"copy", "check", {"/data/local/tmp/features.xml"}, {{"path", T}, {"ok", B}}, 1},
  };
  for (const Case& c : cases) {
    const std::string line = c.family + " " + c.command;
    RecordingReply reply;
    EXPECT_EQ(RunCommand(c.family, c.command, c.args, &reply), orba::cli::kOk) << line;
    for (const RecordingReply::Failed& f : reply.failures) {
      ADD_FAILURE() << line << ": " << f.message;
    }
    EXPECT_TRUE(reply.stream.empty()) << line << ": " << reply.stream;
    EXPECT_GE(reply.answers.size(), c.answers) << line;
    if (c.answers == 0) {
      EXPECT_TRUE(reply.answers.empty()) << line;
    }
    for (const orba::cli::Fields& answer : reply.answers) {
      ASSERT_EQ(answer.size(), c.fields.size()) << line;
      for (size_t i = 0; i < answer.size(); ++i) {
        EXPECT_EQ(answer[i].name, c.fields[i].name) << line;
        EXPECT_STREQ(KindName(answer[i].value.kind()), KindName(c.fields[i].kind))
            << line << " " << answer[i].name;
      }
    }
  }
}

TEST_F(TypedAnswersTest, ValuesAreTheDevicesOwn) {
  RecordingReply ntc;
  ASSERT_EQ(RunCommand("ntc", "", {"2"}, &ntc), orba::cli::kOk);
  ASSERT_EQ(ntc.answers.size(), 1u);
  EXPECT_EQ(ntc.Find(0, "name")->text(), "chg_ntc");
  EXPECT_DOUBLE_EQ(ntc.Find(0, "celsius")->real(), 29.8);

  RecordingReply set;
  ASSERT_EQ(RunCommand("nv", "set", {"mtk_nv_checksum", "abc"}, &set), orba::cli::kOk);
  // The view's layout space before the value is not part of it.
  EXPECT_EQ(set.Find(0, "value")->text(), "0xabc");

  // The outstanding list arrives as one quoted string: each item comes out whole.
  RecordingReply list;
  ASSERT_EQ(RunCommand("cali", "list", {}, &list), orba::cli::kOk);
  ASSERT_FALSE(list.answers.empty());
  EXPECT_EQ(list.Find(0, "item")->text(), "light_sensor_cali");
  for (size_t i = 0; i < list.answers.size(); ++i) {
    const std::string& item = list.Find(i, "item")->text();
    EXPECT_EQ(item.find_first_of("\","), std::string::npos) << item;
  }

  // The library's report is the failure's message, for the AT transport's error text.
  RecordingReply check;
  EXPECT_EQ(RunCommand("cali", "check", {}, &check), orba::cli::kFailed);
  EXPECT_TRUE(check.answers.empty());
  ASSERT_EQ(check.failures.size(), 1u);
  EXPECT_EQ(check.failures[0].message, "ps_cali_flag nv fail");
}

// Every field of the dump as the record's own text view shows it, less the view's layout.
TEST_F(TypedAnswersTest, DumpAgreesWithTheRecordsTextView) {
  RecordingReply set;
  ASSERT_EQ(RunCommand("nv", "set", {"led1_rg", "0.5"}, &set), orba::cli::kOk);
  RecordingReply dump;
  ASSERT_EQ(RunCommand("nv", "dump", {}, &dump), orba::cli::kOk);
  ASSERT_EQ(dump.records.size(), 1u);
  const orba::cli::Fields& fields = dump.records[0];

  std::vector<std::string> view;
  std::string text = ReadDeviceFile("/data/vendor/engineermode/nvram_item");
  for (size_t at = 0, end; (end = text.find("\r\n", at)) != std::string::npos; at = end + 2) {
    view.push_back(text.substr(at, end - at));
  }
  // The view opens with a line naming itself.
  ASSERT_FALSE(view.empty());
  EXPECT_EQ(view[0].rfind("nv=", 0), 0u) << view[0];
  view.erase(view.begin());
  ASSERT_EQ(view.size(), fields.size());
  for (size_t i = 0; i < view.size(); ++i) {
    const std::string& line = view[i];
    size_t eq = line.find('=');
    ASSERT_NE(eq, std::string::npos) << line;
    EXPECT_EQ(fields[i].name.substr(0, fields[i].name.find(':')), line.substr(0, eq));
    std::string value = line.substr(eq + 1);
    value.erase(0, value.find_first_not_of(' '));
    EXPECT_EQ(fields[i].value.Plain(), value) << fields[i].name;
  }
}

// The families' own table: what help and completion show.
const char* const kFamilies[] = {"nv",   "backnv",   "sn",      "cali",   "otp",     "identity",
                                 "storage", "ntc",   "pcb",     "em-flag", "feature", "policy",
                                 "propfile", "md5",  "sha256",  "ini",    "zip",     "copy",
                                 "tfdata"};

TEST(CommandTableTest, EveryCommandHasARunnableExampleAndCompleteSummary) {
  for (const char* name : kFamilies) {
    const orba::cli::Family* family = nullptr;
    for (const orba::cli::Family* f : orba::cli::Families()) {
      if (std::string_view(f->name) == name) family = f;
    }
    ASSERT_NE(family, nullptr) << name;
    for (const orba::cli::Command& c : family->commands) {
      const std::string line = std::string(name) + " " + c.name;
      ASSERT_NE(c.example, nullptr) << line;
      // The example runs this command.
      const std::string command = c.name[0] != '\0' ? line : name;
      const std::string example = c.example;
      EXPECT_TRUE(example == command || example.rfind(command + " ", 0) == 0) << example;
      // No value list left open-ended.
      for (const char* open : {"...", "\xe2\x80\xa6", "etc.", ", etc"}) {
        EXPECT_EQ(std::string(c.summary).find(open), std::string::npos) << line;
        EXPECT_EQ(std::string(family->summary).find(open), std::string::npos) << name;
      }
    }
  }
}

TEST(CommandTableTest, ArgumentValuesAreTheOnesTheCommandTakes) {
  const orba::cli::Command* get = FindCommand("cali", "get");
  ASSERT_NE(get, nullptr);
  ASSERT_NE(get->values, nullptr);
  std::vector<std::string> items = get->values(0);
  ASSERT_GE(items.size(), 49u);
  // Every listed item passes the command's own check (which exits 2 before touching a device).
  for (const std::string& item : items) {
    RecordingReply reply;
    RunCommand("cali", "set", {item, "x"}, &reply);
    ASSERT_EQ(reply.failures.size(), 1u) << item;
    EXPECT_NE(reply.failures[0].message.find("state 'x'"), std::string::npos)
        << item << ": " << reply.failures[0].message;
  }
  EXPECT_EQ(FindCommand("cali", "set")->values(1).size(), 10u);

  const orba::cli::Command* nv = FindCommand("nv", "get");
  ASSERT_NE(nv->values, nullptr);
  std::vector<std::string> fields = nv->values(0);
  EXPECT_EQ(fields.size(), 138u);
  for (const char* name : {"mtk_nv_checksum", "gyroscope_calibration_flag:2", "xole_sv"}) {
    EXPECT_NE(std::find(fields.begin(), fields.end(), name), fields.end()) << name;
  }
  EXPECT_TRUE(nv->values(1).empty());
  EXPECT_EQ(FindCommand("em-flag", "set")->values(0), (std::vector<std::string>{"on", "off"}));
}

}  // namespace
}  // namespace orba::test
