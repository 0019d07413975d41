// Project, build and mode predicates against the device's properties and files, read through the
// running AT-command service where the phone needs it.

#include <android/log.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include <orbafactory/config.h>

#include "service_device.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

class IdentityTest : public ServiceDeviceTest {};

struct PredicateCase {
  const char* name;
  std::vector<std::pair<const char*, const char*>> properties;
  std::function<int()> call;
  int expected;
};

void RunCases(const std::vector<PredicateCase>& cases,
              const std::function<void(const std::string&, const std::string&)>& set) {
  for (const PredicateCase& c : cases) {
    for (const auto& [name, value] : c.properties) set(name, value);
    EXPECT_EQ(c.call(), c.expected) << c.name;
  }
}

TEST_F(IdentityTest, ProjectOrderIsByteWise) {
  const char* model = "ro.orba.product.model";
  const std::vector<PredicateCase> cases = {
      {"same project", {{model, "PD5404"}}, [] { return is_above_PD_project(5404); }, 1},
      {"later project", {{model, "PD5404"}}, [] { return is_above_PD_project(5405); }, 0},
      {"earlier project", {{model, "PD5404"}}, [] { return is_above_PD_project(5303); }, 1},
      {"suffix sorts after", {{model, "PD5404F_EX"}}, [] { return is_above_PD_project(5404); }, 1},
      {"9 sorts after 1", {{model, "PD999"}}, [] { return is_above_PD_project(1000); }, 1},
      {"1 sorts before 9", {{model, "PD1000"}}, [] { return is_above_PD_project(999); }, 0},
      {"TD is no PD", {{model, "TD1801"}}, [] { return is_above_PD_project(1000); }, 0},
      {"TD above", {{model, "TD1801"}}, [] { return is_above_TD_project(1801); }, 1},
      {"TD below", {{model, "TD1801"}}, [] { return is_above_TD_project(1802); }, 0},
      {"PD is no TD", {{model, "PD5404"}}, [] { return is_above_TD_project(1000); }, 0},
      {"exact project", {{model, "PD5202CMA"}}, [] { return is_project("PD5202CMA"); }, 1},
      {"prefix is not the project", {{model, "PD5202CMA"}}, [] { return is_project("PD5202"); }, 0},
      {"series", {{model, "PD5202CMA"}}, [] { return is_project_series("PD52"); }, 1},
      {"other series", {{model, "PD5202CMA"}}, [] { return is_project_series("PD54"); }, 0},
      {"export variant", {{model, "PD5404F_EX"}}, [] { return is_foreign_project(); }, 1},
      {"home variant", {{model, "PD5404"}}, [] { return is_foreign_project(); }, 0},
      {"hardware", {{"ro.hardware.qzt", "qcom_sm8250"}}, [] { return is_hardware("sm8250"); }, 1},
      {"other hardware", {{"ro.hardware.qzt", "qcom"}}, [] { return is_hardware("mt6893"); }, 0},
  };
  RunCases(cases, [this](const std::string& n, const std::string& v) { SetProperty(n, v); });
}

TEST_F(IdentityTest, NotAPhoneProjectIsLogged) {
  SetProperty("ro.orba.product.model", "TD1801");
  LogCapture log;
  EXPECT_EQ(is_above_PD_project(1000), 0);
  EXPECT_EQ(is_above_TD_project(1000), 1);
  EXPECT_EQ(is_above_PD_project(1), 0);
  int lines = 0;
  for (const LogLine& l : log.Lines()) {
    if (l.text == "not PD project!!") {
      ++lines;
      EXPECT_EQ(l.func, "is_above_PD_project");
    }
  }
  EXPECT_EQ(lines, 2) << log.Dump();
}

