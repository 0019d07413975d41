#include "services.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <android-base/unique_fd.h>

#include <platform/devpath.h>
#include <platform/hal_wire.h>
#include <platform/host/device_init.h>
#include <platform/host/local_socket.h>
#include <platform/host/peer_check.h>
#include <platform/spawn.h>

#include "device_files.h"
#include "device_fs.h"
#include "device_process.h"

namespace orba::sim {
namespace {

std::string PidFile(const ServiceSpec& s) { return std::string("/data/sim/run/") + s.name + ".pid"; }

bool Alive(pid_t pid) {
  if (pid <= 1 || kill(pid, 0) != 0) return false;
  // A zombie is gone as far as the device is concerned.
  std::string stat = "/proc/" + std::to_string(pid) + "/stat";
  android::base::unique_fd fd(open(stat.c_str(), O_RDONLY | O_CLOEXEC));  // host path: real /proc
  char buf[256] = {};
  if (fd < 0 || read(fd, buf, sizeof(buf) - 1) <= 0) return false;
  const char* close_paren = strrchr(buf, ')');
  return close_paren != nullptr && close_paren[1] == ' ' && close_paren[2] != 'Z';
}

void SleepMs(int ms) {
  timespec ts{ms / 1000, (ms % 1000) * 1000000L};
  nanosleep(&ts, nullptr);
}

// Serving means listening under its name as itself: anyone can bind a device's name first, and
// a connection that answers is then nobody's proof of anything.
bool AnswersAsItself(const ServiceSpec& s, pid_t pid) {
  std::string name = orba::hal::HalSocketName(s.hal_descriptor, "default");
  pid_t holder = 0;
  uid_t uid = 0;
  return orba::host::NameHolder(DevSocketName(name.c_str()), &holder, &uid) && holder == pid;
}

}  // namespace

bool ServiceAnswers(const ServiceSpec& s, pid_t pid) {
  return s.hal_descriptor == nullptr || AnswersAsItself(s, pid);
}

namespace {

bool IsReady(const ServiceSpec& s, pid_t pid) {
  if (s.ready_file != nullptr) return OpenInDevice(s.ready_file, O_PATH).get() >= 0;
  return AnswersAsItself(s, pid);
}

// Why a service that could not start did not: another process holding its name says so.
std::string StartFailure(const ServiceSpec& s, const std::string& otherwise) {
  if (s.hal_descriptor == nullptr) return otherwise;
  std::string name = orba::hal::HalSocketName(s.hal_descriptor, "default");
  pid_t holder = 0;
  uid_t uid = 0;
  if (!orba::host::NameHolder(DevSocketName(name.c_str()), &holder, &uid)) return otherwise;
  return std::string(s.name) + " cannot register: its name is held by pid " +
         std::to_string(holder) + " (uid " + std::to_string(uid) +
         "), which is not this device's service; stop that process, then start again";
}

void SetServiceState(const ServiceSpec& s, const char* state) {
  std::string prop = std::string("init.svc.") + s.name;
  orba_init_property_set(prop.c_str(), state);
}

}  // namespace

const std::vector<ServiceSpec>& DeviceServices() {
  static const std::vector<ServiceSpec> services = {
      {"orbaatcmd-hal-1-0", "orbaatcmd-hal-1-0",
       "vendor.factory.hardware.orbaatcmd@1.0::IOrbaAtcmd", nullptr},
      {"orbaem-hal-1-0", "orbaem-hal-1-0", "vendor.factory.hardware.orbaem@1.0::IOrbaEm",
       nullptr},
      {"orba-hw-models", "orba-hw-models", nullptr, "/data/sim/run/orba-hw-models.ready"},
      {"atcid_user", "atcid_user", nullptr, "/data/sim/run/atcid_user.ready"},
  };
  return services;
}

const ServiceSpec* FindService(const std::string& name) {
  for (const ServiceSpec& s : DeviceServices()) {
    if (name == s.name) return &s;
  }
  return nullptr;
}

pid_t ServicePid(const SimContext& ctx, const ServiceSpec& service) {
  std::string text;
  if (!ReadDeviceFile(PidFile(service), &text)) return 0;
  pid_t pid = static_cast<pid_t>(atoi(text.c_str()));
  if (!Alive(pid)) return 0;
  // Anyone with a shell on the device can write its pid files; this command runs as root and
  // would signal whatever they name. Only a process of this device running this service's
  // program is the service.
  if (!RunsOnDevice(pid, ctx.root) || !RunsProgram(pid, ctx.bin_dir + "/" + service.program)) {
    fprintf(stderr, "orbafactory-sim: %s names pid %d, which is not this device's %s: left alone\n",
            PidFile(service).c_str(), static_cast<int>(pid), service.name);
    return 0;
  }
  return pid;
}

bool StartService(const SimContext& ctx, const ServiceSpec& service, bool wait_ready,
                  std::string* error) {
  if (ServicePid(ctx, service) != 0) return true;
  std::string program = ctx.bin_dir + "/" + service.program;
  if (access(program.c_str(), X_OK) != 0) {  // host path: the sim's own build
    *error = std::string(service.name) + ": " + program + " is not built";
    return false;
  }
  // The service outlives this command: its own session, no terminal, its log to the device log.
  MakeDeviceDirs("/data/sim");
  unique_fd log = OpenInDevice("/data/sim/logcat", O_WRONLY | O_APPEND | O_CREAT, 0644);
  if (service.ready_file != nullptr) {
    // A ready file left by an earlier run would make the new one look ready at once.
    unique_fd dir;
    std::string leaf;
    if (OpenParentInDevice(service.ready_file, &dir, &leaf)) unlinkat(dir.get(), leaf.c_str(), 0);
  }
  const char* host_path = getenv("PATH");
  orba::platform::ChildOptions options;
  options.stdin_fd = orba::platform::kNullDevice;
  options.stdout_fd = orba::platform::kNullDevice;
  options.stderr_fd = log.get() >= 0 ? log.get() : orba::platform::kNullDevice;
  options.cwd = ctx.root.c_str();  // the device's "/"
  options.new_session = true;
  options.env = orba::platform::EnvironmentWith(
      {"ORBA_DEVICE_ROOT=" + ctx.root,
       "PATH=" + ctx.root + "/system/bin:" + ctx.root + "/vendor/bin:" +
           (host_path != nullptr ? host_path : "/usr/bin:/bin")});
  pid_t pid = orba::platform::StartChild(program.c_str(), {service.program}, options);
  if (pid < 0) {
    *error = std::string("cannot start ") + service.name + ": " + strerror(errno);
    return false;
  }
  if (!WriteDeviceFile(PidFile(service), std::to_string(pid) + "\n")) {
    // A service nobody can find again could never be stopped: it does not outlive the start.
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    *error = std::string("cannot record the pid of ") + service.name;
    return false;
  }
  SetServiceState(service, "running");
  if (!wait_ready || (service.hal_descriptor == nullptr && service.ready_file == nullptr)) {
    return true;
  }
  for (int waited = 0; waited < 5000; waited += 10) {
    if (IsReady(service, pid)) return true;
    int status = 0;
    if (waitpid(pid, &status, WNOHANG) == pid) {
      SetServiceState(service, "stopped");
      *error = StartFailure(service, std::string(service.name) + " exited during start-up (see logcat)");
      return false;
    }
    SleepMs(10);
  }
  *error = StartFailure(service,
                        std::string(service.name) + " did not start serving within 5 s (see logcat)");
  return false;
}

bool StopService(const SimContext& ctx, const ServiceSpec& service, std::string* error) {
  pid_t pid = ServicePid(ctx, service);
  if (pid != 0) {
    if (kill(pid, SIGTERM) != 0 && errno != ESRCH) {
      *error = std::string("kill ") + service.name + ": " + strerror(errno);
      return false;
    }
    for (int waited = 0; Alive(pid); waited += 10) {
      if (waited == 3000) kill(pid, SIGKILL);
      if (waited == 5000) {
        *error = std::string(service.name) + " (pid " + std::to_string(pid) + ") does not stop";
        return false;
      }
      waitpid(pid, nullptr, WNOHANG);  // reaps it when this process started it
      SleepMs(10);
    }
  }
  unique_fd run_dir;
  std::string pid_file;
  if (OpenParentInDevice(PidFile(service), &run_dir, &pid_file)) {
    unlinkat(run_dir.get(), pid_file.c_str(), 0);
  }
  SetServiceState(service, "stopped");
  return true;
}

}  // namespace orba::sim
