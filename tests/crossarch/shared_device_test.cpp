// One device root shared by this build of the library and the host build of the simulated
// device. Built for arm64 and run under the emulator, it checks that the property area, the HAL
// wire format and the factory record mean the same on both architectures; on the host it runs
// against its own build, which keeps the test itself honest.

#include <stdint.h>
#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <orbafactory/digest.h>
#include <orbafactory/persist.h>
#include <orbafactory/sysaccess.h>
#include <platform/hal.h>

#include "support/device_root.h"
#include "support/subprocess.h"

#ifndef ORBA_HOST_BIN_DIR
#error "ORBA_HOST_BIN_DIR must name the bin directory of the host build"
#endif

namespace orba::test {
namespace {

std::string HostBin(const std::string& name) { return std::string(ORBA_HOST_BIN_DIR) + "/" + name; }

std::string FirstLine(const std::string& text) { return text.substr(0, text.find('\n')); }

class SharedDeviceTest : public DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    ASSERT_EQ(access(HostBin("orbafactory-sim").c_str(), X_OK), 0)
        << HostBin("orbafactory-sim") << ": build the host tree first (cmake --preset default)";
    ProgramResult init = Host("orbafactory-sim", {"init", "--root", root()});
    ASSERT_EQ(init.status, 0) << init.err;
    ProgramResult start = Host("orbafactory-sim", {"start", "orbaatcmd-hal-1-0", "--root", root()});
    ASSERT_EQ(start.status, 0) << start.err;
    started_ = true;
    for (int i = 0; i < 500 && !hal::IOrbaAtcmd::isRegistered("default"); ++i) usleep(10000);
    ASSERT_TRUE(hal::IOrbaAtcmd::isRegistered("default"));
  }
  void TearDown() override {
    if (started_) Host("orbafactory-sim", {"stop", "--root", root()});
    DeviceRootTest::TearDown();
  }

  // A program of the host build, run to its end.
  ProgramResult Host(const std::string& name, std::vector<std::string> args) const {
    args.insert(args.begin(), HostBin(name));
    return RunProgram(args);
  }
  ProgramResult HostCli(std::vector<std::string> args) const {
    args.insert(args.begin(), {"--root", root()});
    return Host("orbafactory", args);
  }
  // A program of the host build, started now and left running.
  pid_t StartHost(const std::string& name, std::vector<std::string> args) const {
    args.insert(args.begin(), HostBin(name));
    return StartChild([args] {
      std::vector<char*> argv;
      for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
      argv.push_back(nullptr);
      execv(argv[0], argv.data());
      return 127;
    });
  }

 private:
  bool started_ = false;
};

TEST_F(SharedDeviceTest, PropertiesSetOnOneSideReadOnTheOther) {
  // The host's init values, read through this build's property area code.
  char value[92] = {};
  EXPECT_EQ(get_property_with_len("ro.orba.product.model", value, sizeof(value), ""), 0);
  EXPECT_STREQ(value, "PD5202CMA");

  struct Case {
    const char* name;
    std::string value;
  };
  // Short, empty-to-full and long values: the value slot and the long-value layout differ.
  const Case cases[] = {
      {"vendor.crossarch.short", "x"},
      {"vendor.crossarch.word", "arm64-and-x86_64"},
      {"vendor.crossarch.full", std::string(91, 'v')},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_EQ(Host("setprop", {c.name, c.value}).status, 0);
    char got[92] = {};
    EXPECT_EQ(get_property_with_len(c.name, got, sizeof(got), "absent"), 0);
    EXPECT_EQ(got, c.value);

    const std::string mine = c.value + "!";
    const std::string back(mine, 0, 91);
    ASSERT_EQ(property_set_args(c.name, "%s", back.c_str()), 0);
    ProgramResult read = Host("getprop", {c.name});
    ASSERT_EQ(read.status, 0) << read.err;
    EXPECT_EQ(FirstLine(read.out), back);
  }
}

