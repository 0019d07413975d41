// The device's logcat, run the way a script on the device runs it: /system/bin/logcat.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace {

using orba::test::ProgramResult;
using orba::test::RunProgram;

// Two services' records as liblog writes them, and a line a service printed itself.
const char kLog[] =
    "hal I 11-24 17:25:01  4930  4931 serving\n"
    "models W 11-24 17:25:02  4942  4942 node busy\n"
    "a line a service printed itself\n"
    "hal E 11-24 17:25:03  4930  4932 request failed\n";

class LogcatTest : public orba::test::DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    auto init = RunProgram({orba::test::BinPath("orbafactory-sim"), "init", "--root", root()});
    ASSERT_EQ(init.status, 0) << init.err;
    WriteDeviceFile("/data/sim/logcat", kLog);
  }

  ProgramResult Logcat(std::vector<std::string> args) const {
    args.insert(args.begin(), HostPath("/system/bin/logcat"));
    return RunProgram(args);
  }
};

TEST_F(LogcatTest, FlagsInAnyOrder) {
  const std::string threadtime =
      "11-24 17:25:01  4930  4931 I hal     : serving\n"
      "11-24 17:25:02  4942  4942 W models  : node busy\n"
      "a line a service printed itself\n"
      "11-24 17:25:03  4930  4932 E hal     : request failed\n";
  const struct {
    std::vector<std::string> args;
    std::string out;
  } cases[] = {
      {{"-d"}, threadtime},
      {{"-v", "time", "-d"},
       "11-24 17:25:01 I/hal     ( 4930): serving\n"
       "11-24 17:25:02 W/models  ( 4942): node busy\n"
       "a line a service printed itself\n"
       "11-24 17:25:03 E/hal     ( 4930): request failed\n"},
      {{"-d", "-v", "brief"},
       "I/hal     ( 4930): serving\n"
       "W/models  ( 4942): node busy\n"
       "a line a service printed itself\n"
       "E/hal     ( 4930): request failed\n"},
      {{"-dvraw"}, "serving\nnode busy\na line a service printed itself\nrequest failed\n"},
      {{"-v", "tag", "-d", "-s", "models"}, "W/models  : node busy\n"},
      {{"-s", "hal", "-d", "-v", "thread"},
       "I( 4930: 4931) serving\nE( 4930: 4932) request failed\n"},
      {{"-d", "-v", "process", "hal:E", "-s"}, "E( 4930) request failed  (hal)\n"},
      {{"*:W", "-d", "-v", "raw"}, "node busy\nrequest failed\n"},
      {{"-v", "long", "-d", "-s", "models:W"}, "[ 11-24 17:25:02  4942: 4942 W/models   ]\nnode busy\n\n"},
      {{"-t", "2"}, threadtime.substr(threadtime.find("a line"))},
      {{"-v", "raw", "-t", "1", "-s", "hal"}, "request failed\n"},
  };
  for (const auto& c : cases) {
    std::string line;
    for (const std::string& a : c.args) line += " " + a;
    ProgramResult r = Logcat(c.args);
    EXPECT_EQ(r.status, 0) << "logcat" << line << "\n" << r.err;
    EXPECT_EQ(r.out, c.out) << "logcat" << line;
  }
}

TEST_F(LogcatTest, RefusesWhatItDoesNotTakeAtOnce) {
  const struct {
    std::vector<std::string> args;
    std::string complaint;
  } cases[] = {
      {{"-x"}, "unknown option -x"},
      {{"-d", "-b", "main"}, "unknown option -b"},
      {{"--follow"}, "unknown option --follow"},
      {{"-v"}, "-v needs a value"},
      {{"-v", "fancy", "-d"}, "unknown format 'fancy'"},
      {{"-t", "many"}, "-t takes a count of records"},
      {{"-t", "0"}, "-t takes a count of records"},
      {{"hal:Q", "-d"}, "bad filter 'hal:Q'"},
      {{":I", "-d"}, "bad filter ':I'"},
  };
  for (const auto& c : cases) {
    std::string line;
    for (const std::string& a : c.args) line += " " + a;
    // Without -d a working logcat would follow the log: only a refusal ends the program.
    ProgramResult r = Logcat(c.args);
    EXPECT_EQ(r.status, 2) << "logcat" << line;
    EXPECT_EQ(r.out, "") << "logcat" << line;
    EXPECT_NE(r.err.find(c.complaint), std::string::npos) << "logcat" << line << "\n" << r.err;
    EXPECT_NE(r.err.find("usage: logcat"), std::string::npos) << "logcat" << line;
  }
}

