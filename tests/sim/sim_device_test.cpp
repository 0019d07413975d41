#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/system_properties.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace {

using orba::test::BinPath;
using orba::test::RunProgram;
using orba::test::StartChild;
using orba::test::WaitChild;

class SimDeviceTest : public orba::test::DeviceRootTest {
 protected:
  orba::test::ProgramResult Sim(std::vector<std::string> args) {
    args.insert(args.begin(), BinPath("orbafactory-sim"));
    args.push_back("--root");
    args.push_back(root());
    return RunProgram(args);
  }
  // Runs a device tool the way the device runs it: through the device's own /system/bin.
  orba::test::ProgramResult Tool(const std::string& command) {
    return RunProgram({"/bin/sh", "-c", "PATH=" + root() + "/system/bin:$PATH; " + command});
  }
  void InitDevice() {
    auto r = Sim({"init"});
    ASSERT_EQ(r.status, 0) << r.err;
  }
};

std::string Prop(const char* name) {
  char value[PROP_VALUE_MAX] = {};
  __system_property_get(name, value);
  return value;
}

TEST_F(SimDeviceTest, InitLaysOutTheDevice) {
  InitDevice();
  struct stat st;
  ASSERT_EQ(stat(HostPath("/dev/block/platform/bootdevice/by-name/backup").c_str(), &st), 0);
  EXPECT_GE(st.st_size, 32 * 1024);
  std::string backup = ReadDeviceFile("/dev/block/by-name/backup");
  ASSERT_EQ(backup.size(), static_cast<size_t>(st.st_size));
  EXPECT_EQ(backup.find_first_not_of('\xff'), std::string::npos);  // erased flash
  EXPECT_EQ(ReadDeviceFile("/dev/block/bootdevice/by-name/backup"), backup);
  EXPECT_EQ(ReadDeviceFile("/dev/block/sdd").size(), 64u * 1024);

  // Links stay inside the device: /sdcard is the device's /data/media/0, not the host's.
  WriteDeviceFile("/data/media/0/probe", "x");
  EXPECT_EQ(ReadDeviceFile("/sdcard/probe"), "x");

  const char* dirs[] = {"/cache/recovery", "/data/vendor/engineermode", "/vendor/lib64"};
  for (const char* d : dirs) {
    EXPECT_EQ(stat(HostPath(d).c_str(), &st), 0) << d;
    EXPECT_TRUE(S_ISDIR(st.st_mode)) << d;
  }
  EXPECT_NE(ReadDeviceFile("/etc/em_features.xml")
                .find("<feature name=\"camera_motor_type\">fully_auto_pop</feature>"),
            std::string::npos);
  EXPECT_NE(ReadDeviceFile("/proc/cmdline").find("support_minidp=0"), std::string::npos);
  EXPECT_EQ(ReadDeviceFile("/vendor/etc/ntc.ini").rfind("[type_i]\nboard_ntc = ", 0), 0u);
  // The vendor libraries loaded at run time are real files of their own, not links to the build.
  for (const char* lib : {"/vendor/lib64/libuwb_factory_smt.so", "/vendor/lib64/libuwbrwpersist.so"}) {
    ASSERT_EQ(lstat(HostPath(lib).c_str(), &st), 0) << lib;
    EXPECT_TRUE(S_ISREG(st.st_mode)) << lib;
  }
  EXPECT_EQ(Prop("ro.orba.product.model"), "PD5202CMA");
  EXPECT_EQ(Prop("persist.sys.factory.mode"), "yes");
}

TEST_F(SimDeviceTest, VariantProfileBuildsOnItsBase) {
  auto r = Sim({"init", "--profile", "ufs"});
  ASSERT_EQ(r.status, 0) << r.err;
  struct stat st;
  // What the variant drops, adds and inherits.
  EXPECT_NE(stat(HostPath("/sys/block/mmcblk0/device/cid").c_str(), &st), 0);
  EXPECT_EQ(ReadDeviceFile("/sys/block/sda/device/vendor"), "KIOXIA");
  EXPECT_EQ(ReadDeviceFile("/system/etc/emmc_bom"), "THGJFGT1E45BAIL=BOM-UFS-K256G\n");
  EXPECT_EQ(ReadDeviceFile("/proc/sec_en"), "1");
  EXPECT_EQ(Prop("ro.orba.product.model"), "PD5202CMA");

  std::string base = root() + "/../base-" + std::to_string(getpid()) + ".profile";
  std::string variant = root() + "/../variant-" + std::to_string(getpid()) + ".profile";
  std::ofstream(base) << "[files]\n/etc/a = 1\n/etc/b = 2\n[present]\n/etc/c\n";
  std::ofstream(variant) << "include " << base << "\n[absent]\n/etc/a\n/etc/c\n[files]\n/etc/b = 3\n";
  std::string other = root() + "-variant";
  auto v = orba::test::RunProgram(
      {orba::test::BinPath("orbafactory-sim"), "init", "--root", other, "--profile", variant});
  EXPECT_EQ(v.status, 0) << v.err;
  std::ifstream b(other + "/etc/b");
  std::string text;
  std::getline(b, text);
  EXPECT_EQ(text, "3") << "the variant's setting wins";
  EXPECT_NE(stat((other + "/etc/a").c_str(), &st), 0);
  EXPECT_NE(stat((other + "/etc/c").c_str(), &st), 0);
  orba::test::RunProgram({"/bin/rm", "-rf", other, base, variant});
}

