#include "device_listing.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "device_fs.h"
#include "device_process.h"
#include "device_registry.h"
#include "services.h"

namespace orba::sim {
namespace {

// A small file of a device, read inside its root (links resolve as on the device).
std::string ReadInRoot(int root_fd, const std::string& device_path) {
  unique_fd fd = OpenBeneath(root_fd, device_path, O_RDONLY);
  std::string text;
  if (fd.get() < 0 || !ReadAll(fd.get(), &text, 4096)) return "";
  while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
  return text;
}

// The program a process runs, by the name the kernel recorded ("" when gone).
std::string ProgramName(pid_t pid) {
  std::string exe = "/proc/" + std::to_string(pid) + "/exe";
  char target[4096];
  ssize_t n = readlink(exe.c_str(), target, sizeof(target) - 1);  // host path: real /proc
  if (n <= 0) return "";
  std::string path(target, static_cast<size_t>(n));
  const std::string deleted = " (deleted)";  // rebuilt under the running service
  if (path.size() > deleted.size() &&
      path.compare(path.size() - deleted.size(), deleted.size(), deleted) == 0) {
    path.resize(path.size() - deleted.size());
  }
  return path.substr(path.rfind('/') + 1);
}

bool Alive(pid_t pid) {
  std::string stat = ReadProc(pid, "stat");
  size_t close_paren = stat.rfind(')');
  return close_paren != std::string::npos && close_paren + 2 < stat.size() &&
         stat[close_paren + 2] != 'Z';
}

// A pid file is only a claim: the service runs when that pid is alive, on this device, and runs
// the service's program. Whichever build started it: a list is not for signalling.
bool ServiceRuns(int root_fd, const std::string& root, const ServiceSpec& s) {
  pid_t pid = atoi(ReadInRoot(root_fd, std::string("/data/sim/run/") + s.name + ".pid").c_str());
  return pid > 1 && Alive(pid) && RunsOnDevice(pid, root) && ProgramName(pid) == s.program;
}

// The device roots of this user's processes that run a service of a simulated device.
std::vector<std::string> RootsOfRunningServices() {
  std::vector<std::string> roots;
  DIR* proc = opendir("/proc");  // host path: real /proc
  if (proc == nullptr) return roots;
  while (dirent* e = readdir(proc)) {
    pid_t pid = atoi(e->d_name);
    if (pid <= 0) continue;
    struct stat st;
    std::string dir = std::string("/proc/") + e->d_name;
    if (stat(dir.c_str(), &st) != 0 || st.st_uid != getuid()) continue;  // host path: real /proc
    if (FindService(ProgramName(pid)) == nullptr) continue;
    std::string env = ReadProc(pid, "environ");
    const std::string key = std::string("ORBA_DEVICE_ROOT=");
    for (size_t pos = 0; pos < env.size();) {
      size_t end = env.find('\0', pos);
      if (end == std::string::npos) end = env.size();
      if (env.compare(pos, key.size(), key) == 0) {
        roots.push_back(env.substr(pos + key.size(), end - pos - key.size()));
      }
      pos = end + 1;
    }
  }
  closedir(proc);
  return roots;
}

}  // namespace

std::vector<ListedDevice> ListDevices() {
  std::vector<std::string> roots = RegisteredDevices();
  for (const std::string& root : RootsOfRunningServices()) {
    if (std::find(roots.begin(), roots.end(), root) != roots.end() || !HoldsDevice(root)) continue;
    roots.push_back(root);
    std::string ignored;
    RegisterDevice(root, &ignored);  // a list that cannot record it still shows it
  }
  std::sort(roots.begin(), roots.end());

  std::vector<ListedDevice> devices;
  for (const std::string& root : roots) {
    unique_fd root_fd(open(root.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));  // host path: a device root
    if (root_fd.get() < 0) continue;  // removed since the registry was read
    ListedDevice d;
    d.root = root;
    d.profile = ReadInRoot(root_fd.get(), kProfileRecord);
    if (d.profile.empty()) d.profile = "-";
    for (const ServiceSpec& s : DeviceServices()) {
      ++d.services;
      if (ServiceRuns(root_fd.get(), root, s)) d.running.push_back(s.name);
    }
    devices.push_back(d);
  }
  return devices;
}

const char* DeviceState(const ListedDevice& device) {
  if (device.running.empty()) return "stopped";
  return device.running.size() == device.services ? "running" : "partial";
}

std::string DeviceTable(const std::vector<ListedDevice>& devices) {
  size_t root_width = 4;
  size_t profile_width = 7;
  for (const ListedDevice& d : devices) {
    root_width = std::max(root_width, d.root.size());
    profile_width = std::max(profile_width, d.profile.size());
  }
  auto pad = [](std::string text, size_t width) {
    text.resize(std::max(text.size(), width), ' ');
    return text;
  };
  std::string out = pad("ROOT", root_width) + "  " + pad("PROFILE", profile_width) + "  " +
                    pad("STATE", 7) + "  SERVICES\n";
  for (const ListedDevice& d : devices) {
    std::string services;
    for (const std::string& name : d.running) services += (services.empty() ? "" : ",") + name;
    out += pad(d.root, root_width) + "  " + pad(d.profile, profile_width) + "  " +
           pad(DeviceState(d), 7) + "  " + (services.empty() ? "-" : services) + "\n";
  }
  return out;
}

}  // namespace orba::sim
