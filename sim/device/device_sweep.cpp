#include "device_sweep.h"

#include <dirent.h>
#include <errno.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>

#include "device_process.h"
#include "services.h"

namespace orba::sim {
namespace {

bool RunsService(const SimContext& ctx, pid_t pid) {
  for (const ServiceSpec& s : DeviceServices()) {
    if (RunsProgram(pid, ctx.bin_dir + "/" + s.program)) return true;
  }
  return false;
}

// Session id from /proc/PID/stat (the sixth field; the name in parentheses may hold spaces).
pid_t SessionOf(pid_t pid) {
  std::string stat = ReadProc(pid, "stat");
  size_t close_paren = stat.rfind(')');
  if (close_paren == std::string::npos) return 0;
  char state = 0;
  int ppid = 0, pgrp = 0, session = 0;
  if (sscanf(stat.c_str() + close_paren + 2, "%c %d %d %d", &state, &ppid, &pgrp, &session) != 4 ||
      state == 'Z') {
    return 0;
  }
  return session;
}

}  // namespace

std::vector<pid_t> DeviceProcesses(const SimContext& ctx) {
  std::vector<pid_t> on_device;
  DIR* proc = opendir("/proc");  // host path: real /proc
  if (proc == nullptr) return on_device;
  while (dirent* e = readdir(proc)) {
    pid_t pid = atoi(e->d_name);
    if (pid > 1 && pid != getpid() && RunsOnDevice(pid, ctx.root)) on_device.push_back(pid);
  }
  closedir(proc);
  const pid_t own_session = getsid(0);
  std::vector<pid_t> found;
  for (pid_t pid : on_device) {
    pid_t session = SessionOf(pid);
    if (session <= 1 || session == own_session) continue;
    // A service leads its session; a child of one is in a session whose leader is a service
    // or, when the service died first, gone.
    // A leader that is gone, or dead and not yet reaped by whoever adopted it, left its
    // children behind.
    bool ours = session == pid ? RunsService(ctx, pid)
                               : SessionOf(session) == 0 || (RunsOnDevice(session, ctx.root) &&
                                                             RunsService(ctx, session));
    if (ours) found.push_back(pid);
  }
  return found;
}

bool EndDeviceProcesses(const SimContext& ctx, std::string* error) {
  std::vector<pid_t> pids = DeviceProcesses(ctx);
  for (pid_t pid : pids) kill(pid, SIGTERM);
  for (int waited = 0; !pids.empty(); waited += 10) {
    if (waited == 3000) {
      for (pid_t pid : pids) kill(pid, SIGKILL);
    }
    if (waited == 5000) {
      *error = "pid " + std::to_string(pids[0]) + " of the device does not stop";
      return false;
    }
    while (waitpid(-1, nullptr, WNOHANG) > 0) {
    }
    pids.erase(std::remove_if(pids.begin(), pids.end(), [](pid_t p) { return SessionOf(p) == 0; }),
               pids.end());
    timespec ts{0, 10 * 1000000L};
    nanosleep(&ts, nullptr);
  }
  return true;
}

}  // namespace orba::sim
