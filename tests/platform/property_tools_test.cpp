#include <gtest/gtest.h>

#include <string>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace {

using orba::test::BinPath;
using orba::test::RunProgram;

class PropertyToolsTest : public orba::test::DeviceRootTest {};

TEST_F(PropertyToolsTest, SetpropThenGetpropAcrossProcesses) {
  auto set = RunProgram({BinPath("setprop"), "persist.vendor.x", "42"});
  ASSERT_EQ(set.status, 0) << set.err;
  auto get = RunProgram({BinPath("getprop"), "persist.vendor.x"});
  EXPECT_EQ(get.status, 0);
  EXPECT_EQ(get.out, "42\n");
  auto dflt = RunProgram({BinPath("getprop"), "missing.prop", "dflt"});
  EXPECT_EQ(dflt.out, "dflt\n");
  auto all = RunProgram({BinPath("getprop")});
  EXPECT_EQ(all.out, "[persist.vendor.x]: [42]\n");
}

TEST_F(PropertyToolsTest, SetpropRefusesWhatThePhoneRefuses) {
  ASSERT_EQ(RunProgram({BinPath("setprop"), "ro.serialno", "A1"}).status, 0);
  auto again = RunProgram({BinPath("setprop"), "ro.serialno", "B2"});
  EXPECT_EQ(again.status, 1);
  EXPECT_NE(again.err.find("failed to set property 'ro.serialno'"), std::string::npos) << again.err;
  auto usage = RunProgram({BinPath("setprop"), "only.name"});
  EXPECT_EQ(usage.status, 1);
  EXPECT_NE(usage.err.find("usage"), std::string::npos);
}

}  // namespace
