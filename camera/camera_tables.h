#ifndef ORBA_CAMERA_CAMERA_TABLES_H
#define ORBA_CAMERA_CAMERA_TABLES_H

#include <stddef.h>

#include <orbafactory/camera.h>

namespace orba::camera {

// The station's camera names and the camera service's, in lookup order.
extern const CameraTypeRow kCameraTypes[];
extern const size_t kCameraTypeCount;
// The camera AT commands and the service functions they call, searched in order by substring:
// the first row whose command text occurs in the received command wins.
extern const CameraAtcmdRow kCameraAtcmds[];
extern const size_t kCameraAtcmdCount;

}  // namespace orba::camera

#endif
