// orbafactory touch: the touch controller's self-tests through the driver's test node.

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <strings.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <android-base/file.h>
#include <android-base/unique_fd.h>

#include <orbafactory/engineer.h>
#include <orbafactory/sensors.h>
#include <platform/devpath.h>

#include "command.h"

namespace {

using orba::cli::Args;

struct TouchTest {
  const char* value;
  const char* what;
  const char* result_file;
};

// The driver's test numbers; the library writes each one's result where the station reads it.
constexpr TouchTest kTests[] = {
    {"165", "calibration", "/data/engineermode/tp_at_sensor_cali"},
    {"166", "self-test", "/data/engineermode/tp_at_sensor_test"},
    {"167", "calibration (back)", "/data/engineermode/tp_at_sensor_cali_back"},
    {"168", "self-test (back)", "/data/engineermode/tp_at_sensor_test_back"},
    {"169", "special calibration", "/data/engineermode/tp_at_sensor_cali_sepcial"},
};

std::string ReadResult(const char* path) {
  std::string text;
  android::base::unique_fd fd(open(DevPath(path), O_RDONLY | O_CLOEXEC));
  if (fd.get() >= 0) android::base::ReadFdToString(fd.get(), &text);
  return text;
}

// The panel's refresh rate as the engineer-mode app reports it, or "" when it does not answer.
std::string CurrentRate() {
  const char* reply = sendMessage("get_lcm_refreshrate current");
  std::string rate = reply != nullptr ? reply : "";
  return rate == "error" ? "" : rate;
}

// A controller's verdict reads "PASS..." when every channel is within its limits; anything else
// (a FAIL line, a number, an empty node) is not a pass.
bool IsPass(const std::string& result) { return strncasecmp(result.c_str(), "PASS", 4) == 0; }

int Test(const Args& args, orba::cli::Reply& reply) {
  const TouchTest* test = nullptr;
  for (const TouchTest& t : kTests) {
    if (args[0] == t.value) test = &t;
  }
  if (test == nullptr) {
    return orba::cli::Error(reply, orba::cli::kUsage,
                            "touch test: VALUE is one of 165..169, not '%s'", args[0].c_str());
  }
  long seconds = 2;
  long rate = 0;
  if (args.size() > 1 &&
      !orba::cli::ParseIntIn(reply, args[1], "touch test SECONDS", 0, 600, &seconds)) {
    return orba::cli::kUsage;
  }
  if (args.size() > 2 &&
      !orba::cli::ParseIntIn(reply, args[2], "touch test RATE", 0, 1000, &rate)) {
    return orba::cli::kUsage;
  }
  // The library switches the rate and its collecting thread puts it back once the driver has
  // answered; an interrupted test must put it back itself.
  const std::string before = CurrentRate();
  orba::cli::Undo restore("refresh rate back to " + before, [before] {
    if (before.empty()) return;
    const std::string request = "set_lcm_refreshrate " + before;
    sendMessage(request.c_str());
  });
  int ret = touchpanel_sensor_test(static_cast<int>(seconds), test->value, static_cast<int>(rate));
  if (ret != 0) {
    // The rate was switched before the driver refused the test, and no collecting thread runs
    // to switch it back.
    if (!before.empty() && CurrentRate() != before) {
      const std::string request = "set_lcm_refreshrate " + before;
      sendMessage(request.c_str());
    }
    if (ret >= -1) {
      return orba::cli::Fail(reply, "touch test %s: not started (%d)", test->value, ret);
    }
    return orba::cli::Error(reply, orba::cli::kFailed, "touch test %s: not started (%d): %s",
                            test->value, ret, strerror(-ret));
  }
  reply.Note(orba::cli::Format("touch %s started; result in %ld s", test->what, seconds));
  // The collecting thread replaces "testing" with the driver's answer, then restores the rate.
  std::string result;
  for (long waited = 0; waited < (seconds + 5) * 10; ++waited) {
    usleep(100 * 1000);
    result = ReadResult(test->result_file);
    if (!result.empty() && result != "testing") break;
    if (waited % 10 == 9 && reply.Interactive()) {
      reply.Note(orba::cli::Format("touch: waiting %lds...", (waited + 1) / 10));
    }
  }
  if (result.empty() || result == "testing") {
    return orba::cli::Error(reply, orba::cli::kFailed, "touch test %s: no result in %s",
                            test->value, test->result_file);
  }
  // The rate is put back just before the result is written; wait until the panel shows it.
  for (int i = 0; !before.empty() && CurrentRate() != before; ++i) {
    if (i == 30) {
      return orba::cli::Error(reply, orba::cli::kFailed,
                              "touch test %s: the refresh rate did not return to %s", test->value,
                              before.c_str());
    }
    usleep(100 * 1000);
  }
  reply.Answer({{"result", result}});
  if (!IsPass(result)) {
    return orba::cli::Error(reply, orba::cli::kFailed,
                            "touch test %s: the driver's result is not a pass", test->value);
  }
  return orba::cli::kOk;
}

std::vector<std::string> TestValues(size_t index) {
  if (index != 0) return {};
  std::vector<std::string> values;
  for (const TouchTest& t : kTests) values.emplace_back(t.value);
  return values;
}

const orba::cli::Family kTouch{
    "touch",
    "touch-panel self-tests",
    {
        {"test", "VALUE [SECONDS] [RATE]",
         "run test VALUE (165 calibration, 166 self-test, 167 calibration of the back panel, "
         "168 self-test of the back panel, 169 special calibration) at refresh RATE (0 to 1000 "
         "Hz, 0: the panel's maximum), wait SECONDS (0 to 600, default 2) and print the "
         "driver's result; exit 0 only for a result that reads PASS, with the refresh rate back "
         "where it was",
         1, 3, Test, "touch test 166 2 60", TestValues},
    }};
orba::cli::Registrar registrar(kTouch);

}  // namespace
