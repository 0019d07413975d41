#ifndef ORBA_SIM_DEVICE_DEVICE_STATE_H
#define ORBA_SIM_DEVICE_DEVICE_STATE_H

// Whether a simulated device as a whole is up, and the lock that makes starting and stopping it
// one thing at a time.
//
// `init` leaves a device stopped, a full `start` marks it running once every service serves (a
// start of one service by name marks it running at once: its caller chose to run the device a
// service at a time), and a full `stop` marks it stopped before it stops anything. Tools and the library read the mark
// (kDeviceStateFile) so that nothing starts a service behind the caller's back on a device
// nobody started: the device's own start/stop tools refuse there, and orbafactory reports it.

#include <string>

#include <android-base/unique_fd.h>

#include "sim_context.h"

namespace orba::sim {

constexpr char kDeviceStateFile[] = "/data/sim/state";
constexpr char kRunning[] = "running";
constexpr char kStopped[] = "stopped";

bool WriteDeviceState(const char* state);
// The recorded state; "" for a root laid out before the state was kept.
std::string ReadDeviceState();

// What a caller that finds the device stopped is told: how to start it.
std::string StoppedMessage(const SimContext& ctx);

// An exclusive lock on the device's start and stop, held for the object's life. A second
// `start` or `stop` on the same root waits for the first to finish, so two starts cannot both
// find a service absent and start it twice.
class DeviceLock {
 public:
  DeviceLock();
  bool held() const { return fd_.get() >= 0; }

 private:
  android::base::unique_fd fd_;
};

}  // namespace orba::sim

#endif
