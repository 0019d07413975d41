#ifndef ORBA_SIM_EM_CAMERA_APP_H
#define ORBA_SIM_EM_CAMERA_APP_H

// What the simulated camera app's socket service answers. The reply table
// (/data/sim/camera_replies, see reply_table.h) comes first; otherwise a factory-test message
//
//   eng_AT_camera#POSITION#TYPE[&TYPE2]#FUNCTION#PARAMETERS...
//
// is answered as the camera pipeline would: POSITION is "front" or "rear", each TYPE a camera
// the device has on that side (the camera_type feature: "rear" + "main" is rear_camera_main in
// its back[...] list). A known FUNCTION answers "success#KEY VALUE#..." with readings of the
// simulated module; an unknown camera or function answers "fail#REASON". Any other message
// gets sim.camera.default_reply, else "error".

#include <string>

namespace orba::sim {

std::string CameraAppAnswer(const std::string& message);

}  // namespace orba::sim

#endif
