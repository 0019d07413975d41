// --json as a station script reads it: every line a command writes on stdout is one JSON
// object, and a command that fails leaves one object on stderr with its exit code, whatever
// kind of answer (typed fields, a record, raw output) the command gives.

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "cli/json_check.h"
#include "support/sim_device.h"

namespace {

using orba::test::ParseJsonObject;

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

TEST(JsonCheckTest, TellsJsonFromWhatOnlyLooksLikeIt) {
  struct Case {
    const char* text;
    bool object;
  };
  const std::vector<Case> cases = {
      {R"({"a":1,"b":[true,null,-0.5e3],"c":{"d":"\u00e9\n"}})", true},
      {"  {}  ", true},
      {R"({"a":1,})", false},
      {R"({'a':1})", false},
      {R"({"a":NaN})", false},
      {R"({"a":01})", false},
      {R"({"a":"tab	inside"})", false},
      {R"({"a":1} {"b":2})", false},
      {R"(["not","an","object"])", false},
      {"plain text", false},
      {"", false},
  };
  for (const Case& c : cases) EXPECT_EQ(ParseJsonObject(c.text, nullptr, nullptr), c.object) << c.text;
  std::map<std::string, std::string> members;
  ASSERT_TRUE(ParseJsonObject(R"({"exit":2,"message":"x \"y\""})", &members, nullptr));
  EXPECT_EQ(members["exit"], "2");
  EXPECT_EQ(members["message"], R"("x \"y\"")");
}

class JsonOutputTest : public orba::test::SimDeviceTest {};

// Every family's commands that only read, on a fresh device of the default profile.
TEST_F(JsonOutputTest, EveryReadingCommandAnswersInJsonLines) {
  const std::vector<std::vector<std::string>> commands = {
      {"identity"},
      {"cali", "list"},
      {"cali", "check"},
      {"cali", "items"},
      {"cali", "get", "gsensor_calibration"},
      {"nv", "dump"},
      {"nv", "get", "xole_sv"},
      {"backnv", "dump"},
      {"sn", "get"},
      {"em-flag", "get"},
      {"pcb", "get"},
      {"storage", "maker"},
      {"storage", "bom"},
      {"storage", "id"},
      {"storage", "secure-boot"},
      {"ntc"},
      {"camera", "motor-type"},
      {"camera", "halls"},
      {"camera", "angle"},
      {"prop", "get", "ro.build.version.sdk"},
      {"file", "read", "/proc/cmdline"},
      {"file", "size", "/proc/cmdline"},
      {"file", "md5", "/proc/cmdline"},
      {"md5", "/proc/cmdline", "/no/such/file"},
      {"sha256", "/proc/cmdline"},
      {"ini", "sections", "/vendor/etc/ntc.ini"},
      {"ini", "dump", "/vendor/etc/ntc.ini"},
      {"ini", "get", "/vendor/etc/ntc.ini", "type_i:board_ntc", "type_ii:chg_ntc"},
      {"policy", "read", "/proc/cmdline"},
      {"propfile", "get", "/data/local/tmp/none.prop", "key"},
      {"feature", "get", "no_such_feature"},
      {"tfdata", "type"},
      {"tfdata", "list"},
      {"tfdata", "size"},
      {"log", "status"},
      {"otp", "read", "0", "16"},
      {"laser", "xtalk"},
      {"zip", "list", "/no/such.zip"},
      {"toolcmd", "no_such_command"},
      {"em", "edition", "no_such_edition"},
      {"exec", "echo", "from the device"},
  };
  size_t answered = 0;
  for (const auto& command : commands) {
    // In front: past exec's COMMAND every word is the device command's own.
    std::vector<std::string> args = command;
    args.insert(args.begin(), "--json");
    auto r = Cli(args);
    std::string line_of;
    for (const std::string& w : command) line_of += w + " ";
    for (const std::string& line : Lines(r.out)) {
      std::string why;
      EXPECT_TRUE(ParseJsonObject(line, nullptr, &why)) << line_of << "stdout: " << why << ": " << line;
    }
    if (r.status == 0) {
      answered += r.out.empty() ? 0 : 1;
      continue;
    }
    // Notes may stand before it; the verdict is the last line, and the only object.
    const std::vector<std::string> err = Lines(r.err);
    if (err.empty()) {
      ADD_FAILURE() << line_of << "exit " << r.status << " with nothing on stderr";
      continue;
    }
    std::map<std::string, std::string> members;
    std::string why;
    EXPECT_TRUE(ParseJsonObject(err.back(), &members, &why)) << line_of << "stderr: " << why << ": " << r.err;
    EXPECT_EQ(members["exit"], std::to_string(r.status)) << line_of << r.err;
  }
  // A run where everything failed would prove nothing about answers.
  EXPECT_GE(answered, commands.size() / 2);
}

}  // namespace
