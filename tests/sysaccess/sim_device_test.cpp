// The client against the simulated device as a user brings it up: orbafactory-sim lays out the
// device, starts the AT-command service, and provides the stop/start/tlcrpmb_gp tools.

#include <android/log.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include <orbafactory/sysaccess.h>
#include <platform/hal.h>

#include "support/device_root.h"
#include "support/log_capture.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

class SimDeviceTest : public DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    const char* path = getenv("PATH");
    saved_path_ = path != nullptr ? path : "/usr/bin:/bin";
    ProgramResult init = Sim({"init"});
    ASSERT_EQ(init.status, 0) << init.err;
    ProgramResult start = Sim({"start", "orbaatcmd-hal-1-0"});
    ASSERT_EQ(start.status, 0) << start.err;
    // Like init's start, the tool does not wait for the service to register.
    for (int i = 0; i < 500 && !hal::IOrbaAtcmd::isRegistered("default"); ++i) usleep(10000);
    // The environment `orbafactory-sim env` gives a shell: the device's tools first.
    ProgramResult env = Sim({"env"});
    ASSERT_EQ(env.status, 0);
    size_t p = env.out.find("export PATH='");
    ASSERT_NE(p, std::string::npos) << env.out;
    size_t begin = p + strlen("export PATH='");
    setenv("PATH", env.out.substr(begin, env.out.find('\'', begin) - begin).c_str(), 1);
  }
  void TearDown() override {
    Sim({"stop"});
    setenv("PATH", saved_path_.c_str(), 1);
    DeviceRootTest::TearDown();
  }
  ProgramResult Sim(std::vector<std::string> args) {
    args.insert(args.begin(), {BinPath("orbafactory-sim")});
    args.push_back("--root");
    args.push_back(root());
    return RunProgram(args);
  }
  std::string ServicePid() { return ReadDeviceFile("/data/sim/run/orbaatcmd-hal-1-0.pid"); }

 private:
  std::string saved_path_;
};

TEST_F(SimDeviceTest, RestartThroughTheDeviceInit) {
  ASSERT_TRUE(hal::IOrbaAtcmd::isRegistered("default"));
  std::string before = ServicePid();
  LogCapture log;
  EXPECT_EQ(restart_orbaatcmd_server(), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "restart orbaatcmd-hal-1-0 sucess\n"));
  EXPECT_EQ(orbaatcmd_wait_started(), 0);
  EXPECT_TRUE(hal::IOrbaAtcmd::isRegistered("default"));
  EXPECT_NE(ServicePid(), before);

  // The new instance works inside the same device.
  char value[92] = {};
  EXPECT_EQ(orbaatcmd_get_system_property("ro.orba.product.model", value, "none"), 0);
  EXPECT_STRNE(value, "none");
  EXPECT_EQ(orbaatcmd_fwrite_system_file("/cache/recovery/probe", "w", "ok"), 0);
  EXPECT_EQ(ReadDeviceFile("/cache/recovery/probe"), "ok");
}

TEST_F(SimDeviceTest, StoppedServiceFallsBackAndIsRestarted) {
  ASSERT_EQ(Sim({"stop", "orbaatcmd-hal-1-0"}).status, 0);
  ASSERT_FALSE(hal::IOrbaAtcmd::isRegistered("default"));
  // The probed call finds it absent, restarts it through the device and falls back locally.
  orbaatcmd_set_system_property("vendor.sim.fallback", "1");
  EXPECT_EQ(orbaatcmd_wait_started(), 0);
  EXPECT_TRUE(hal::IOrbaAtcmd::isRegistered("default"));
  char value[92] = {};
  EXPECT_EQ(orbaatcmd_get_system_property("vendor.sim.fallback", value, ""), 0);
  EXPECT_STREQ(value, "1");
}

TEST_F(SimDeviceTest, VendorCommandThroughTheDeviceTools) {
  char out[128] = {};
  EXPECT_EQ(exec_shell_vendor("tlcrpmb_gp getflag", out, sizeof(out) - 1), 0);
  // The device's tool reads its answer from the device's properties.
  EXPECT_EQ(std::string(out).rfind("result=", 0), 0u) << out;
  EXPECT_GT(strlen(out), strlen("result=\n")) << out;
}

}  // namespace
}  // namespace orba::test