TEST_F(SimDeviceTest, InitRefusesAUsedRootAndBadProfiles) {
  InitDevice();
  auto again = Sim({"init"});
  EXPECT_EQ(again.status, 1);
  EXPECT_NE(again.err.find("is not empty"), std::string::npos) << again.err;

  std::string profile = root() + "/../bad-" + std::to_string(getpid()) + ".profile";
  std::ofstream(profile) << "[properties]\nro.a = 1\nno equals sign here\n";
  std::string fresh = root() + "/fresh";
  auto bad = RunProgram({BinPath("orbafactory-sim"), "init", "--root", fresh, "--profile", profile});
  unlink(profile.c_str());
  EXPECT_EQ(bad.status, 1);
  EXPECT_NE(bad.err.find(".profile:3: expected NAME = VALUE"), std::string::npos) << bad.err;

  auto usage = RunProgram({BinPath("orbafactory-sim"), "frobnicate", "--root", root()});
  EXPECT_EQ(usage.status, 2);
}

TEST_F(SimDeviceTest, CommandsNeedADevice) {
  auto r = Sim({"status"});
  EXPECT_EQ(r.status, 1);
  EXPECT_NE(r.err.find("is not a simulated device"), std::string::npos) << r.err;
}

TEST_F(SimDeviceTest, DeviceToolsActOnThisDevice) {
  InitDevice();
  EXPECT_EQ(Tool("getprop ro.build.version.sdk").out, "31\n");
  EXPECT_EQ(Tool("tlcrpmb_gp getflag").out, "result=1\n");
  ASSERT_EQ(Sim({"setprop", "sim.rpmb.result", "2"}).status, 0);
  EXPECT_EQ(Tool("tlcrpmb_gp getflag").out, "result=2\n");

  // The phone's setprop cannot change a read-only property; the device's init can.
  EXPECT_EQ(Tool("setprop ro.orba.product.model PD0000").status, 1);
  ASSERT_EQ(Sim({"setprop", "ro.orba.product.model", "PD0000"}).status, 0);
  EXPECT_EQ(Sim({"getprop", "ro.orba.product.model"}).out, "PD0000\n");
  EXPECT_EQ(Tool("readlink /vendor/bin/sh >/dev/null; " + root() + "/vendor/bin/sh -c 'echo ok'").out,
            "ok\n");
}

TEST_F(SimDeviceTest, PsListsOnlyTheDevicesProcesses) {
  InitDevice();
  std::string marker = "orba_ps_marker_" + std::to_string(getpid());
  pid_t on_device = StartChild([&] {
    execl("/bin/sh", marker.c_str(), "-c", "sleep 5", static_cast<char*>(nullptr));
    return 127;
  });
  setenv("ORBA_DEVICE_ROOT", "/elsewhere", 1);
  pid_t off_device = StartChild([&] {
    execl("/bin/sh", (marker + "_host").c_str(), "-c", "sleep 5", static_cast<char*>(nullptr));
    return 127;
  });
  setenv("ORBA_DEVICE_ROOT", root().c_str(), 1);
  usleep(200 * 1000);
  auto ps = Tool("ps");
  kill(on_device, SIGKILL);
  kill(off_device, SIGKILL);
  WaitChild(on_device);
  WaitChild(off_device);
  ASSERT_EQ(ps.status, 0);
  EXPECT_EQ(ps.out.rfind("USER", 0), 0u) << ps.out;
  EXPECT_NE(ps.out.find(" " + std::to_string(on_device) + " "), std::string::npos) << ps.out;
  EXPECT_NE(ps.out.find(marker + "\n"), std::string::npos) << ps.out;
  EXPECT_EQ(ps.out.find(marker + "_host"), std::string::npos) << ps.out;
}

TEST_F(SimDeviceTest, EnvPutsTheDeviceFirstAndRefusesWhatIsNoDevice) {
  // A shell set up for a typo would act on no device at all.
  auto refused = Sim({"env"});
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(refused.out, "");
  EXPECT_NE(refused.err.find("is not a simulated device"), std::string::npos) << refused.err;

  InitDevice();
  auto env = Sim({"env"});
  ASSERT_EQ(env.status, 0);
  EXPECT_NE(env.out.find("export ORBA_DEVICE_ROOT='" + root() + "'\n"), std::string::npos);
  EXPECT_NE(env.out.find("export PATH='" + root() + "/system/bin:" + root() + "/vendor/bin:"),
            std::string::npos)
      << env.out;
  // The device's libraries are never on the loader's path of every program of the shell.
  EXPECT_EQ(env.out.find("LD_LIBRARY_PATH"), std::string::npos) << env.out;
}

}  // namespace