TEST_F(IdentityTest, ModesAndBuild) {
  const std::vector<PredicateCase> cases = {
      {"user mode", {{"persist.sys.user.qztem", "1"}}, [] { return is_user_mode(); }, 1},
      {"user mode needs exactly 1", {{"persist.sys.user.qztem", "10"}}, [] { return is_user_mode(); }, 0},
      {"aftersale", {{"persist.sys.aftersale.qztem", "1"}}, [] { return is_aftersale_mode(); }, 1},
      {"aftersale off", {{"persist.sys.aftersale.qztem", "0"}}, [] { return is_aftersale_mode(); }, 0},
      {"factory mode", {{"persist.sys.factory.mode", "yes"}}, [] { return is_factory_mode_func(); }, 1},
      {"factory mode keeps case", {{"persist.sys.factory.mode", "YES"}}, [] { return is_factory_mode_func(); }, 0},
      {"dsds", {{"persist.radio.multisim.config", "dsds"}}, [] { return is_multi_sim_enabled(); }, 1},
      {"tsts", {{"persist.radio.multisim.config", "tsts"}}, [] { return is_multi_sim_enabled(); }, 1},
      {"longer than dsds", {{"persist.radio.multisim.config", "dsdsx"}}, [] { return is_multi_sim_enabled(); }, 0},
      {"ssss", {{"persist.radio.multisim.config", "ssss"}}, [] { return is_multi_sim_enabled(); }, 0},
      {"ogc", {{"ro.product.upgrade.level", "1.2"}}, [] { return is_ogc_support(); }, 1},
      {"dyn any case", {{"ro.orba.dyn.support", "YES"}}, [] { return is_dyn_support(); }, 1},
      {"dyn no", {{"ro.orba.dyn.support", "no"}}, [] { return is_dyn_support(); }, 0},
      {"preload any case", {{"ro.build.version.group", "v2.0"}}, [] { return is_preload_support(); }, 1},
      {"preload other group", {{"ro.build.version.group", "V2.01"}}, [] { return is_preload_support(); }, 0},
      {"sdk", {{"ro.build.version.sdk", "31"}}, [] { return get_android_sdk_version(); }, 31},
      {"release reached", {{"ro.build.version.release", "12"}}, [] { return is_above_Ard_version(12); }, 1},
      {"release dotted", {{"ro.build.version.release", "12.1"}}, [] { return is_above_Ard_version(13); }, 0},
      {"qcom", {{"ro.orba.product.solution", "qcom"}}, [] { return judge_platform(); }, 1},
      {"MTK in capitals", {{"ro.orba.product.solution", "MTK6893"}}, [] { return judge_platform(); }, 2},
      {"samsung", {{"ro.orba.product.solution", "Exynos-Samsung"}}, [] { return judge_platform(); }, 3},
      {"unknown solution", {{"ro.orba.product.solution", "unisoc"}}, [] { return judge_platform(); }, 0},
  };
  RunCases(cases, [this](const std::string& n, const std::string& v) { SetProperty(n, v); });
}

TEST_F(IdentityTest, UnsetPropertiesTakeTheirDefaults) {
  EXPECT_EQ(get_android_sdk_version(), 18);
  EXPECT_EQ(judge_platform(), 0);
  EXPECT_EQ(is_user_mode(), 0);
  EXPECT_EQ(is_multi_sim_enabled(), 0);
  EXPECT_EQ(is_factory_mode_func(), 0);
  EXPECT_EQ(is_ogc_support(), 0);
  EXPECT_EQ(is_preload_support(), 0);
  EXPECT_EQ(is_above_Ard_version(1), 0);
  EXPECT_EQ(is_above_Ard_version(0), 1);
  EXPECT_EQ(is_above_PD_project(1), 0);
}

TEST_F(IdentityTest, FingerprintOnlyOnItsProjectWithASensorType) {
  const char* model = "ro.orba.product.model";
  const char* type = "persist.sys.fptype";
  const std::vector<PredicateCase> cases = {
      {"fitted", {{model, "PD5101"}, {type, "udfp"}}, [] { return is_finger_support(); }, 1},
      {"variant of the project", {{model, "PD5101BA"}, {type, "side"}}, [] { return is_finger_support(); }, 1},
      {"type with a zero", {{model, "PD5101"}, {type, "fp20"}}, [] { return is_finger_support(); }, 0},
      {"default type", {{model, "PD5101"}, {type, "default_x"}}, [] { return is_finger_support(); }, 0},
      {"other project", {{model, "PD5202"}, {type, "udfp"}}, [] { return is_finger_support(); }, 0},
  };
  RunCases(cases, [this](const std::string& n, const std::string& v) { SetProperty(n, v); });
}

TEST_F(IdentityTest, BuildFiles) {
  EXPECT_EQ(is_support_fuse_dp(), 0);
  WriteDeviceFile("/proc/sec_oem_lcs", "");
  EXPECT_EQ(is_support_fuse_dp(), 1);

  {
    LogCapture log;
    EXPECT_EQ(is_bsp_version(), 1);
    EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "bsp_version!")) << log.Dump();
  }
  for (const char* app : {"/factory/app/orbaEngineerMode/orbaEngineerMode.apk",
                          "/system/app/orbaUserEngineerMode/orbaUserEngineerMode.apk"}) {
    WriteDeviceFile(app, "");
    EXPECT_EQ(is_bsp_version(), 0) << app;
    remove(HostPath(app).c_str());
  }
}

TEST_F(IdentityTest, CardSlotStatus) {
  char buf[16];
  {
    LogCapture log;
    EXPECT_EQ(get_card_slot_status(buf, sizeof(buf)), -1);
    EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG,
                        "open /sys/devs_list/card_slot_status_check error:No such file or directory"))
        << log.Dump();
  }
  WriteDeviceFile("/sys/devs_list/card_slot_status_check", "2\nsecond line\n");
  EXPECT_EQ(get_card_slot_status(buf, sizeof(buf)), 0);
  EXPECT_STREQ(buf, "2");
  WriteDeviceFile("/sys/devs_list/card_slot_status_check", "inserted:sim1,sim2\n");
  EXPECT_EQ(get_card_slot_status(buf, 8), 0);
  EXPECT_STREQ(buf, "inserte");  // the line is bounded by the caller's size
}

}  // namespace
}  // namespace orba::test
