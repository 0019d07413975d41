#include "device_tools.h"

#include <errno.h>
#include <string.h>

#include "device_files.h"
#include "knob_table.h"

namespace orba::sim {

std::string ShellQuote(const std::string& word) {
  std::string out = "'";
  for (char c : word) {
    if (c == '\'') {
      out += "'\\''";
    } else {
      out += c;
    }
  }
  return out + "'";
}

bool InstallDeviceTools(const SimContext& ctx, std::string* error) {
  const std::string root = ShellQuote(ctx.root);
  const std::string self = ShellQuote(ctx.self);
  const std::string getprop = ShellQuote(ctx.bin_dir + "/getprop");
  const std::string header = "#!/bin/sh\nexport ORBA_DEVICE_ROOT=" + root + "\n";

  struct Script {
    const char* path;
    std::string body;
  };
  const Script scripts[] = {
      {"/system/bin/start",
       "# Starts a service of this device, as init's start does.\n"
       "exec " + self + " start --from-device --root " + root + " -- \"$@\"\n"},
      {"/system/bin/stop",
       "# Stops a service of this device, as init's stop does.\n"
       "exec " + self + " stop --from-device --root " + root + " -- \"$@\"\n"},
      {"/system/bin/ps",
       "# The processes running on this device, in toybox's columns.\n"
       "exec " + self + " ps --root " + root + " -- \"$@\"\n"},
      {"/system/bin/logcat",
       "# The device log: what the device's services have written, then what they write next.\n"
       "exec " + self + " logcat --root " + root + " -- \"$@\"\n"},
      // A script, not a link to the host's shell: the device's paths resolve inside its root,
      // where a link to /bin/sh would name the device's own (absent) /bin/sh.
      {"/vendor/bin/sh", "exec /bin/sh \"$@\"\n"},
      {"/system/bin/tlcrpmb_gp",
       "# Secure-storage provisioning state: sim.rpmb.result (1 provisioned, 2 not ready yet).\n"
       "if [ \"$1\" != getflag ]; then echo 'usage: tlcrpmb_gp getflag' >&2; exit 1; fi\n"
       "echo \"result=$(" + getprop + " sim.rpmb.result " + KnobDefault("sim.rpmb.result") + ")\"\n"},
  };
  for (const Script& s : scripts) {
    if (!WriteDeviceFile(s.path, header + s.body, 0755)) {
      *error = std::string("cannot install ") + s.path + ": " + strerror(errno);
      return false;
    }
  }
  if (!LinkToHost("/system/bin/getprop", ctx.bin_dir + "/getprop") ||
      !LinkToHost("/system/bin/setprop", ctx.bin_dir + "/setprop") ||
      !LinkToHost("/vendor/bin/atcid_user", ctx.bin_dir + "/atcid_user")) {
    *error = std::string("cannot link the device tools: ") + strerror(errno);
    return false;
  }
  return true;
}

}  // namespace orba::sim
