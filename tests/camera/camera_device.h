#ifndef ORBA_TESTS_CAMERA_CAMERA_DEVICE_H
#define ORBA_TESTS_CAMERA_CAMERA_DEVICE_H

#include <string>
#include <vector>

#include "support/device_root.h"
#include "support/log_capture.h"
#include "support/subprocess.h"

namespace orba::test {

// A simulated device with its services and hardware models running (orbafactory-sim), for
// closed-loop runs of the camera steps in this process.
class CameraDeviceTest : public DeviceRootTest {
 protected:
  // Lays out the device from `profile`, sets `knobs` (sim.* properties) and starts it.
  void StartDevice(const std::string& profile,
                   const std::vector<std::pair<std::string, std::string>>& knobs = {});
  void TearDown() override;

  ProgramResult Sim(std::vector<std::string> args) const;
  ProgramResult Cli(std::vector<std::string> args) const;
  // The models' ground truth (/data/sim/pop_position, /data/sim/rotary_angle).
  double Truth(const char* device_path) const;
  bool LogHas(const std::string& text) const;

  LogCapture log_;
  bool started_ = false;
};

}  // namespace orba::test

#endif
