// Starting and stopping the camera app that answers camera requests.

#include <orbafactory/engineer.h>

#include <unistd.h>

#include <platform/devpath.h>
#include <platform/log.h>

#include "camera_control.h"

namespace orba::engineer {

const CameraApp& InstalledCameraApp() {
  static const CameraApp kEngineerCamera = {
      "com.orba.engineercamera", "com.orba.engineercamera/.service.CameraSocketService"};
  static const CameraApp kStockCamera = {"com.android.camera",
                                         "com.android.camera/.service.CameraSocketService"};
  return access(DevPath("/system/app/EngineerCamera/EngineerCamera.apk"), F_OK) == 0
             ? kEngineerCamera
             : kStockCamera;
}

}  // namespace orba::engineer

extern "C" ORBA_EXPORT int startCameraSocketService(void) {
  const orba::engineer::CameraApp& app = orba::engineer::InstalledCameraApp();
  ORBA_LOGD("begin to start \"%s\"", app.package);
  return startServiceFromAtcid(app.component, nullptr, nullptr) ? 1 : 0;
}

extern "C" ORBA_EXPORT int stopCameraFromAtcid(void) {
  const orba::engineer::CameraApp& app = orba::engineer::InstalledCameraApp();
  ORBA_LOGD("begin to stop \"%s\"", app.package);
  return stopActivityFromAtcid(app.package, nullptr, nullptr) ? 1 : 0;
}

// The camera app now starts its own socket service and keeps it up for as long as it runs, so
// these two are left with nothing to do. Callers built against older releases still link them.
extern "C" ORBA_EXPORT void startCameraFromAtcid(void) {}
extern "C" ORBA_EXPORT void stopCameraSocketService(void) {}
