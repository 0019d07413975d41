// One device is one device: a command acts only on the device its root names, a stopped device
// starts nothing behind the caller's back, start and stop take turns, and stop finds a device's
// processes even after its root is gone.

#include <dirent.h>
#include <stdlib.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

// Host processes that run with ORBA_DEVICE_ROOT=root: the device's own and anything they
// started.
std::vector<pid_t> ProcessesOf(const std::string& root) {
  std::vector<pid_t> found;
  DIR* proc = opendir("/proc");
  if (proc == nullptr) return found;
  const std::string want = "ORBA_DEVICE_ROOT=" + root;
  while (dirent* e = readdir(proc)) {
    pid_t pid = atoi(e->d_name);
    if (pid <= 1 || pid == getpid()) continue;
    std::string env = RunProgram({"/bin/cat", "/proc/" + std::to_string(pid) + "/environ"}).out;
    for (size_t at = 0; at < env.size();) {
      size_t end = env.find('\0', at);
      if (end == std::string::npos) end = env.size();
      if (env.compare(at, end - at, want) == 0) found.push_back(pid);
      at = end + 1;
    }
  }
  closedir(proc);
  return found;
}

class OneDeviceTest : public DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    std::string templ = ScratchDir() + "/orba-other-XXXXXX";
    ASSERT_NE(mkdtemp(templ.data()), nullptr);
    other_ = templ;
    ASSERT_EQ(RunProgram({"/bin/rmdir", other_}).status, 0);
  }
  void TearDown() override {
    Sim({"stop"}, root());
    Sim({"stop"}, other_);
    RunProgram({"/bin/rm", "-rf", other_});
    DeviceRootTest::TearDown();
  }
  ProgramResult Sim(std::vector<std::string> args, const std::string& root) const {
    args.insert(args.begin(), BinPath("orbafactory-sim"));
    args.insert(args.end(), {"--root", root});
    return RunProgram(args);
  }
  // orbafactory in a shell set up for device `shell_root` (its tools first on PATH), acting on
  // `root`.
  ProgramResult CliFrom(const std::string& shell_root, const std::string& root,
                        const std::string& args) const {
    return RunProgram({"/bin/sh", "-c",
                       "eval \"$(" + BinPath("orbafactory-sim") + " env --root '" + shell_root +
                           "')\" && " + BinPath("orbafactory") + " --root '" + root + "' " + args});
  }
  // The services status reports running: one process each is what a started device has.
  size_t RunningServices(const std::string& root) const {
    const std::string out = Sim({"status"}, root).out;
    size_t count = 0;
    for (size_t at = out.find("running (pid"); at != std::string::npos;
         at = out.find("running (pid", at + 1)) {
      ++count;
    }
    return count;
  }
  std::string AtcmdPid(const std::string& root) const {
    std::string text;
    RunProgram({"/bin/cat", root + "/data/sim/run/orbaatcmd-hal-1-0.pid"}).out.swap(text);
    return text;
  }
  std::string other_;
};

TEST_F(OneDeviceTest, AStoppedDeviceIsExitThreeAndStartsNothing) {
  ASSERT_EQ(Sim({"init"}, root()).status, 0);
  ProgramResult r = RunProgram({BinPath("orbafactory"), "--root", root(), "prop", "get", "x"});
  EXPECT_EQ(r.status, 3);
  EXPECT_NE(r.err.find("the device is stopped: orbafactory-sim start --root " + root()),
            std::string::npos)
      << r.err;
  // The device's own start tool, which the library's restart runs, refuses as well.
  ProgramResult tool = RunProgram({root() + "/system/bin/start", "orbaatcmd-hal-1-0"});
  EXPECT_EQ(tool.status, 3) << tool.err;
  EXPECT_TRUE(ProcessesOf(root()).empty());

  // Once stopped after running, the same.
  ASSERT_EQ(Sim({"start"}, root()).status, 0);
  ASSERT_EQ(Sim({"stop"}, root()).status, 0);
  EXPECT_EQ(RunProgram({BinPath("orbafactory"), "--root", root(), "identity"}).status, 3);
  EXPECT_TRUE(ProcessesOf(root()).empty());
}

TEST_F(OneDeviceTest, ACommandForOneDeviceLeavesAnotherAlone) {
  ASSERT_EQ(Sim({"init"}, root()).status, 0);
  ASSERT_EQ(Sim({"start"}, root()).status, 0);
  const std::string pid_a = AtcmdPid(root());
  ASSERT_FALSE(pid_a.empty());

  // B stopped, then B missing, from a shell set up for A.
  ASSERT_EQ(Sim({"init"}, other_).status, 0);
  EXPECT_EQ(CliFrom(root(), other_, "identity").status, 3);
  EXPECT_EQ(CliFrom(root(), other_ + "/typo", "identity").status, 3);
  EXPECT_EQ(AtcmdPid(root()), pid_a);

  // B running with its AT-command service down: the library's restart brings back B's, not A's.
  ASSERT_EQ(Sim({"start"}, other_).status, 0);
  ASSERT_EQ(Sim({"stop", "orbaatcmd-hal-1-0"}, other_).status, 0);
  CliFrom(root(), other_, "prop get ro.build.version.sdk");
  EXPECT_EQ(AtcmdPid(root()), pid_a);
  EXPECT_FALSE(AtcmdPid(other_).empty()) << "B's service was not restarted";
}

TEST_F(OneDeviceTest, ConcurrentStartsStartEachServiceOnce) {
  ASSERT_EQ(Sim({"init"}, root()).status, 0);
  ProgramResult first, second;
  std::thread a([&] { first = Sim({"start"}, root()); });
  std::thread b([&] { second = Sim({"start"}, root()); });
  a.join();
  b.join();
  EXPECT_EQ(first.status, 0) << first.err;
  EXPECT_EQ(second.status, 0) << second.err;
  // Every service once, one process each.
  const size_t services = RunningServices(root());
  EXPECT_GE(services, 3u);
  EXPECT_EQ(ProcessesOf(root()).size(), services);
  ASSERT_EQ(Sim({"stop"}, root()).status, 0);
  EXPECT_TRUE(ProcessesOf(root()).empty());
}

TEST_F(OneDeviceTest, StopFindsTheProcessesOfARemovedRoot) {
  ASSERT_EQ(Sim({"init"}, other_).status, 0);
  ASSERT_EQ(Sim({"start"}, other_).status, 0);
  const size_t services = RunningServices(other_);
  ASSERT_GE(services, 3u);
  ASSERT_EQ(ProcessesOf(other_).size(), services);
  ASSERT_EQ(RunProgram({"/bin/rm", "-rf", other_}).status, 0);
  ProgramResult stop = Sim({"stop"}, other_);
  EXPECT_EQ(stop.status, 0) << stop.err;
  EXPECT_TRUE(ProcessesOf(other_).empty());
}

}  // namespace
}  // namespace orba::test
