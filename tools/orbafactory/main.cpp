// orbafactory: the factory test library from a shell, one family of test steps per subcommand.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>
#include <string>

#include "command.h"
#include "reply.h"

#include <android-base/file.h>
#include <platform/devpath.h>

#if !defined(__ANDROID__)
#include <platform/host/device_owner.h>
#include <platform/host/device_root.h>
#endif

namespace {

using orba::cli::Command;
using orba::cli::Family;

void PrintUsage(FILE* out) {
  fputs("usage: orbafactory [--root DIR] [-v] FAMILY COMMAND [ARGS]\n"
        "\n"
        "Runs the factory test library's steps one at a time: results on stdout, diagnostics on\n"
        "stderr. Exit status: 0 only when the step did what was asked, 1 the step failed (one line\n"
        "on stderr says why), 2 usage error (nothing written), 3 no device, or the device is\n"
        "stopped; exec exits with the remote command's status.\n"
        "\n"
        "options:\n"
        "  --root DIR   the simulated device to work on (default: $ORBA_DEVICE_ROOT)\n"
        "  -v           show the library's own log on stderr (hidden by default: it reports\n"
        "               at error level much that is routine, such as a property wait ending)\n"
        "  -h, --help   this text; `orbafactory FAMILY --help` lists a family's commands\n"
        "\n"
        "families:\n",
        out);
  std::vector<const Family*> families = orba::cli::Families();
  std::sort(families.begin(), families.end(),
            [](const Family* a, const Family* b) { return strcmp(a->name, b->name) < 0; });
  for (const Family* f : families) fprintf(out, "  %-10s %s\n", f->name, f->summary);
}

void PrintFamily(FILE* out, const Family& f) {
  fprintf(out, "orbafactory %s: %s\n\n", f.name, f.summary);
  for (const Command& c : f.commands) {
    std::string line = std::string(f.name) + (*c.name ? " " : "") + c.name + (*c.args ? " " : "") +
                       c.args;
    fprintf(out, "  %-44s %s\n", line.c_str(), c.summary);
  }
}

const Family* FindFamily(const std::string& name) {
  for (const Family* f : orba::cli::Families()) {
    if (name == f->name) return f;
  }
  return nullptr;
}

#if !defined(__ANDROID__)
// A command acts on the device its root names, and only while that device runs: a path that is
// no device, or a simulated device nobody started, ends the command before any step, since a
// step would otherwise fail on the missing services one by one (or, worse, pass on a device
// without them).
int CheckDevice(orba::cli::Reply& reply, const std::string& root) {
  struct stat st;
  if (stat(root.c_str(), &st) != 0 || !S_ISDIR(st.st_mode)) {  // host path: the root itself
    return orba::cli::Error(reply, orba::cli::kNoDevice,
                            "%s is not a device: create one with orbafactory-sim init --root %s",
                            root.c_str(), root.c_str());
  }
  std::string state;
  // Followed: DevPath has already resolved the name inside the root, to a descriptor's path.
  android::base::ReadFileToString(DevPath("/data/sim/state").c_str(), &state,
                                  /*follow_symlinks=*/true);
  if (state == "stopped\n") {
    return orba::cli::Error(reply, orba::cli::kNoDevice,
                            "the device is stopped: orbafactory-sim start --root %s", root.c_str());
  }
  return orba::cli::kOk;
}
#endif

}  // namespace

int main(int argc, char** argv) {
  orba::cli::TextReply text;
  orba::cli::Reply& reply = text;
  int i = 1;
  bool verbose = false;
  for (; i < argc && argv[i][0] == '-'; ++i) {
    std::string opt = argv[i];
    if (opt == "-h" || opt == "--help") {
      PrintUsage(stdout);
      return orba::cli::kOk;
    } else if (opt == "-v" || opt == "--verbose") {
      verbose = true;
    } else if (opt == "--root" && i + 1 < argc) {
      setenv("ORBA_DEVICE_ROOT", argv[++i], 1);
    } else if (opt.rfind("--root=", 0) == 0) {
      setenv("ORBA_DEVICE_ROOT", opt.c_str() + 7, 1);
    } else {
      return orba::cli::Error(reply, orba::cli::kUsage, "unknown option %s (see orbafactory --help)",
                              opt.c_str());
    }
  }
  orba::cli::CaptureLibraryLog(verbose);
  orba::cli::HandleInterrupts();
  if (i >= argc) {
    PrintUsage(stderr);
    return orba::cli::kUsage;
  }
  const Family* family = FindFamily(argv[i]);
  if (family == nullptr) {
    return orba::cli::Error(reply, orba::cli::kUsage, "no family '%s' (see orbafactory --help)", argv[i]);
  }
  ++i;
  // A family of one unnamed command takes its arguments directly ("orbafactory md5 FILE...").
  bool direct = family->commands.size() == 1 && family->commands[0].name[0] == '\0';
  if (direct && (i >= argc || (strcmp(argv[i], "--help") != 0 && strcmp(argv[i], "-h") != 0))) {
    --i;
  } else if (i >= argc || strcmp(argv[i], "--help") == 0 || strcmp(argv[i], "-h") == 0) {
    PrintFamily(i >= argc ? stderr : stdout, *family);
    return i >= argc ? orba::cli::kUsage : orba::cli::kOk;
  }
  const Command* command = direct ? &family->commands[0] : nullptr;
  for (const Command& c : family->commands) {
    if (!direct && strcmp(c.name, argv[i]) == 0) command = &c;
  }
  if (command == nullptr) {
    return orba::cli::Error(reply, orba::cli::kUsage, "no command '%s %s' (see orbafactory %s --help)",
                            family->name, argv[i], family->name);
  }
  orba::cli::Args args(argv + i + 1, argv + argc);
  int count = static_cast<int>(args.size());
  if (count < command->min_args || (command->max_args >= 0 && count > command->max_args)) {
    return orba::cli::Error(reply, orba::cli::kUsage, "usage: orbafactory %s%s%s %s", family->name,
                            *command->name ? " " : "", command->name, command->args);
  }
#if !defined(__ANDROID__)
  // A command given a partition image (--image FILE) makes a device of its own around it.
  bool own_device = std::find(args.begin(), args.end(), "--image") != args.end();
  orba_device_root_reset();
  if (orba_device_root()[0] == '\0' && !own_device) {
    return reply.Failure(orba::cli::kNoDevice, "no simulated device: start one with",
                         "  orbafactory-sim init --root DIR && orbafactory-sim start --root DIR\n"
                         "then give --root DIR, or eval \"$(orbafactory-sim env --root DIR)\"");
  }
  std::string why;
  if (!orba::platform::CurrentRootUsable(&why)) {
    return orba::cli::Error(reply, orba::cli::kNoDevice, "%s", why.c_str());
  }
  if (!own_device) {
    const int code = CheckDevice(reply, orba_device_root());
    if (code != orba::cli::kOk) return code;
  }
#endif
  const int code = command->run(args, reply);
  reply.End(code);
  return code;
}
