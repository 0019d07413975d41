#include "support/sim_device.h"

#include <gtest/gtest.h>

namespace orba::test {

void SimDeviceTest::SetUp() {
  DeviceRootTest::SetUp();
  auto init = Sim({"init"});
  ASSERT_EQ(init.status, 0) << init.err;
  auto start = Sim({"start"});
  ASSERT_EQ(start.status, 0) << start.err;
}

void SimDeviceTest::TearDown() {
  Sim({"stop"});
  DeviceRootTest::TearDown();
}

ProgramResult SimDeviceTest::Cli(std::vector<std::string> args) const {
  args.insert(args.begin(), {BinPath("orbafactory"), "--root", root()});
  return RunProgram(args);
}

ProgramResult SimDeviceTest::Sim(std::vector<std::string> args) const {
  args.insert(args.begin(), BinPath("orbafactory-sim"));
  args.insert(args.end(), {"--root", root()});
  return RunProgram(args);
}

}  // namespace orba::test
