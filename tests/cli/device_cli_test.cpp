// The prop, file, exec, em and camera families against a running simulated device.

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include "support/sim_device.h"

namespace {

using orba::test::RunProgram;

class DeviceCliTest : public orba::test::SimDeviceTest {};

TEST_F(DeviceCliTest, PropertiesThroughTheService) {
  struct Case {
    std::vector<std::string> args;
    int status;
    const char* out;
  };
  const std::vector<Case> cases = {
      {{"prop", "get", "ro.orba.product.model"}, 0, "PD5202CMA\n"},
      {{"prop", "get", "no.such.prop", "fallback"}, 0, "fallback\n"},
      {{"prop", "set", "persist.sys.station", "7"}, 0, ""},
      {{"prop", "get", "persist.sys.station"}, 0, "7\n"},
      {{"prop", "set", "ro.orba.product.model", "X"}, 1, ""},  // read-only: reads back unchanged
      {{"prop", "set", "a.b", std::string(92, 'v')}, 2, ""},
      {{"prop", "wait", "persist.sys.station", "7", "100"},
       0,
       "property=persist.sys.station value=7\n"},
      {{"prop", "wait", "persist.sys.station", "8", "100"}, 1, ""},
      {{"prop", "wait", "persist.sys.station", "8", "soon"}, 2, ""},
  };
  for (const Case& c : cases) {
    auto r = Cli(c.args);
    EXPECT_EQ(r.status, c.status) << c.args[1] << " " << c.args[2] << ": " << r.err;
    EXPECT_EQ(r.out, c.out) << c.args[1] << " " << c.args[2];
  }
}

TEST_F(DeviceCliTest, PropertyWaitWakesOnASetFromAnotherProcess) {
  std::thread setter([&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    Sim({"setprop", "sys.ready", "1"});
  });
  auto r = Cli({"prop", "wait", "sys.ready", "1", "5000"});
  setter.join();
  EXPECT_EQ(r.status, 0) << r.err;
}

TEST_F(DeviceCliTest, FilesThroughTheService) {
  ASSERT_EQ(Cli({"file", "write", "/cache/recovery/r.txt", "line one\n"}).status, 0);
  ASSERT_EQ(Cli({"file", "append", "/cache/recovery/r.txt", "line two\n"}).status, 0);
  EXPECT_EQ(ReadDeviceFile("/cache/recovery/r.txt"), "line one\nline two\n");
  EXPECT_EQ(Cli({"file", "read", "/cache/recovery/r.txt"}).out, "line one\nline two\n");
  EXPECT_EQ(Cli({"file", "size", "/cache/recovery/r.txt"}).out, "18\n");
  std::string md5 =
      RunProgram({"/bin/sh", "-c", "md5sum < '" + HostPath("/cache/recovery/r.txt") + "'"})
          .out.substr(0, 32);
  EXPECT_EQ(Cli({"file", "md5", "/cache/recovery/r.txt"}).out,
            "path=/cache/recovery/r.txt md5=" + md5 + "\n");

  ASSERT_EQ(Cli({"file", "copy", "/cache/recovery/r.txt", "/data/local/tmp/c.txt"}).status, 0);
  EXPECT_EQ(ReadDeviceFile("/data/local/tmp/c.txt"), "line one\nline two\n");
  EXPECT_EQ(Cli({"file", "chmod", "/data/local/tmp/c.txt", "9"}).status, 2);
  ASSERT_EQ(Cli({"file", "remove", "/data/local/tmp/c.txt"}).status, 0);
  EXPECT_NE(Cli({"file", "size", "/data/local/tmp/c.txt"}).out, "18\n");
  // The service keeps every path inside the device.
  EXPECT_NE(Cli({"file", "read", "/../../../../etc/hostname"}).status, 0);
}

TEST_F(DeviceCliTest, CommandsAndTheEngineerApp) {
  auto exec = Cli({"exec", "getprop", "ro.build.version.sdk"});
  EXPECT_EQ(exec.status, 0) << exec.err;
  EXPECT_EQ(exec.out, "31\n");

  EXPECT_EQ(Cli({"em", "send", "get_lcm_refreshrate", "max"}).out, "120\n");
  auto action = Cli({"em", "action", "start-service", "com.orba.engineermode/.ProbeService"});
  EXPECT_EQ(action.status, 0) << action.err;
  EXPECT_EQ(Cli({"em", "running", "com.orba.engineermode.ProbeService"}).status, 0);
  EXPECT_EQ(Cli({"em", "action", "stop-service", "com.orba.engineermode/.ProbeService"}).status,
            0);
  EXPECT_EQ(Cli({"em", "running", "com.orba.engineermode.ProbeService"}).status, 1);
  auto bad = Cli({"em", "action", "dance"});
  EXPECT_EQ(bad.status, 2);
  EXPECT_NE(bad.err.find("start-activity"), std::string::npos) << bad.err;
}

}  // namespace
