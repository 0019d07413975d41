#include "device_check.h"

#include <sys/stat.h>

#include <algorithm>
#include <string>

#include <android-base/file.h>
#include <platform/devpath.h>

#if !defined(__ANDROID__)
#include <platform/host/device_owner.h>
#include <platform/host/device_root.h>
#endif

namespace orba::cli {

#if defined(__ANDROID__)

int CheckDevice(Reply&, const Args&) { return kOk; }

#else

namespace {

// A path that is no device, or a simulated device nobody started, ends the command before any
// step, since a step would otherwise fail on the missing services one by one (or, worse, pass on
// a device without them).
int CheckRunning(Reply& reply, const std::string& root) {
  struct stat st;
  if (stat(root.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {  // host path: the root itself
    return Error(reply, kNoDevice,
                 "%s is not a device: create one with orbafactory-sim init --root %s",
                 root.c_str(), root.c_str());
  }
  std::string state;
  // Followed: DevPath has already resolved the name inside the root, to a descriptor's path.
  android::base::ReadFileToString(DevPath("/data/sim/state").c_str(), &state,
                                  /*follow_symlinks=*/true);
  if (state == "stopped\n") {
    return Error(reply, kNoDevice, "the device is stopped: orbafactory-sim start --root %s",
                 root.c_str());
  }
  return kOk;
}

}  // namespace

int CheckDevice(Reply& reply, const Args& args) {
  const bool own_device = std::find(args.begin(), args.end(), "--image") != args.end();
  orba_device_root_reset();
  if (orba_device_root()[0] == '\0' && !own_device) {
    return reply.Failure(kNoDevice, "no simulated device (give --root DIR)",
                         "  start one: orbafactory-sim init --root DIR && "
                         "orbafactory-sim start --root DIR\n"
                         "  or take one for the whole shell: eval \"$(orbafactory-sim env --root DIR)\"");
  }
  std::string why;
  if (!orba::platform::CurrentRootUsable(&why)) return Error(reply, kNoDevice, "%s", why.c_str());
  return own_device ? kOk : CheckRunning(reply, orba_device_root());
}

#endif

}  // namespace orba::cli
