// Clearing factory logs and the broadcasts that drive the log apps.

#include <string>
#include <vector>

#include <orbafactory/persist.h>

#include "em_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

class LogControlTest : public EmTest {
 protected:
  void SetUp() override {
    EmTest::SetUp();
    StartAtcmd();
    StartEm();
  }
  // The broadcasts the engineer-mode service received, as "action|extras".
  std::vector<std::string> Broadcasts() const {
    const std::string prefix = "doAction\tsendBroadcastFromAtcid\t\t";
    std::vector<std::string> out;
    for (const std::string& line : Calls()) {
      if (line.compare(0, prefix.size(), prefix) != 0) continue;
      std::string rest = line.substr(prefix.size());
      size_t tab = rest.find('\t');
      size_t end = rest.find('\t', tab + 1);
      out.push_back(rest.substr(0, tab) + "|" + rest.substr(tab + 1, end - tab - 1));
    }
    return out;
  }
};

constexpr const char kMtk[] = "com.mediatek.mtklogger.ADB_CMD|";
constexpr const char kOrba[] = "com.orbalog.controllog|";

TEST_F(LogControlTest, LogTypesSelectTheirBroadcasts) {
  struct {
    int already_running;
    long type;
    std::vector<std::string> sent;
  } const cases[] = {
      {0, 7,
       {std::string(kMtk) + "-e cmd_name start --ei cmd_target 7",
        std::string(kOrba) + "--es cmd_name start --es from atcid --el logtype 7"}},
      {0, 1,
       {std::string(kMtk) + "-e cmd_name start --ei cmd_target 1",
        std::string(kOrba) + "--es cmd_name start --es from atcid --el logtype 1"}},
      {0, 0,
       {std::string(kMtk) + "-e cmd_name stop --ei cmd_target 7",
        std::string(kOrba) + "--es cmd_name stop --es from atcid"}},
      {0, 4, {std::string(kOrba) + "--es cmd_name start --es from atcid --el logtype 4"}},
      {0, 9000000000L,
       {std::string(kOrba) + "--es cmd_name start --es from atcid --el logtype 9000000000"}},
      {0, -1, {}},
      {1, 7, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.already_running) + " " + std::to_string(c.type));
    WriteDeviceFile("/data/sim/em_calls", "");
    int ret = control_orba_Log(c.already_running, c.type);
    EXPECT_EQ(Broadcasts(), c.sent);
    EXPECT_EQ(ret, c.sent.empty() ? 0 : 1);
  }
}

TEST_F(LogControlTest, ExceptionLogAndClearBroadcasts) {
  LogCapture log;
  EXPECT_EQ(open_ex_log(1, 3), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_INFO, "already loging"));
  EXPECT_EQ(open_ex_log(0, 3), 1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "para: -e cmd_name start -e from atcid --ei exptype 3\r\n"))
      << log.Dump();
  EXPECT_EQ(clear_qzt_Log(), 1);
  EXPECT_EQ(Broadcasts(), (std::vector<std::string>{
                              std::string(kOrba) + "-e cmd_name start -e from atcid --ei exptype 3",
                              std::string(kOrba) + "--es from atcid --es cmd_name clear"}));
  StopEm();
  EXPECT_EQ(clear_qzt_Log(), 0);
}

TEST_F(LogControlTest, LogAppStateComesFromItsProperty) {
  EXPECT_EQ(is_orbalog_running(), 0);
  SetProp("persist.sys.log.ctrl", "yes");
  EXPECT_EQ(is_orbalog_running(), 1);
  SetProp("persist.sys.log.ctrl", "yes ");
  EXPECT_EQ(is_orbalog_running(), 0);
}

TEST_F(LogControlTest, ClearingPicksTheVariantByTheExactDirectory) {
  const char* const capture[] = {"/data/vendor/engineermode/last_factory_adb.log",
                                 "/data/vendor/engineermode/last_factory_kernel.log"};
  const char* const cache[] = {
      "/cache/recovery/last_factory_adb.log", "/cache/recovery/last_factory_kernel.log",
      "/cache/recovery/last_factory_lk.log", "/cache/recovery/last_atcid_sys_adc_test",
      "/cache/recovery/last_atcid_sys_adc_voltage_sample",
      "/cache/recovery/last_atcid_sys_adc_current_sample"};
  auto write_all = [&] {
    for (const char* p : capture) WriteDeviceFile(p, "log");
    for (const char* p : cache) WriteDeviceFile(p, "log");
  };
  auto exists = [&](const char* p) { return access(HostPath(p).c_str(), F_OK) == 0; };

  EXPECT_EQ(clear_factory_log(nullptr), -1);

  write_all();
  EXPECT_EQ(clear_factory_log("/data/vendor/engineermode"), 0);
  for (const char* p : capture) EXPECT_FALSE(exists(p)) << p;
  for (const char* p : cache) EXPECT_TRUE(exists(p)) << p;

  write_all();
  EXPECT_EQ(clear_factory_log("/data/vendor/engineermode/"), 0);
  for (const char* p : capture) EXPECT_TRUE(exists(p)) << p;
  for (const char* p : cache) EXPECT_FALSE(exists(p)) << p;

  // The AT session's logs are not removed, and a non-empty one fails the clean-up.
  struct {
    const char* content;
    int ret;
  } const at_logs[] = {{"", 0}, {"x", -1}};
  for (const auto& c : at_logs) {
    write_all();
    WriteDeviceFile("/cache/recovery/last_AT_kernel.log", c.content);
    LogCapture log;
    EXPECT_EQ(clear_factory_log("/cache"), c.ret) << c.content;
    EXPECT_EQ(log.Has(ANDROID_LOG_ERROR, "files still exist, clear factory log failed!"),
              c.ret == -1);
    EXPECT_TRUE(exists("/cache/recovery/last_AT_kernel.log"));
    for (const char* p : cache) EXPECT_FALSE(exists(p)) << p;
  }
}

}  // namespace
}  // namespace orba::test
