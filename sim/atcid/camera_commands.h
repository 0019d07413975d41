#ifndef ORBA_SIM_ATCID_CAMERA_COMMANDS_H
#define ORBA_SIM_ATCID_CAMERA_COMMANDS_H

#include "at_engine.h"

namespace orba::at {

// The camera family (+TQ_CCM_...): each command is translated by the library into the camera
// service's message, sent to the service, and its answer translated back into the response.
void AddCameraCommands(AtEngine* engine);

}  // namespace orba::at

#endif
