#ifndef ORBA_ENGINEER_CAMERA_CONTROL_H
#define ORBA_ENGINEER_CAMERA_CONTROL_H

namespace orba::engineer {

// The camera app that carries the socket service: the engineer camera when the phone has it,
// else the stock camera. Package and component of the same app.
struct CameraApp {
  const char* package;
  const char* component;
};

const CameraApp& InstalledCameraApp();

}  // namespace orba::engineer

#endif
