// orbafactory-sim: a simulated phone on this host.

#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/system_properties.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <cutils/properties.h>
#include <platform/devpath.h>
#include <platform/host/device_init.h>
#include <platform/host/device_owner.h>
#include <platform/host/device_root.h>

#include "build_version.h"
#include "device_files.h"
#include "device_layout.h"
#include "device_listing.h"
#include "device_logcat.h"
#include "device_registry.h"
#include "device_state.h"
#include "device_sweep.h"
#include "device_tools.h"
#include "knob_table.h"
#include "profile_catalog.h"
#include "process_table.h"
#include "profile.h"
#include "vendor_libraries.h"
#include "services.h"
#include "sim_completion.h"

namespace {

using namespace orba::sim;

constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
constexpr int kExitStopped = 3;

const char kUsage[] =
    "usage: orbafactory-sim COMMAND [--root DIR] [ARGS]\n"
    "\n"
    "A simulated phone on this host: a device root directory holding the phone's files and\n"
    "partitions, a property area shared by all of the device's processes, and the device's\n"
    "services running as real processes.\n"
    "\n"
    "commands:\n"
    "  init [--profile NAME]   lay out a fresh device in DIR (an empty or new directory) from\n"
    "                          sim/profiles/NAME.profile (default: default), or a profile path\n"
    "  start [NAME]            start every service and wait until each serves; or start one\n"
    "  stop [NAME]             stop every service and every process they left, or one; a\n"
    "                          removed root's processes are found all the same\n"
    "  status                  the device's services and their pids\n"
    "  env                     export lines that put a shell on the device:\n"
    "                            eval \"$(orbafactory-sim env --root DIR)\"\n"
    "  setprop NAME VALUE      set a property as the device's init does (ro.* included)\n"
    "  getprop [NAME]          print a property, or all of them\n"
    "  ps [-A]                 the processes running on the device\n"
    "  logcat [FLAGS]          the device log, as the device's logcat (logcat --help)\n"
    "\n"
    "commands without a device:\n"
    "  list                    this user's devices on this host: root, profile, state and the\n"
    "                          services that run\n"
    "  profiles                the profiles init takes\n"
    "  knobs                   every sim.* property that steers the device, as a Markdown table\n"
    "  --version               the version and the git commit this sim was built from\n"
    "  completion bash         the bash completion script (installed with the build)\n"
    "\n"
    "--root DIR defaults to $ORBA_DEVICE_ROOT. After --, every argument is the command's own.\n"
    "Start and stop on one root take turns.\n"
    "--from-device: a start or stop the device itself asks for (its start and stop tools); a\n"
    "device nobody started refuses it, so nothing starts behind the caller's back.\n"
    "exit status: 0 done, 1 failed, 2 usage error, 3 the device is stopped\n";

int Usage(const char* problem) {
  fprintf(stderr, "orbafactory-sim: %s\n(see orbafactory-sim --help)\n", problem);
  return kExitUsage;
}

int Fail(const std::string& message) {
  fprintf(stderr, "orbafactory-sim: %s\n", message.c_str());
  return kExitFailed;
}

std::string Dirname(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == std::string::npos ? "." : path.substr(0, slash);
}

std::string Absolute(const std::string& path) {
  if (!path.empty() && path[0] == '/') return path;
  char cwd[PATH_MAX];
  if (getcwd(cwd, sizeof(cwd)) == nullptr) return path;
  return std::string(cwd) + "/" + path;
}

bool IsDevice() {
  DevPath area("/dev/__properties__");
  return access(area, F_OK) == 0;
}

int Init(const SimContext& ctx, const std::string& profile_name) {
  std::string unknown = UnknownProfileMessage(profile_name);
  if (!unknown.empty()) return Usage(unknown.c_str());
  Profile profile;
  std::string error;
  if (!LoadProfile(ProfilePath(profile_name), &profile, &error)) return Fail(error);
  if (!InitDevice(ctx, profile, &error)) return Fail(error);
  if (!WriteDeviceFile(kProfileRecord, profile_name + "\n")) {
    return Fail("cannot record the profile in " + std::string(kProfileRecord));
  }
  // A device that cannot be listed is still a device: say so and carry on.
  if (!RegisterDevice(ctx.root, &error)) fprintf(stderr, "orbafactory-sim: %s\n", error.c_str());
  if (!WriteDeviceState(kStopped)) return Fail("cannot record the device's state");
  printf("initialised %s from profile %s\n", ctx.root.c_str(), profile_name.c_str());
  return kExitOk;
}

// The device tools' own arguments: service names, never flags.
int RefuseFlags(const char* tool, const std::vector<std::string>& args, const char* usage) {
  for (const std::string& a : args) {
    if (!a.empty() && a[0] == '-') {
      fprintf(stderr, "%s: unknown option %s\nusage: %s\n", tool, a.c_str(), usage);
      return kExitUsage;
    }
  }
  return kExitOk;
}

int Start(const SimContext& ctx, const std::vector<std::string>& names, bool from_device) {
  if (int refused = RefuseFlags("start", names, "start [SERVICE...]")) return refused;
  std::string error;
  DeviceLock lock;
  if (!lock.held()) return Fail("cannot lock the device's start and stop");
  // Registered again at each start: a device whose entry was lost shows up in list again.
  RegisterDevice(ctx.root, &error);
  if (names.empty()) {
    for (const ServiceSpec& s : DeviceServices()) {
      if (!StartService(ctx, s, true, &error)) return Fail(error);
      printf("%-24s running (pid %d)\n", s.name, ServicePid(ctx, s));
    }
    if (!WriteDeviceState(kRunning)) return Fail("cannot record the device's state");
    return kExitOk;
  }
  if (from_device && ReadDeviceState() == kStopped) {
    fprintf(stderr, "orbafactory-sim: %s\n", StoppedMessage(ctx).c_str());
    return kExitStopped;
  }
  // Whoever starts a service by name has chosen to run this device, one service at a time.
  if (!from_device && !WriteDeviceState(kRunning)) return Fail("cannot record the device's state");
  for (const std::string& name : names) {
    const ServiceSpec* s = FindService(name);
    if (s == nullptr) return Fail("no service named " + name);
    if (!StartService(ctx, *s, false, &error)) return Fail(error);
  }
  return kExitOk;
}

int Stop(const SimContext& ctx, const std::vector<std::string>& names) {
  if (int refused = RefuseFlags("stop", names, "stop [SERVICE...]")) return refused;
  std::string error;
  DeviceLock lock;
  if (!lock.held()) return Fail("cannot lock the device's start and stop");
  // Marked first: a restart asked for while the services go down must not bring one back.
  if (names.empty() && !WriteDeviceState(kStopped)) return Fail("cannot record the device's state");
  std::vector<const ServiceSpec*> targets;
  for (const std::string& name : names) {
    const ServiceSpec* s = FindService(name);
    if (s == nullptr) return Fail("no service named " + name);
    targets.push_back(s);
  }
  if (names.empty()) {
    for (const ServiceSpec& s : DeviceServices()) targets.push_back(&s);
  }
  for (const ServiceSpec* s : targets) {
    if (!StopService(ctx, *s, &error)) return Fail(error);
    if (names.empty()) printf("%-24s stopped\n", s->name);
  }
  if (names.empty() && !EndDeviceProcesses(ctx, &error)) return Fail(error);
  return kExitOk;
}

int Status(const SimContext& ctx) {
  printf("device root %s\n", ctx.root.c_str());
  char model[PROP_VALUE_MAX] = {};
  property_get("ro.orba.product.model", model, "(unset)");
  printf("model       %s\n", model);
  for (const ServiceSpec& s : DeviceServices()) {
    pid_t pid = ServicePid(ctx, s);
    if (pid != 0 && !ServiceAnswers(s, pid)) {
      printf("%-24s not answering as itself (pid %d; see logcat)\n", s.name, pid);
    } else if (pid != 0) {
      printf("%-24s running (pid %d)\n", s.name, pid);
    } else {
      printf("%-24s stopped\n", s.name);
    }
  }
  // The factory AT daemon links its serial line into the device; stations open the target.
  char port[PATH_MAX] = {};
  const ServiceSpec* atcid = FindService("atcid_user");
  if (atcid != nullptr && ServicePid(ctx, *atcid) != 0 &&
      readlink(DevPathNoFollow("/dev/ttyGS0"), port, sizeof(port) - 1) > 0) {
    printf("station serial port: %s\n", port);
  }
  return kExitOk;
}

int Env(const SimContext& ctx) {
  // No LD_LIBRARY_PATH: the programs find their libraries through their run paths, and the
  // library finds the device's vendor libraries in its /vendor/lib64 itself (DevLibrary). A
  // device directory on the loader's path would serve every program of the shell from it.
  const char* path = getenv("PATH");
  printf("export ORBA_DEVICE_ROOT=%s\n", ShellQuote(ctx.root).c_str());
  printf("export PATH=%s\n",
         ShellQuote(ctx.root + "/system/bin:" + ctx.root + "/vendor/bin:" + ctx.bin_dir + ":" +
                    (path != nullptr ? path : "/usr/bin:/bin"))
             .c_str());
  return kExitOk;
}

int GetProp(const std::vector<std::string>& args) {
  if (args.size() > 1) return Usage("getprop takes at most one NAME");
  if (args.size() == 1) {
    char value[PROP_VALUE_MAX] = {};
    property_get(args[0].c_str(), value, "");
    printf("%s\n", value);
    return kExitOk;
  }
  std::vector<std::pair<std::string, std::string>> all;
  __system_property_foreach(
      [](const prop_info* pi, void* cookie) {
        __system_property_read_callback(
            pi,
            [](void* c, const char* name, const char* value, uint32_t) {
              static_cast<std::vector<std::pair<std::string, std::string>>*>(c)->emplace_back(
                  name, value);
            },
            cookie);
      },
      &all);
  std::sort(all.begin(), all.end());
  for (const auto& p : all) printf("[%s]: [%s]\n", p.first.c_str(), p.second.c_str());
  return kExitOk;
}

int Ps(const SimContext& ctx, const std::vector<std::string>& args) {
  // -A and -e ask for every process, which is what the device's ps shows anyway.
  for (const std::string& a : args) {
    if (a != "-A" && a != "-e") {
      fprintf(stderr, "ps: %s %s\nusage: ps [-A]\n",
              a[0] == '-' ? "unknown option" : "takes no arguments besides -A:", a.c_str());
      return kExitUsage;
    }
  }
  fputs(ProcessTable(ctx.root).c_str(), stdout);
  return kExitOk;
}

// The commands that need no device.
int Version() {
  printf("%s\n", orba::tools::VersionLine("orbafactory-sim").c_str());
  return kExitOk;
}

int Profiles() {
  std::vector<ProfileEntry> profiles = KnownProfiles();
  if (profiles.empty()) return Fail("no profiles in " ORBA_SIM_PROFILE_DIR);
  fputs(ProfileTable(profiles).c_str(), stdout);
  return kExitOk;
}

int List() {
  fputs(DeviceTable(ListDevices()).c_str(), stdout);
  return kExitOk;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) return Usage("a command is needed");
  std::string command = argv[1];
  if (command == "-h" || command == "--help" || command == "help") {
    fputs(kUsage, stdout);
    return kExitOk;
  }
  if (command == "--version" || command == "version") return Version();
  if (command == "completion") {
    if (argc != 3 || strcmp(argv[2], "bash") != 0) return Usage("usage: completion bash");
    fputs(SimCompletionScript().c_str(), stdout);
    return kExitOk;
  }
  if (command == "list" || command == "profiles" || command == "knobs") {
    if (argc > 2) return Usage((command + " takes no arguments").c_str());
    if (command == "knobs") {
      fputs(KnobMarkdownTable().c_str(), stdout);
      return kExitOk;
    }
    return command == "list" ? List() : Profiles();
  }
  std::string root;
  std::string profile = "default";
  std::vector<std::string> args;
  bool from_device = false;
  for (int i = 2; i < argc; ++i) {
    std::string a = argv[i];
    if (a == "--from-device") {
      from_device = true;
    } else if ((a == "--root" || a == "--profile") && i + 1 < argc) {
      (a == "--root" ? root : profile) = argv[++i];
    } else if (a.rfind("--root=", 0) == 0) {
      root = a.substr(7);
    } else if (a.rfind("--profile=", 0) == 0) {
      profile = a.substr(10);
    } else if (a == "--") {
      args.insert(args.end(), argv + i + 1, argv + argc);
      break;
    } else if (a == "-h" || a == "--help") {
      fputs(kUsage, stdout);
      return kExitOk;
    } else if (a.rfind("--", 0) == 0) {
      return Usage(("unknown option " + a).c_str());
    } else {
      args.push_back(a);
    }
  }
  if (root.empty() && getenv(ORBA_DEVICE_ROOT_ENV) != nullptr) root = getenv(ORBA_DEVICE_ROOT_ENV);
  if (root.empty()) return Usage("no device: give --root DIR or set ORBA_DEVICE_ROOT");

