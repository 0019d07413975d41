#include <android/log.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include <orbafactory/foundation.h>
#include "support/log_capture.h"

namespace {

using orba::test::LogCapture;

std::string Tid() { return std::to_string(gettid()); }

TEST(ErrorReport, SystemApiErrorWithArgument) {
  LogCapture log;
  char out[256] = {};
  errno = ENOENT;
  log_em_system_api_err(ORBA_MODULE_CAMERA, __func__, __LINE__, "open", "/x", out);
  EXPECT_STREQ(out, "CAMERA error. open /x. reason:No such file or directory");
  ASSERT_EQ(log.Lines().size(), 1u);
  EXPECT_EQ(log.Lines()[0].priority, ANDROID_LOG_ERROR);
  EXPECT_EQ(log.Lines()[0].raw,
            "TID:" + Tid() + " MODULE:CAMERA error. open /x fail. reason:No such file or directory");
}

TEST(ErrorReport, SystemApiErrorWithoutArgument) {
  LogCapture log;
  char out[256] = {};
  errno = EACCES;
  log_em_system_api_err(ORBA_MODULE_SOC, __func__, __LINE__, "ioctl", nullptr, out);
  EXPECT_STREQ(out, "SOC error. call ioctl fail. reason:Permission denied");
  ASSERT_EQ(log.Lines().size(), 1u);
  EXPECT_EQ(log.Lines()[0].raw,
            "TID:" + Tid() + " MODULE:SOC error. call ioctl fail. reason:Permission denied");
}

TEST(ErrorReport, SystemApiErrorWithoutApiDoesNothing) {
  LogCapture log;
  char out[16] = "untouched";
  log_em_system_api_err(ORBA_MODULE_CAMERA, __func__, __LINE__, nullptr, "/x", out);
  EXPECT_STREQ(out, "untouched");
  EXPECT_TRUE(log.Lines().empty()) << log.Dump();
}

TEST(ErrorReport, CallErrorNamesTheModule) {
  struct Case {
    int module;
    int ret;
    const char* text;
  };
  const Case cases[] = {
      {ORBA_MODULE_UWB, -5, "UWB error. call module function fail. ret:-5"},
      {ORBA_MODULE_ENGINEER_MODE, 0, "ENGINEER_MODE error. call module function fail. ret:0"},
      {ORBA_MODULE_SOFTWARE, 7, "SOFTWARE error. call module function fail. ret:7"},
  };
  for (const Case& c : cases) {
    LogCapture log;
    char out[128] = {};
    log_em_call_err(c.module, __func__, __LINE__, c.ret, out);
    EXPECT_STREQ(out, c.text);
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0].raw, "TID:" + Tid() + " MODULE:" + c.text);
  }
}

TEST(ErrorReport, CheckValueErrorIsCutAt1023Characters) {
  LogCapture log;
  std::string long_text(2000, 'v');
  static char out[2048];
  log_em_check_val_err(ORBA_MODULE_SENSOR, __func__, __LINE__, out, "%s", long_text.c_str());
  EXPECT_EQ(std::string(out), std::string(1023, 'v'));
  ASSERT_EQ(log.Lines().size(), 1u);
  // liblog itself formats into 1024 bytes, so the line keeps the start of the cut message.
  std::string line = "TID:" + Tid() + " MODULE:SENSOR " + std::string(1023, 'v');
  EXPECT_EQ(log.Lines()[0].raw, line.substr(0, 1023));
}

TEST(ErrorReport, ModuleLevelsAndDebugSwitch) {
  struct Case {
    int level;
    bool debug_on;
    int expected_priority;  // 0: nothing logged
  };
  const Case cases[] = {
      {ORBA_EM_LEVEL_ERROR, false, ANDROID_LOG_ERROR}, {ORBA_EM_LEVEL_INFO, false, ANDROID_LOG_INFO},
      {ORBA_EM_LEVEL_DEBUG, false, 0},                 {ORBA_EM_LEVEL_DEBUG, true, ANDROID_LOG_DEBUG},
      {0, true, 0},                                    {2, true, 0},
      {5, true, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(testing::Message() << "level " << c.level << " debug " << c.debug_on);
    if (c.debug_on) enable_debug_log();
    LogCapture log;
    log_em_module(c.level, ORBA_MODULE_AUDIO, __func__, __LINE__, "value %d", 42);
    disable_debug_log();
    if (c.expected_priority == 0) {
      EXPECT_TRUE(log.Lines().empty()) << log.Dump();
      continue;
    }
    ASSERT_EQ(log.Lines().size(), 1u);
    EXPECT_EQ(log.Lines()[0].priority, c.expected_priority);
    // The module argument is ignored: the message follows "MODULE:" directly.
    EXPECT_EQ(log.Lines()[0].raw, "TID:" + Tid() + " MODULE:value 42");
  }
  LogCapture after;
  log_em_module(ORBA_EM_LEVEL_DEBUG, ORBA_MODULE_AUDIO, __func__, __LINE__, "off again");
  EXPECT_TRUE(after.Lines().empty()) << after.Dump();
}

}  // namespace
