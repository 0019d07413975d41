// An interrupted step puts back what it changed: SIGINT or SIGTERM in mid-step, sent once the
// step is seen under way on the device, stops the motor, restores the refresh rate and ends the
// command the device runs; the tool then ends by that signal. A capture, which runs until
// interrupted, ends normally instead.

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <android-base/file.h>
#include <gtest/gtest.h>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

// Polls for an event on the device, with a generous bound so a lost event fails rather than
// hangs.
bool Await(const std::function<bool()>& event) {
  auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (!event()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

// Processes of the device whose command line is `argv`, NULs between the words.
bool DeviceRuns(const std::string& root, const std::string& cmdline) {
  DIR* proc = opendir("/proc");
  if (proc == nullptr) return false;
  bool found = false;
  while (dirent* e = readdir(proc)) {
    if (atoi(e->d_name) <= 1) continue;
    const std::string dir = std::string("/proc/") + e->d_name;
    std::string cmd, env;
    android::base::ReadFileToString(dir + "/cmdline", &cmd);
    if (cmd != cmdline) continue;
    android::base::ReadFileToString(dir + "/environ", &env);
    if (env.find("ORBA_DEVICE_ROOT=" + root + '\0') != std::string::npos) found = true;
  }
  closedir(proc);
  return found;
}

class InterruptCliTest : public DeviceRootTest {
 protected:
  void Start(const char* profile) {
    ASSERT_EQ(Sim({"init", "--profile", profile}).status, 0);
    ASSERT_EQ(Sim({"start"}).status, 0);
  }
  void TearDown() override {
    Sim({"stop"});
    DeviceRootTest::TearDown();
  }
  ProgramResult Sim(std::vector<std::string> args) const {
    args.insert(args.begin(), BinPath("orbafactory-sim"));
    args.insert(args.end(), {"--root", root()});
    return RunProgram(args);
  }
  ProgramResult Cli(std::vector<std::string> args) const {
    args.insert(args.begin(), {BinPath("orbafactory"), "--root", root()});
    return RunProgram(args);
  }
  // Starts `orbafactory ARGS` in the background, its output dropped.
  pid_t Launch(std::vector<std::string> args) const {
    args.insert(args.begin(), {BinPath("orbafactory"), "--root", root()});
    return StartChild([args] {
      int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
      dup2(null, 1);
      dup2(null, 2);
      std::vector<char*> argv;
      for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
      argv.push_back(nullptr);
      execv(argv[0], argv.data());
      return 127;
    });
  }
  // Sends `sig` and checks the tool ended by it.
  void Interrupt(pid_t pid, int sig) const {
    ASSERT_EQ(kill(pid, sig), 0);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == sig) << "status " << status;
  }
  // The last command the rotary motor took, from the model's log.
  std::string LastRotaryCommand() const {
    std::string log = ReadDeviceFile("/data/sim/motor_log");
    size_t at = log.rfind(" motor5 ");
    if (at == std::string::npos) return "";
    return log.substr(at + 8, log.find('\n', at) - at - 8);
  }
};

TEST_F(InterruptCliTest, ExecEndsTheCommandOnTheDevice) {
  Start("default");
  for (int sig : {SIGINT, SIGTERM}) {
    pid_t pid = Launch({"exec", "sleep", "300"});
    ASSERT_TRUE(Await([&] { return DeviceRuns(root(), std::string("sleep\0" "300\0", 10)); }));
    Interrupt(pid, sig);
    EXPECT_TRUE(Await([&] { return !DeviceRuns(root(), std::string("sleep\0" "300\0", 10)); }))
        << "signal " << sig;
  }
}

TEST_F(InterruptCliTest, TouchTestPutsTheRefreshRateBack) {
  Start("default");
  ASSERT_EQ(Cli({"em", "send", "get_lcm_refreshrate", "current"}).out, "120\n");
  pid_t pid = Launch({"touch", "test", "166", "30", "60"});
  ASSERT_TRUE(Await([&] { return Cli({"em", "send", "get_lcm_refreshrate", "current"}).out == "60\n"; }));
  Interrupt(pid, SIGINT);
  EXPECT_TRUE(
      Await([&] { return Cli({"em", "send", "get_lcm_refreshrate", "current"}).out == "120\n"; }));
}

TEST_F(InterruptCliTest, TurnsStopTheMotor) {
  Start("rotary");
  for (const char* way : {"positively", "negatively"}) {
    const std::string before = ReadDeviceFile("/data/sim/motor_log");
    pid_t pid = Launch({"camera", "max", way});
    // Under way: the turn's long command is in the log.
    ASSERT_TRUE(Await([&] {
      const std::string log = ReadDeviceFile("/data/sim/motor_log");
      return log.size() > before.size() && log.find(" motor5 ", before.size()) != std::string::npos;
    }));
    ASSERT_NE(LastRotaryCommand(), "0");
    Interrupt(pid, SIGINT);
    // The model takes the stop when it sees the node change; without one the long command
    // would stay the last for good.
    EXPECT_TRUE(Await([&] { return LastRotaryCommand() == "0"; })) << way;
  }
}

// A capture runs until Ctrl-C: there the interrupt is the step's normal end, not a failure.
TEST_F(InterruptCliTest, CaptureEndsNormallyOnInterrupt) {
  Start("default");
  const std::string capture = root() + "/data/vendor/engineermode/last_factory_adb.log";
  for (int sig : {SIGINT, SIGTERM}) {
    unlink(capture.c_str());  // this run's capture is under way once the file is back
    pid_t pid = Launch({"log", "start"});
    ASSERT_TRUE(Await([&] {
      return !ReadDeviceFile("/data/vendor/engineermode/last_factory_adb.log").empty();
    }));
    ASSERT_EQ(kill(pid, sig), 0);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "signal " << sig << ", status "
                                                              << status;
  }
}

}  // namespace
}  // namespace orba::test