TEST_F(LogcatTest, ClearsAndWritesToADeviceFile) {
  ProgramResult r = Logcat({"-f", "/data/local/tmp/log.txt", "-v", "raw", "-s", "hal", "-d"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(ReadDeviceFile("/data/local/tmp/log.txt"), "serving\nrequest failed\n");

  r = Logcat({"-c"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(ReadDeviceFile("/data/sim/logcat"), "");
  r = Logcat({"-d"});
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out, "");
}

TEST_F(LogcatTest, OtherDeviceToolsRefuseUnknownFlags) {
  const struct {
    const char* tool;
    std::vector<std::string> args;
  } cases[] = {
      {"getprop", {"-x"}}, {"setprop", {"-x", "1"}}, {"start", {"-x"}},
      {"stop", {"--all"}}, {"ps", {"-x"}},
  };
  for (const auto& c : cases) {
    std::vector<std::string> argv = {HostPath(std::string("/system/bin/") + c.tool)};
    argv.insert(argv.end(), c.args.begin(), c.args.end());
    ProgramResult r = RunProgram(argv);
    EXPECT_EQ(r.status, 2) << c.tool << " " << c.args[0] << "\n" << r.out << r.err;
    EXPECT_NE(r.err.find(std::string(c.tool) + ": unknown option " + c.args[0]),
              std::string::npos)
        << r.err;
    EXPECT_NE(r.err.find(std::string("usage: ") + c.tool), std::string::npos) << r.err;
  }
  // What they do take still works: a negative value, and ps's "every process".
  EXPECT_EQ(RunProgram({HostPath("/system/bin/setprop"), "sim.laser.init_ret", "-1"}).status, 0);
  EXPECT_EQ(RunProgram({HostPath("/system/bin/getprop"), "sim.laser.init_ret"}).out, "-1\n");
  ProgramResult ps = RunProgram({HostPath("/system/bin/ps"), "-A"});
  EXPECT_EQ(ps.status, 0) << ps.err;
  EXPECT_EQ(ps.out.rfind("USER", 0), 0u) << ps.out;
}

// Reads from `fd` until `text` has arrived; false when the reader ends first or nothing comes for
// a long while (a failure, not a timing).
bool ReadUntil(int fd, const std::string& text, std::string* seen) {
  while (seen->find(text) == std::string::npos) {
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, 20000) != 1) return false;
    char buf[4096];
    ssize_t n = read(fd, buf, sizeof(buf));
    if (n <= 0) return false;
    seen->append(buf, static_cast<size_t>(n));
  }
  return true;
}

TEST_F(LogcatTest, FollowsWithoutDumpAndFiltersWhatComes) {
  int fds[2];
  ASSERT_EQ(pipe2(fds, O_CLOEXEC), 0);
  const std::string program = HostPath("/system/bin/logcat");
  pid_t pid = fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    dup2(fds[1], STDOUT_FILENO);
    execl(program.c_str(), "logcat", "-s", "-v", "raw", "hal", static_cast<char*>(nullptr));
    _exit(127);
  }
  close(fds[1]);
  std::string seen;
  EXPECT_TRUE(ReadUntil(fds[0], "request failed\n", &seen)) << seen;
  {
    std::ofstream log(HostPath("/data/sim/logcat"), std::ios::app);
    log << "models I 11-24 17:26:00  4942  4942 not for this reader\n"
        << "hal I 11-24 17:26:01  4930  4931 written later\n";
  }
  EXPECT_TRUE(ReadUntil(fds[0], "written later\n", &seen)) << seen;
  EXPECT_EQ(seen, "serving\nrequest failed\nwritten later\n");
  kill(pid, SIGTERM);
  int status = 0;
  waitpid(pid, &status, 0);
  close(fds[0]);
}

}  // namespace
