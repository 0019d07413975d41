#include "service_device.h"

#include <platform/host/device_init.h>

#include "atcmd_service.h"

namespace orba::test {

void ServiceDeviceTest::SetUp() {
  DeviceRootTest::SetUp();
  ASSERT_EQ(orba_init_property_area(), 0);
  int error = 0;
  server_ = orba::sim::StartAtcmdService(&error);
  ASSERT_NE(server_, nullptr) << "error " << error;
}

void ServiceDeviceTest::TearDown() {
  StopService();
  DeviceRootTest::TearDown();
}

void ServiceDeviceTest::StopService() {
  if (server_ != nullptr) server_->Stop();
  server_.reset();
}

void ServiceDeviceTest::SetProperty(const std::string& name, const std::string& value) {
  ASSERT_EQ(orba_init_property_set(name.c_str(), value.c_str()), 0) << name;
}

}  // namespace orba::test
