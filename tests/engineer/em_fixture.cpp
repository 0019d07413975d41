#include "em_fixture.h"

#include <sys/system_properties.h>

#include <sstream>

#include <platform/host/device_init.h>

#include "atcmd_service.h"
#include "call_log.h"

namespace orba::test {

void EmTest::SetUp() {
  DeviceRootTest::SetUp();
  ASSERT_EQ(orba_init_property_area(), 0);
}

void EmTest::TearDown() {
  StopEm();
  if (atcmd_ != nullptr) atcmd_->Stop();
  atcmd_.reset();
  DeviceRootTest::TearDown();
}

void EmTest::StartEm() {
  em_ = std::make_unique<sim::EmService>();
  ASSERT_EQ(em_->Start(), 0);
}

void EmTest::StopEm() {
  if (em_ != nullptr) em_->Stop();
  em_.reset();
}

void EmTest::StartAtcmd() {
  int error = 0;
  atcmd_ = sim::StartAtcmdService(&error);
  ASSERT_NE(atcmd_, nullptr) << error;
}

void EmTest::InstallEngineerMode() {
  WriteDeviceFile("/system/app/orbaEngineerMode/orbaEngineerMode.apk", "");
}

void EmTest::SetProp(const char* name, const std::string& value) {
  ASSERT_EQ(orba_init_property_set(name, value.c_str()), 0) << name;
}

std::string EmTest::GetProp(const char* name) {
  char value[PROP_VALUE_MAX] = {};
  __system_property_get(name, value);
  return value;
}

std::vector<std::string> EmTest::Calls() const {
  std::istringstream in(ReadDeviceFile(sim::kEmCalls));
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

int EmTest::CountCalls(const std::string& prefix) const {
  int n = 0;
  for (const std::string& line : Calls()) {
    if (line.compare(0, prefix.size(), prefix) == 0) ++n;
  }
  return n;
}

}  // namespace orba::test
