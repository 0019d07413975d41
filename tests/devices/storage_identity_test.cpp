// Storage identity and security state on a running simulated device: attribute nodes in the
// device root, the BOM table through the AT-command service, and the device's tlcrpmb_gp tool.

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include <orbafactory/devices.h>

#include "support/sim_device.h"

namespace orba::test {
namespace {

constexpr char kCid[] = "/sys/block/mmcblk0/device/cid";
constexpr char kVendor[] = "/sys/block/sda/device/vendor";
constexpr char kModel[] = "/sys/block/sda/device/model";

class StorageTest : public SimDeviceTest {
 protected:
  void SetUp() override {
    SimDeviceTest::SetUp();
    saved_path_ = getenv("PATH") != nullptr ? getenv("PATH") : "/usr/bin:/bin";
    // The device's tools first, as on the phone.
    setenv("PATH", (root() + "/system/bin:" + saved_path_).c_str(), 1);
    unlink(HostPath(kCid).c_str());
  }
  void TearDown() override {
    setenv("PATH", saved_path_.c_str(), 1);
    SimDeviceTest::TearDown();
  }
  // Writes `content` to the node, or removes it when content is null.
  void Node(const char* path, const char* content) {
    if (content == nullptr) {
      unlink(HostPath(path).c_str());
    } else {
      WriteDeviceFile(path, content);
    }
  }

