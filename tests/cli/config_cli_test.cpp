// The configuration families of the orbafactory CLI, run as a program against a device root
// whose AT-command service runs in this test process.

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <platform/host/device_init.h>
#include <platform/host/hal_server.h>

#include "atcmd_service.h"
#include "support/device_root.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

class ConfigCliTest : public DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    ASSERT_EQ(orba_init_property_area(), 0);
    int error = 0;
    server_ = sim::StartAtcmdService(&error);
    ASSERT_NE(server_, nullptr) << error;
    WriteDeviceFile("/data/vendor/engineermode/.keep", "");
  }
  void TearDown() override {
    if (server_ != nullptr) server_->Stop();
    server_.reset();
    DeviceRootTest::TearDown();
  }
  ProgramResult Cli(std::vector<std::string> args) {
    args.insert(args.begin(), {BinPath("orbafactory"), "--root", root()});
    return RunProgram(args);
  }
  void SetProperty(const char* name, const char* value) {
    ASSERT_EQ(orba_init_property_set(name, value), 0) << name;
  }

 private:
  std::unique_ptr<hal::HalServer> server_;
};

struct Step {
  std::vector<std::string> args;
  int status;
  std::string out;  // exact stdout
  const char* err;  // expected in stderr, or null
};

void RunSteps(const std::vector<Step>& steps,
              const std::function<ProgramResult(std::vector<std::string>)>& cli) {
  for (const Step& s : steps) {
    std::string line;
    for (const std::string& a : s.args) line += a + " ";
    ProgramResult r = cli(s.args);
    EXPECT_EQ(r.status, s.status) << line << "\n" << r.err;
    EXPECT_EQ(r.out, s.out) << line;
    if (s.err != nullptr) {
      EXPECT_NE(r.err.find(s.err), std::string::npos) << line << "\n" << r.err;
    }
  }
}

TEST_F(ConfigCliTest, Identity) {
  SetProperty("ro.orba.product.model", "PD5404F_EX");
  SetProperty("ro.hardware.qzt", "mt6893");
  SetProperty("ro.orba.product.solution", "MTK");
  SetProperty("ro.build.version.release", "13");
  SetProperty("ro.build.version.sdk", "33");
  SetProperty("persist.sys.factory.mode", "no");
  SetProperty("persist.sys.user.qztem", "1");
  WriteDeviceFile("/proc/cmdline", "console=ttyS0 console-at=sendAT");
  ProgramResult r = Cli({"identity"});
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out,
            "project=PD5404F_EX export_variant=true hardware=mt6893 platform=MediaTek "
            "platform_id=2 edition=user engineer_mode=false android=13 sdk=33 factory_boot=true "
            "multi_sim=false fingerprint=false\n");
  EXPECT_EQ(Cli({"identity", "extra"}).status, 2);
}

TEST_F(ConfigCliTest, Feature) {
  WriteDeviceFile("/etc/em_features.xml",
                  "<features>\n"
                  "    <feature name=\"camera_motor_type\">pop</feature>\n"
                  "    <feature name=\"ntc_list\">I[1,2];II[3]</feature>\n"
                  "</features>\n");
  RunSteps({
               {{"feature", "get", "camera_motor_type"}, 0, "pop\n", nullptr},
               {{"feature", "get", "ntc_list", "II"}, 0, "3\n", nullptr},
               {{"feature", "get", "ntc_list", "III"}, 1, "", "no list III"},
               {{"feature", "get", "laser_sensor"}, 1, "", "no usable value for laser_sensor"},
               {{"feature", "get"}, 2, "", "usage: orbafactory feature get NAME [KEY]"},
           },
           [this](std::vector<std::string> a) { return Cli(std::move(a)); });
  remove(HostPath("/etc/em_features.xml").c_str());
  RunSteps({{{"feature", "get", "camera_motor_type"}, 1, "", "cannot read"}},
           [this](std::vector<std::string> a) { return Cli(std::move(a)); });
}

