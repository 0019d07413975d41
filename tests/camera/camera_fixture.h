#ifndef ORBA_TESTS_CAMERA_CAMERA_FIXTURE_H
#define ORBA_TESTS_CAMERA_CAMERA_FIXTURE_H

#include <string>

#include "service_device.h"
#include "support/log_capture.h"

namespace orba::test {

// A device whose camera nodes the test writes by hand, with the AT-command service in-process
// (features and properties go through it).
class CameraNodeTest : public ServiceDeviceTest {
 protected:
  void SetUp() override;
  // Writes /etc/em_features.xml with a camera_motor_type line and any extra feature lines.
  void SetFeatures(const std::string& motor_type, const std::string& extra = "");
  // A node's text with a trailing newline dropped.
  std::string Node(const std::string& device_path) const;

  LogCapture log_;
};

}  // namespace orba::test

#endif
