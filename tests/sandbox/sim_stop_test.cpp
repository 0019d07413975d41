// orbafactory-sim runs as root and signals the pids its device's pid files name; those files sit
// in a device root anyone with a shell on the device can write.

#include <signal.h>
#include <stddef.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

#include <android-base/unique_fd.h>
#include <platform/devpath.h>
#include <platform/hal.h>
#include <platform/hal_wire.h>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

constexpr char kPidFile[] = "/data/sim/run/orbaatcmd-hal-1-0.pid";

class SimStopTest : public DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    ProgramResult init = Sim({"init"}, root());
    ASSERT_EQ(init.status, 0) << init.err;
  }
  void TearDown() override {
    Sim({"stop"}, root());
    for (pid_t p : children_) {
      kill(p, SIGKILL);
      waitpid(p, nullptr, 0);
    }
    DeviceRootTest::TearDown();
  }

  static ProgramResult Sim(std::vector<std::string> args, const std::string& root) {
    args.insert(args.begin(), BinPath("orbafactory-sim"));
    args.insert(args.end(), {"--root", root});
    return RunProgram(args);
  }
  // A sleeping child running `program` with ORBA_DEVICE_ROOT set to `device_root` ("" unset).
  pid_t Sleeper(const std::string& program, const std::string& device_root) {
    pid_t pid = StartChild([&] {
      if (device_root.empty()) {
        unsetenv("ORBA_DEVICE_ROOT");
      } else {
        setenv("ORBA_DEVICE_ROOT", device_root.c_str(), 1);
      }
      execl(program.c_str(), "sleep", "30", static_cast<char*>(nullptr));
      return 127;
    });
    children_.push_back(pid);
    return pid;
  }
  static bool Running(pid_t pid) {
    return waitpid(pid, nullptr, WNOHANG) == 0 && Alive(pid);
  }
  // Alive and not a zombie: a stopped service may wait a while for whoever inherited it to
  // reap it.
  static bool Alive(pid_t pid) {
    std::ifstream in("/proc/" + std::to_string(pid) + "/stat");
    std::string stat((std::istreambuf_iterator<char>(in)), {});
    size_t paren = stat.rfind(')');
    return kill(pid, 0) == 0 && paren != std::string::npos && paren + 2 < stat.size() &&
           stat[paren + 2] != 'Z';
  }

  // Whether the AT-command HAL of this device accepts connections.
  static bool HalAnswers() {
    std::string name = hal::HalSocketName(hal::IOrbaAtcmd::descriptor, "default");
    DevSocketName dev(name.c_str());
    sockaddr_un addr{};
    addr.sun_family = AF_UNIX;
    size_t len = strlen(dev.c_str());
    memcpy(addr.sun_path + 1, dev.c_str(), len);
    android::base::unique_fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    socklen_t size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + len);
    return connect(fd.get(), reinterpret_cast<sockaddr*>(&addr), size) == 0;
  }

  std::vector<pid_t> children_;
};

TEST_F(SimStopTest, ForgedPidFilesSignalNothingForeign) {
  struct Case {
    const char* what;
    std::string program;
    std::string device_root;
  } cases[] = {
      {"a host process", "/bin/sleep", ""},
      {"a process of this device running another program", "/bin/sleep", root()},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    pid_t victim = Sleeper(c.program, c.device_root);
    usleep(50 * 1000);  // past its exec
    WriteDeviceFile(kPidFile, std::to_string(victim) + "\n");
    ProgramResult stop = Sim({"stop", "orbaatcmd-hal-1-0"}, root());
    EXPECT_EQ(stop.status, 0) << stop.err;
    EXPECT_NE(stop.err.find("left alone"), std::string::npos) << stop.err;
    EXPECT_TRUE(Running(victim));
  }
}

TEST_F(SimStopTest, AnotherDevicesServiceIsNotThisDevices) {
  // Two devices side by side; this one's pid file is forged to name the other's service.
  std::string other = root() + "-other";
  ASSERT_EQ(Sim({"init"}, other).status, 0);
  ProgramResult start = Sim({"start", "orbaatcmd-hal-1-0"}, other);
  ASSERT_EQ(start.status, 0) << start.err;
  std::ifstream in(other + kPidFile);
  pid_t theirs = 0;
  in >> theirs;
  ASSERT_GT(theirs, 1);
  WriteDeviceFile(kPidFile, std::to_string(theirs) + "\n");
  EXPECT_EQ(Sim({"stop"}, root()).status, 0);
  EXPECT_TRUE(Alive(theirs)) << "this device's stop signalled the other device's service";
  EXPECT_EQ(Sim({"stop"}, other).status, 0);
  EXPECT_FALSE(Alive(theirs));
  ASSERT_EQ(system(("rm -rf '" + other + "'").c_str()), 0);
}

TEST_F(SimStopTest, GenuineServicesStillStopAndLinksInTheRunDirectoryLeadNowhere) {
  std::string outside = root() + "-outside";
  ASSERT_EQ(mkdir(outside.c_str(), 0755), 0);
  { std::ofstream(outside + "/victim") << "host"; }
  // The service log planted as a link to a host file.
  unlink(HostPath("/data/sim/logcat").c_str());
  ASSERT_EQ(symlink((outside + "/victim").c_str(), HostPath("/data/sim/logcat").c_str()), 0);
  ProgramResult start = Sim({"start"}, root());
  ASSERT_EQ(start.status, 0) << start.err;
  pid_t pid = atoi(ReadDeviceFile(kPidFile).c_str());
  ASSERT_GT(pid, 1);
  EXPECT_EQ(Sim({"stop"}, root()).status, 0);
  EXPECT_FALSE(Alive(pid));
  std::ifstream in(outside + "/victim");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "host");

  // The run directory itself replaced by a link to the host: the pid cannot be recorded there,
  // so the start fails and leaves nothing running.
  ASSERT_EQ(system(("rm -rf '" + HostPath("/data/sim/run") + "'").c_str()), 0);
  ASSERT_EQ(symlink(outside.c_str(), HostPath("/data/sim/run").c_str()), 0);
  start = Sim({"start", "orbaatcmd-hal-1-0"}, root());
  EXPECT_NE(start.status, 0);
  EXPECT_FALSE(HalAnswers()) << "a service whose pid was not recorded is still running";
  EXPECT_EQ(system(("ls '" + outside + "' | grep -qv '^victim$'").c_str()) == 0, false)
      << "something was written beside the host file";
  ASSERT_EQ(system(("rm -rf '" + outside + "'").c_str()), 0);
}

}  // namespace
}  // namespace orba::test