 private:
  std::string saved_path_;
};

struct MakerCase {
  const char* name;
  const char* cid;     // null: no eMMC
  const char* vendor;  // null: no UFS vendor node
  int ret;
  const char* answer;
};

class MakerTest : public StorageTest, public ::testing::WithParamInterface<MakerCase> {};

TEST_P(MakerTest, Answers) {
  const MakerCase& c = GetParam();
  Node(kCid, c.cid);
  Node(kVendor, c.vendor);
  char dst[64] = {};
  EXPECT_EQ(get_emmc_manufacture(dst), c.ret);
  EXPECT_STREQ(dst, c.answer);
}

INSTANTIATE_TEST_SUITE_P(
    Storage, MakerTest,
    ::testing::Values(MakerCase{"EmmcSamsung", "15010041", "TOSHIBA", 0, "Samsung"},
                      MakerCase{"EmmcToshiba", "11010041", nullptr, 0, "Toshiba"},
                      MakerCase{"EmmcHynix", "90014a", nullptr, 0, "Hynix"},
                      MakerCase{"EmmcMicronFe", "fe014e", nullptr, 0, "Micron"},
                      MakerCase{"EmmcMicron13", "13014e", nullptr, 0, "Micron"},
                      MakerCase{"EmmcUnknown", "45010041", "SAMSUNG", -1, "Unkonwn"},
                      MakerCase{"UfsKioxiaAnyCase", nullptr, "kioxia  ", 0, "Kioxia"},
                      MakerCase{"UfsToshibaLowerCase", nullptr, "toshiba ", -1, "Unkonwn"},
                      MakerCase{"UfsSkHynix", nullptr, "SKhynix ", 0, "Hynix"},
                      MakerCase{"UfsMicron", nullptr, "MICRON  ", 0, "Micron"},
                      MakerCase{"NoNodes", nullptr, nullptr, -1, "get ufs vendor fail"}),
    [](const ::testing::TestParamInfo<MakerCase>& info) { return std::string(info.param.name); });

struct BomCase {
  const char* name;
  const char* cid;
  const char* model;
  const char* table;
  int ret;
  const char* answer;
};

class BomTest : public StorageTest, public ::testing::WithParamInterface<BomCase> {};

TEST_P(BomTest, Answers) {
  const BomCase& c = GetParam();
  Node(kCid, c.cid);
  Node(kModel, c.model);
  WriteDeviceFile("/system/etc/emmc_bom", c.table);
  char dst[128] = {};
  EXPECT_EQ(get_emmc_bom(dst), c.ret);
  EXPECT_STREQ(dst, c.answer);
}

INSTANTIATE_TEST_SUITE_P(
    Storage, BomTest,
    ::testing::Values(
        // the key is the CID's product-name field, characters 6..17; matched without case
        BomCase{"EmmcKey", "150100414a54443452100a1b", nullptr, "414A54443452=BOM-1\n", 0,
                "BOM-1"},
        BomCase{"KeyNotInTable", "150100414a54443452100a1b", nullptr, "OTHER=BOM-2\n", 0,
                "414a54443452"},
        BomCase{"UfsModelWithoutSpaces", nullptr, "THGJ FGT1 E45", "THGJFGT1E45=BOM-3\n", 0,
                "BOM-3"},
        BomCase{"NoNodes", nullptr, nullptr, "", -1, "get ufs model fail"}),
    [](const ::testing::TestParamInfo<BomCase>& info) { return std::string(info.param.name); });

TEST_F(StorageTest, ChipIdPrefersTheUfsIdRelativeToTheWorkingDirectory) {
  char cwd[4096];
  ASSERT_NE(getcwd(cwd, sizeof(cwd)), nullptr);
  ASSERT_EQ(chdir(root().c_str()), 0);
  char dst[101] = {};
  EXPECT_EQ(get_emmcid(dst), 0) << "neither node";
  Node(kCid, "150100414a54443452100a1b2c3d4e00");
  EXPECT_EQ(get_emmcid(dst), 1);
  EXPECT_STREQ(dst, "150100414a54443452100a1b2c3d4e00");
  WriteDeviceFile("/sys/ufs/ufsid", std::string(150, 'a'));
  EXPECT_EQ(get_emmcid(dst), 1);
  EXPECT_EQ(std::string(dst), std::string(100, 'a')) << "at most 100 characters";
  ASSERT_EQ(chdir(cwd), 0);
  // Elsewhere the relative node is not found: the CID answers.
  EXPECT_EQ(get_emmcid(dst), 1);
  EXPECT_STREQ(dst, "150100414a54443452100a1b2c3d4e00");
}

struct SecureCase {
  const char* name;
  const char* lcs;  // null: node absent
  const char* en;
  int ret;
};

class SecureBootTest : public StorageTest, public ::testing::WithParamInterface<SecureCase> {};

TEST_P(SecureBootTest, Answers) {
  const SecureCase& c = GetParam();
  Node("/proc/sec_oem_lcs", c.lcs);
  Node("/proc/sec_en", c.en);
  EXPECT_EQ(secure_boot_is_open(), c.ret);
}

INSTANTIATE_TEST_SUITE_P(
    Storage, SecureBootTest,
    ::testing::Values(SecureCase{"Fused", "0x00000003", "1", 1},
                      SecureCase{"LifeCycleNotFinal", "0x00000001", "1", 0},
                      SecureCase{"NoLifeCycleNode", nullptr, "1", 1},
                      SecureCase{"NotEnabled", nullptr, "0", 0},
                      SecureCase{"NoNodes", nullptr, nullptr, 0}),
    [](const ::testing::TestParamInfo<SecureCase>& info) { return std::string(info.param.name); });

TEST_F(StorageTest, RpmbAnswersFromTheTool) {
  EXPECT_EQ(is_rpmb_provisioned(), 1);  // the default device is provisioned
  ASSERT_EQ(Sim({"setprop", "sim.rpmb.result", "0"}).status, 0);
  EXPECT_EQ(is_rpmb_provisioned(), 0);
}

TEST_F(StorageTest, RpmbRetriesWhileTheSecureWorldIsNotReady) {
  // A tool that counts its runs and is never ready.
  std::string count = HostPath("/data/local/tmp/runs");
  WriteDeviceFile("/system/bin/tlcrpmb_gp",
                  "#!/bin/sh\necho x >> '" + count + "'\necho result=2\n");
  chmod(HostPath("/system/bin/tlcrpmb_gp").c_str(), 0755);
  EXPECT_EQ(is_rpmb_provisioned(), 0);
  std::string runs = ReadDeviceFile("/data/local/tmp/runs");
  EXPECT_EQ(std::count(runs.begin(), runs.end(), '\n'), 11) << "one run and ten retries";
}

}  // namespace
}  // namespace orba::test
