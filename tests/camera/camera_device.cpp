#include "camera_device.h"

#include <stdlib.h>

#include <gtest/gtest.h>

namespace orba::test {

void CameraDeviceTest::StartDevice(const std::string& profile,
                                   const std::vector<std::pair<std::string, std::string>>& knobs) {
  auto init = Sim({"init", "--profile", profile});
  ASSERT_EQ(init.status, 0) << init.err;
  for (const auto& k : knobs) {
    auto set = Sim({"setprop", k.first, k.second});
    ASSERT_EQ(set.status, 0) << set.err;
  }
  auto start = Sim({"start"});
  ASSERT_EQ(start.status, 0) << start.err;
  started_ = true;
}

void CameraDeviceTest::TearDown() {
  if (started_) Sim({"stop"});
  DeviceRootTest::TearDown();
}

ProgramResult CameraDeviceTest::Sim(std::vector<std::string> args) const {
  args.insert(args.begin(), BinPath("orbafactory-sim"));
  args.insert(args.end(), {"--root", root()});
  return RunProgram(args);
}

ProgramResult CameraDeviceTest::Cli(std::vector<std::string> args) const {
  args.insert(args.begin(), {BinPath("orbafactory"), "--root", root()});
  return RunProgram(args);
}

double CameraDeviceTest::Truth(const char* device_path) const {
  return atof(ReadDeviceFile(device_path).c_str());
}

bool CameraDeviceTest::LogHas(const std::string& text) const {
  for (const LogLine& l : log_.Lines()) {
    if (l.text.find(text) != std::string::npos) return true;
  }
  return false;
}

}  // namespace orba::test
