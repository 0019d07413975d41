// The tool-command sequencer against real scripts under the recovery cache.

#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include <orbafactory/config.h>
#include <orbafactory/factorydata.h>

#include "factorydata_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

constexpr const char kScript[] = "/cache/recovery/last_tool_test_app.ini";

class ToolCommandTest : public FactoryDataTest {
 protected:
  std::string Prop(const char* name) {
    char value[PROPERTY_VALUE_MAX] = {};
    property_get(name, value, "");
    return value;
  }
  std::string ScriptValue(const char* key) {
    dictionary* d = iniparser_load(kScript);
    std::string v = d != nullptr ? iniparser_getstring(d, key, "<none>") : "<unreadable>";
    iniparser_freedict(d);
    return v;
  }
};

// Three commands a loop; each loop answers with its own number.
std::string Script(int loop_total, int loop_current, int cmd_current) {
  std::string s = "[tool_test_app]\nloop_total = " + std::to_string(loop_total) +
                  "\nloop_current = " + std::to_string(loop_current) +
                  "\ncmd_total = 3\ncmd_current = " + std::to_string(cmd_current) + "\n";
  for (int l = 0; l < loop_total; ++l) {
    s += "[loop" + std::to_string(l) + "]\n";
    const char* cmds[] = {"AT+START", "AT+TEST", "AT+STOP"};
    for (int i = 0; i < 3; ++i) {
      s += "command" + std::to_string(i) + " = " + cmds[i] + "\n";
      s += "delay_time" + std::to_string(i) + " = " + std::to_string(100 * l + i) + "\n";
      if (i != 1) s += "response" + std::to_string(i) + " = L" + std::to_string(l) + "\n";
    }
  }
  return s;
}

TEST_F(ToolCommandTest, WalksTheLoopsAndRecordsThePosition) {
  WriteDeviceFile(kScript, Script(3, 0, -1));
  struct Step {
    int loop;
    int index;
    const char* command;
  };
  // The last loop (2 of 3) is never entered.
  const std::vector<Step> steps = {{0, 0, "AT+START"}, {0, 1, "AT+TEST"}, {0, 2, "AT+STOP"},
                                   {1, 0, "AT+START"}, {1, 1, "AT+TEST"}, {1, 2, "AT+STOP"},
                                   {0, 0, "AT+START"}, {0, 1, "AT+TEST"}, {0, 2, "AT+STOP"},
                                   {1, 0, "AT+START"}};
  for (size_t n = 0; n < steps.size(); ++n) {
    const Step& s = steps[n];
    tool_test_app_command out{};
    ASSERT_EQ(tool_test_app_command_ini(s.command, &out), 0) << "step " << n;
    EXPECT_STREQ(out.command, s.command);
    EXPECT_EQ(out.delay_time, 100 * s.loop + s.index) << "step " << n;
    if (s.index == 1) {
      EXPECT_EQ(out.response, nullptr);
    } else {
      EXPECT_STREQ(out.response, ("L" + std::to_string(s.loop) + "\r\n").c_str()) << n;
    }
    int next_loop = s.index == 2 ? (s.loop == 0 ? 1 : 0) : s.loop;
    EXPECT_EQ(Prop("sys.tool_test_app.cmd_current"), std::to_string(s.index));
    EXPECT_EQ(ScriptValue("tool_test_app:cmd_current"), std::to_string(s.index));
    EXPECT_EQ(ScriptValue("tool_test_app:loop_current"), std::to_string(next_loop)) << n;
    if (s.index == 2) {
      EXPECT_EQ(Prop("sys.tool_test_app.loop_current"), std::to_string(next_loop));
    }
    tool_test_app_command_free(&out);
    EXPECT_EQ(out.command, nullptr);
    EXPECT_EQ(out.response, nullptr);
  }
}

TEST_F(ToolCommandTest, SearchStartAndReset) {
  const char* kCommands =
      "[loop0]\ncommand0 = AT+X\ncommand1 = AT+Y\ncommand2 = AT+X\ncommand3 = AT+Z\n"
      "command4 = AT+W\nresponse2 = OK\\\\DONE\ndelay_time2 = -5\n";
  struct Case {
    const char* name;
    int cmd_total;
    int cmd_current;
    const char* received;
    int rc;
    const char* cmd_property;  // after the call
  };
  const Case cases[] = {
      // After AT+Y the received AT+X is the one that follows, not the first one.
      {"expected next", 5, 1, "AT+X", 0, "2"},
      {"out of order, from the top", 5, 3, "AT+X", 0, "0"},
      {"kept position on a miss", 5, 3, "AT+NONE", -1, ""},
      {"position at the last command is reset", 4, 3, "AT+NONE", -1, "-1"},
      {"negative position is reset", 5, -7, "AT+NONE", -1, "-1"},
      {"not among the first cmd_total", 2, 0, "AT+Z", -1, ""},
  };
  for (const Case& c : cases) {
    ASSERT_EQ(property_set("sys.tool_test_app.cmd_current", ""), 0);
    WriteDeviceFile(kScript, "[tool_test_app]\nloop_total = 2\nloop_current = 0\ncmd_total = " +
                                 std::to_string(c.cmd_total) + "\ncmd_current = " +
                                 std::to_string(c.cmd_current) + "\n" + kCommands);
    tool_test_app_command out{};
    EXPECT_EQ(tool_test_app_command_ini(c.received, &out), c.rc) << c.name;
    EXPECT_EQ(Prop("sys.tool_test_app.cmd_current"), c.cmd_property) << c.name;
    if (c.rc == 0 && std::string(c.cmd_property) == "2") {
      EXPECT_STREQ(out.response, "OK\r\nDONE\r\n");
      EXPECT_EQ(out.delay_time, -5);
    }
    if (c.rc != 0) {
      EXPECT_EQ(out.command, nullptr) << c.name;
    }
    tool_test_app_command_free(&out);
  }
}

TEST_F(ToolCommandTest, BrokenScripts) {
  tool_test_app_command out{};
  LogCapture log;
  EXPECT_EQ(tool_test_app_command_ini("AT+X", &out), -1);
  EXPECT_TRUE(log.Lines().empty()) << log.Dump();

  // A gap in the commands ends the search, and a result left from before is released.
  WriteDeviceFile(kScript,
                  "[tool_test_app]\nloop_total = 1\ncmd_total = 3\n"
                  "[loop0]\ncommand0 = AT+A\ncommand1 = X\ncommand2 = AT+C\n");
  out.command = strdup("stale");
  EXPECT_EQ(tool_test_app_command_ini("AT+C", &out), -1);
  EXPECT_EQ(out.command, nullptr);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "not found loop0:command1")) << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_INFO,
                      "loop_total=1,loop_current=0,cmd_total=3,cmd_current=0"));

  WriteDeviceFile(kScript, "[tool_test_app\nbroken");
  EXPECT_EQ(tool_test_app_command_ini("AT+A", &out), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_INFO, std::string("cannot parse file: ") + kScript));
  tool_test_app_command_free(nullptr);
}

}  // namespace
}  // namespace orba::test
