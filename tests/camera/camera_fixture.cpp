#include "camera_fixture.h"

#include <unistd.h>

namespace orba::test {

void CameraNodeTest::SetUp() {
  ServiceDeviceTest::SetUp();
  for (const char* node : {"/sys/class/timed_output/motor/enable",
                           "/sys/class/timed_output/motor5/enable",
                           "/sys/class/orba_hall/up_hall/enable",
                           "/sys/class/orba_hall/down_hall/enable"}) {
    WriteDeviceFile(node, "0");
  }
  WriteDeviceFile("/sys/class/timed_output/motor5/period", "50");
  WriteDeviceFile("/sys/class/timed_output/motor/cali_data", "");
  // Erased flash: the factory record starts as its defaults (unreached angle not calibrated).
  const std::string image = "/dev/block/platform/bootdevice/by-name/backup";
  WriteDeviceFile(image, std::string(32 * 1024, '\xFF'));
  WriteDeviceFile("/dev/block/bootdevice/by-name/.keep", "");
  // A link's target is a path of the device.
  ASSERT_EQ(symlink(image.c_str(), HostPath("/dev/block/bootdevice/by-name/backup").c_str()), 0);
  WriteDeviceFile("/data/vendor/engineermode/.keep", "");
}

void CameraNodeTest::SetFeatures(const std::string& motor_type, const std::string& extra) {
  WriteDeviceFile("/etc/em_features.xml",
                  "<features>\n    <feature name=\"camera_motor_type\">" + motor_type +
                      "</feature>\n" + extra + "</features>\n");
}

std::string CameraNodeTest::Node(const std::string& device_path) const {
  std::string text = ReadDeviceFile(device_path);
  if (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

}  // namespace orba::test