TEST_F(SharedDeviceTest, WaitsAcrossTheTwoArchitectures) {
  // This side waits while a host process sets the value.
  const pid_t setter = StartChild([] {
    usleep(200 * 1000);
    execl(HostBin("setprop").c_str(), "setprop", "vendor.crossarch.ready", "host", nullptr);
    return 127;
  });
  EXPECT_EQ(wait_for_property("vendor.crossarch.ready", "host", 10000), 1);
  EXPECT_EQ(WaitChild(setter), 0);

  // The host waits while this side sets it.
  const pid_t waiter = StartHost("orbafactory", {"--root", root(), "prop", "wait",
                                                 "vendor.crossarch.ready", "arm", "10000"});
  usleep(200 * 1000);
  ASSERT_EQ(property_set_args("vendor.crossarch.ready", "%s", "arm"), 0);
  EXPECT_EQ(WaitChild(waiter), 0);
}

TEST_F(SharedDeviceTest, HalCallsServedByTheHostService) {
  char value[92] = {};
  EXPECT_EQ(orbaatcmd_get_system_property("ro.build.version.sdk", value, "none"), 0);
  EXPECT_STREQ(value, "31");
  orbaatcmd_set_system_property("vendor.crossarch.hal", "through-the-service");
  ProgramResult read = Host("getprop", {"vendor.crossarch.hal"});
  EXPECT_EQ(FirstLine(read.out), "through-the-service");

  // Binary contents and a digest travel both ways unchanged.
  std::string blob;
  for (int i = 1; i < 256; ++i) blob += static_cast<char>(i);
  ASSERT_EQ(orbaatcmd_fwrite_data_file("/cache/recovery/blob", "w", blob.data(),
                                       static_cast<int>(blob.size())),
            0);
  EXPECT_EQ(ReadDeviceFile("/cache/recovery/blob"), blob);
  EXPECT_EQ(orbaatcmd_sizeof_system_file("/cache/recovery/blob"), static_cast<int>(blob.size()));

  unsigned char remote[16] = {};
  ASSERT_EQ(orbaatcmd_md5_system_file("/cache/recovery/blob", remote), 0);
  Md5Context ctx;
  MD5_Init(&ctx);
  MD5_Update(&ctx, reinterpret_cast<const unsigned char*>(blob.data()),
             static_cast<unsigned>(blob.size()));
  unsigned char local[16] = {};
  MD5_Final(local, &ctx);
  EXPECT_EQ(memcmp(remote, local, sizeof(local)), 0);

  char out[128] = {};
  EXPECT_EQ(orbaatcmd_exec_system_cmd("echo served", out, sizeof(out) - 1), 0);
  EXPECT_EQ(FirstLine(out), "served");
}

TEST_F(SharedDeviceTest, FactoryRecordWrittenByOneReadByTheOther) {
  // Written here, read by the host's tools.
  ASSERT_EQ(set_sn_to_backup("ARM64SN00000001"), 0);
  ProgramResult sn = HostCli({"sn", "get"});
  ASSERT_EQ(sn.status, 0) << sn.err;
  EXPECT_EQ(FirstLine(sn.out), "ARM64SN00000001");

  // Written by the host, read here.
  ProgramResult pcb = HostCli({"pcb", "set", "HOSTPCB042"});
  ASSERT_EQ(pcb.status, 0) << pcb.err;
  char code[64] = {};
  ASSERT_EQ(get_pcb(code), 0);
  EXPECT_STREQ(code, "HOSTPCB042");
  char serial[64] = {};
  ASSERT_EQ(get_sn_from_backup(serial), 0);
  EXPECT_STREQ(serial, "ARM64SN00000001");

  // A little-endian int32 inside the checksummed record, each way.
  constexpr size_t kBatteryLimitOffset = 1532;
  ProgramResult set = HostCli({"nv", "set", "battery_limit", "77"});
  ASSERT_EQ(set.status, 0) << set.err;
  std::vector<uint8_t> record(XOLE_NV_ITEM_SIZE, 0);
  ASSERT_EQ(get_XOLE_NV_item(record.data()), 0);
  EXPECT_EQ(verify_xole_nv_checksum(record.data()), 1);
  int32_t limit = 0;
  memcpy(&limit, record.data() + kBatteryLimitOffset, sizeof(limit));
  EXPECT_EQ(limit, 77);

  limit = -12345;
  memcpy(record.data() + kBatteryLimitOffset, &limit, sizeof(limit));
  ASSERT_EQ(put_XOLE_NV_item(record.data()), 0);
  ProgramResult get = HostCli({"nv", "get", "battery_limit"});
  ASSERT_EQ(get.status, 0) << get.err;
  EXPECT_NE(get.out.find("-12345"), std::string::npos) << get.out;
}

}  // namespace
}  // namespace orba::test
