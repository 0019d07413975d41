#ifndef ORBA_SIM_DEVICE_DEVICE_PROCESS_H
#define ORBA_SIM_DEVICE_DEVICE_PROCESS_H

// What the host's /proc says about a process, for deciding whether it belongs to a simulated
// device. The device's processes are real host processes, and the pid files that name them live
// inside a device root anyone with a shell on the device can write: a pid read from there is
// only a claim until /proc confirms it.

#include <sys/types.h>

#include <string>

namespace orba::sim {

// A small /proc/PID/WHAT file of the host, whole ("" when it cannot be read).
std::string ReadProc(pid_t pid, const char* what);
// True when the process runs with ORBA_DEVICE_ROOT set to `root` (how every process of the
// device is started), as the device's owner or root (platform/host/device_process.h).
bool RunsOnDevice(pid_t pid, const std::string& root);
// True when the process executes the program at the host path `program` (the same file; a
// program rebuilt since the process started still counts, by the path the kernel recorded).
bool RunsProgram(pid_t pid, const std::string& program);

}  // namespace orba::sim

#endif
