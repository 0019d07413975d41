#include "device_state.h"

#include <fcntl.h>
#include <sys/file.h>

#include "device_files.h"
#include "device_fs.h"

namespace orba::sim {

bool WriteDeviceState(const char* state) {
  MakeDeviceDirs("/data/sim");
  return WriteDeviceFile(kDeviceStateFile, std::string(state) + "\n");
}

std::string ReadDeviceState() {
  std::string text;
  if (!ReadDeviceFile(kDeviceStateFile, &text)) return "";
  while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
  return text;
}

std::string StoppedMessage(const SimContext& ctx) {
  return "the device is stopped: orbafactory-sim start --root " + ctx.root;
}

DeviceLock::DeviceLock() {
  MakeDeviceDirs("/data/sim/run");
  fd_ = OpenInDevice("/data/sim/run/lock", O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  // The lock dies with its holder, so a start killed half-way leaves nothing to clean up.
  if (fd_.get() >= 0 && flock(fd_.get(), LOCK_EX) != 0) fd_.reset();
}

}  // namespace orba::sim
