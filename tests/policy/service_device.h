#ifndef ORBA_TESTS_POLICY_SERVICE_DEVICE_H
#define ORBA_TESTS_POLICY_SERVICE_DEVICE_H

#include <memory>
#include <string>

#include <platform/host/hal_server.h>

#include "support/device_root.h"

namespace orba::test {

// A fresh device with its property area and the AT-command service running on a thread of this
// process (the daemon's own code), stopped at the end of the test.
class ServiceDeviceTest : public DeviceRootTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  void StopService();
  // Sets a property as the device's init would (read-only ones too).
  void SetProperty(const std::string& name, const std::string& value);

 private:
  std::unique_ptr<hal::HalServer> server_;
};

}  // namespace orba::test

#endif