  SimContext ctx;
  ctx.root = Absolute(root);
  while (ctx.root.size() > 1 && ctx.root.back() == '/') ctx.root.pop_back();
  if (ctx.root == "/") return Usage("the device root cannot be the host's /");
  char self[PATH_MAX] = {};
  ssize_t n = readlink("/proc/self/exe", self, sizeof(self) - 1);  // host path: this program
  ctx.self = n > 0 ? std::string(self, static_cast<size_t>(n)) : Absolute(argv[0]);
  ctx.bin_dir = Dirname(ctx.self);
  ctx.lib_dir = Dirname(ctx.bin_dir) + "/lib";
  setenv(ORBA_DEVICE_ROOT_ENV, ctx.root.c_str(), 1);
  orba_device_root_reset();

  if (command == "init") {
    if (!args.empty()) return Usage("init takes no arguments besides --root and --profile");
    return Init(ctx, profile);
  }
  // A root removed while its device ran: only its processes are left to find.
  if (command == "stop" && args.empty() && access(ctx.root.c_str(), F_OK) != 0) {  // host path
    std::string error;
    if (!EndDeviceProcesses(ctx, &error)) return Fail(error);
    printf("no device root at %s; its processes stopped\n", ctx.root.c_str());
    return kExitOk;
  }
  std::string why;
  if (!orba::platform::CurrentRootUsable(&why)) return Fail(why);
  if (!IsDevice()) {
    return Fail(ctx.root + " is not a simulated device (create one: orbafactory-sim init --root " +
                ctx.root + ")");
  }
  if (command == "env") return Env(ctx);
  if (command == "start") return Start(ctx, args, from_device);
  if (command == "stop") return Stop(ctx, args);
  if (command == "status") return args.empty() ? Status(ctx) : Usage("status takes no arguments");
  if (command == "ps") return Ps(ctx, args);
  if (command == "logcat") return Logcat(args);
  if (command == "getprop") return GetProp(args);
  if (command == "setprop") {
    if (args.size() != 2) return Usage("setprop takes NAME VALUE");
    if (orba_init_property_set(args[0].c_str(), args[1].c_str()) != 0) {
      return Fail("cannot set " + args[0] + " (names up to 127 bytes, values up to 91)");
    }
    return kExitOk;
  }
  return Usage(("unknown command " + command).c_str());
}