TEST_F(ConfigCliTest, PropfileRoundTrip) {
  const std::string file = "/data/vendor/engineermode/station_items";
  RunSteps({
               {{"propfile", "set", file, "sn", "A1B2"}, 0, "", nullptr},
               {{"propfile", "set", file, "pcb", "007"}, 0, "", nullptr},
               {{"propfile", "set", file, "sn", "C3D4"}, 0, "", nullptr},
               {{"propfile", "get", file, "SN"}, 0, "C3D4\n", nullptr},
               {{"propfile", "del", file, "pcb"}, 0, "", nullptr},
               {{"propfile", "get", file, "pcb"}, 0, "0\n", nullptr},
               {{"propfile", "set", "/no/dir/items", "k", "v"}, 1, "", "cannot set k"},
               {{"propfile", "set", file, "k"}, 2, "", "usage"},
           },
           [this](std::vector<std::string> a) { return Cli(std::move(a)); });
  EXPECT_EQ(ReadDeviceFile(file), "sn=C3D4\n");
}

TEST_F(ConfigCliTest, Policy) {
  const std::string file = "/data/vendor/engineermode/cali_data";
  WriteDeviceFile("/sys/class/timed_output/motor/enable", "0\n");
  RunSteps({
               {{"policy", "write", file, "[front:1,2]"}, 0, "", nullptr},
               {{"policy", "append", file, "[rear:3,4]"}, 0, "", nullptr},
               {{"policy", "replace", file, "[front:", "]", "[front:5,6]"}, 0, "", nullptr},
               {{"policy", "read", file}, 0, "[rear:3,4][front:5,6]\n", nullptr},
               {{"policy", "read", file, "6"}, 0, "[rear\n", nullptr},
               {{"policy", "read", file, "0"}, 2, "", "SIZE must be 1 to 1024"},
               {{"policy", "append", file, std::string(1010, 'x')}, 1, "", "cannot append"},
               {{"policy", "replace", file, "[tof:", "]", "[tof:" + std::string(1010, 'x') + "]"},
                1, "", "does not end with the new section"},
               {{"policy", "write", "--node", "/sys/class/timed_output/motor/enable", "1"}, 0, "",
                nullptr},
               {{"policy", "write", "--node", "/sys/class/none", "1"}, 1, "",
                "No such file or directory"},
               {{"policy", "read", "/data/none"}, 1, "", "cannot read /data/none"},
           },
           [this](std::vector<std::string> a) { return Cli(std::move(a)); });
  EXPECT_EQ(ReadDeviceFile(file), "[rear:3,4][front:5,6]");
  EXPECT_EQ(ReadDeviceFile("/sys/class/timed_output/motor/enable"), "1\n");
}

TEST_F(ConfigCliTest, Ini) {
  WriteDeviceFile("/vendor/etc/ntc.ini",
                  "[ntc]\nboard_ntc = /sys/class/thermal/thermal_zone0/temp\n"
                  "pa_ntc = /sys/class/thermal/thermal_zone1/temp\n"
                  "[cmd]\nrun = echo a; echo b\n");
  RunSteps({
               {{"ini", "get", "/vendor/etc/ntc.ini", "cmd:run"}, 0, "echo a; echo b\n", nullptr},
               {{"ini", "get", "/vendor/etc/ntc.ini", "ntc:pa_ntc", "cmd:run"}, 0,
                "key=ntc:pa_ntc value=/sys/class/thermal/thermal_zone1/temp\n"
                "key=cmd:run value=\"echo a; echo b\"\n",
                nullptr},
               {{"ini", "get", "/vendor/etc/ntc.ini", "ntc:none", "cmd:run"}, 1,
                "key=cmd:run value=\"echo a; echo b\"\n",
                "no key ntc:none"},
               {{"ini", "get", "/vendor/etc/ntc.ini", "ntc"}, 1, "", "is a section"},
               {{"ini", "sections", "/vendor/etc/ntc.ini"}, 0,
                "section=ntc keys=2\nsection=cmd keys=1\n", nullptr},
               {{"ini", "sections", "/vendor/etc/none.ini"}, 1, "", "cannot read"},
           },
           [this](std::vector<std::string> a) { return Cli(std::move(a)); });
  ProgramResult dump = Cli({"ini", "dump", "/vendor/etc/ntc.ini"});
  EXPECT_EQ(dump.status, 0);
  EXPECT_NE(dump.out.find("[cmd]\nrun                            = echo a; echo b\n"),
            std::string::npos)
      << dump.out;
}

}  // namespace
}  // namespace orba::test
