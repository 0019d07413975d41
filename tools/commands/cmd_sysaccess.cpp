// orbafactory prop|file|exec: privileged property, file and command work through the device's
// AT-command HAL service, as the factory daemon does it.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

#include <string>
#include <string_view>
#include <vector>

#include <orbafactory/sysaccess.h>

#include "command.h"

namespace {

using orba::cli::Args;
using orba::cli::kFailed;
using orba::cli::kOk;
using orba::cli::kUsage;
using orba::cli::PathUse;

constexpr int kPropertyValueMax = 92;
// An hour: longer than any station waits, and far inside the int the library takes.
constexpr long kWaitMaxMs = 3600 * 1000;

// ---- prop ------------------------------------------------------------------------------------

int PropGet(const Args& args, orba::cli::Reply& reply) {
  char value[kPropertyValueMax] = {};
  const char* fallback = args.size() > 1 ? args[1].c_str() : "";
  if (orbaatcmd_get_system_property(args[0].c_str(), value, fallback) != 0) {
    return orba::cli::Fail(reply, "prop get: cannot read %s", args[0].c_str());
  }
  reply.Answer({{"value", value}});
  return kOk;
}

int PropSet(const Args& args, orba::cli::Reply& reply) {
  if (args[1].size() >= kPropertyValueMax) {
    return orba::cli::Error(reply, kUsage, "prop set: a value holds at most %d bytes",
                            kPropertyValueMax - 1);
  }
  orbaatcmd_set_system_property(args[0].c_str(), args[1].c_str());
  // The service answers nothing about a set: reading back is how the station knows.
  char now[kPropertyValueMax] = {};
  if (orbaatcmd_get_system_property(args[0].c_str(), now, "") != 0 || args[1] != now) {
    return orba::cli::Error(reply, kFailed, "prop set: %s reads back as '%s' (read-only?)",
                            args[0].c_str(), now);
  }
  return kOk;
}

int PropWait(const Args& args, orba::cli::Reply& reply) {
  long timeout_ms = 5000;
  if (args.size() > 2 &&
      !orba::cli::ParseIntIn(reply, args[2], "prop wait TIMEOUT_MS", 0, kWaitMaxMs, &timeout_ms)) {
    return kUsage;
  }
  if (wait_for_property(args[0].c_str(), args[1].c_str(), static_cast<int>(timeout_ms)) != 1) {
    return orba::cli::Error(reply, kFailed, "prop wait: %s did not become '%s' within %ld ms",
                            args[0].c_str(), args[1].c_str(), timeout_ms);
  }
  reply.Answer({{"property", args[0]}, {"value", args[1]}});
  return kOk;
}

// ---- file ------------------------------------------------------------------------------------

int FileRead(const Args& args, orba::cli::Reply& reply) {
  int size = orbaatcmd_sizeof_system_file(args[0].c_str());
  if (size < 0) {
    return orba::cli::FailPaths(reply, {{args[0], PathUse::kRead, false}},
                                "file read: cannot reach %s", args[0].c_str());
  }
  std::vector<char> text(static_cast<size_t>(size) + 1, '\0');
  if (size > 0 && orbaatcmd_fread_system_file(args[0].c_str(), text.data(), size) != 0) {
    return orba::cli::FailPaths(reply, {{args[0], PathUse::kRead, false}},
                                "file read: cannot read %s", args[0].c_str());
  }
  reply.Stream(text.data());
  return kOk;
}

int WriteWith(orba::cli::Reply& reply, const Args& args, const char* mode, const char* what) {
  std::string data = args[1];
  if (data == "-" && !orba::cli::ReadHostFile("-", &data)) {
    return orba::cli::Error(reply, kFailed, "%s: cannot read standard input", what);
  }
  if (orbaatcmd_fwrite_system_file(args[0].c_str(), mode, data.c_str()) < 0) {
    return orba::cli::FailPaths(reply, {{args[0], PathUse::kWrite, false}}, "%s: cannot write %s",
                                what, args[0].c_str());
  }
  return kOk;
}

int FileWrite(const Args& args, orba::cli::Reply& reply) {
  return WriteWith(reply, args, "w", "file write");
}
int FileAppend(const Args& args, orba::cli::Reply& reply) {
  return WriteWith(reply, args, "a", "file append");
}

int FileCopy(const Args& args, orba::cli::Reply& reply) {
  if (orbaatcmd_copy_file(args[0].c_str(), args[1].c_str()) != 0) {
    return orba::cli::FailPaths(
        reply, {{args[0], PathUse::kRead, false}, {args[1], PathUse::kWrite, false}},
        "file copy: %s -> %s failed", args[0].c_str(), args[1].c_str());
  }
  return kOk;
}

int FileRemove(const Args& args, orba::cli::Reply& reply) {
  if (orbaatcmd_remove_system_file(args[0].c_str()) != 0) {
    return orba::cli::FailPaths(reply, {{args[0], PathUse::kRead, false}}, "file remove: %s failed",
                                args[0].c_str());
  }
  return kOk;
}

int FileMd5(const Args& args, orba::cli::Reply& reply) {
  unsigned char digest[16] = {};
  if (orbaatcmd_md5_system_file(args[0].c_str(), digest) != 0) {
    return orba::cli::FailPaths(reply, {{args[0], PathUse::kRead, false}},
                                "file md5: no digest for %s", args[0].c_str());
  }
  std::string hex;
  for (unsigned char b : digest) hex += orba::cli::Format("%02x", b);
  reply.Answer({{"path", args[0]}, {"md5", hex}});
  return kOk;
}

int FileSize(const Args& args, orba::cli::Reply& reply) {
  int size = orbaatcmd_sizeof_system_file(args[0].c_str());
  if (size < 0) {
    return orba::cli::FailPaths(reply, {{args[0], PathUse::kRead, false}},
                                "file size: cannot reach %s", args[0].c_str());
  }
  reply.Answer({{"size", size}});
  return kOk;
}

int FileChmod(const Args& args, orba::cli::Reply& reply) {
  char* end = nullptr;
  unsigned long mode = strtoul(args[1].c_str(), &end, 8);
  if (args[1].empty() || *end != '\0' || mode > 07777) {
    return orba::cli::Error(reply, kUsage, "file chmod: MODE is octal, like 0664");
  }
  if (orbaatcmd_chmod_system_file(args[0].c_str(), static_cast<unsigned>(mode)) != 0) {
    return orba::cli::FailPaths(reply, {{args[0], PathUse::kRead, false}}, "file chmod: %s failed",
                                args[0].c_str());
  }
  return kOk;
}

// ---- exec ------------------------------------------------------------------------------------

// The service runs one command line with "sh -c" and answers only with what it printed. So each
// argument is quoted for that shell, which then sees the argv given here, and the line reports
// the command's exit status after its output, behind a marker of this run.
std::string ShellQuote(const std::string& word) {
  std::string out = "'";
  for (char c : word) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// The longest answer the service sends, and so the most output a command can have and still
// report its status.
constexpr size_t kExecOutputMax = 4u * 1024u * 1024u;
constexpr long kExecMaxSeconds = 24 * 3600;

int Exec(const Args& in, orba::cli::Reply& reply) {
  Args args = in;
  long limit = 0;  // no limit: timeout(1) takes 0 as none
  if (!args.empty() && args[0] == "--timeout") {
    if (args.size() < 3) {
      return orba::cli::Error(reply, kUsage,
                              "usage: orbafactory exec [--timeout SECONDS] COMMAND [ARG...]");
    }
    if (!orba::cli::ParseIntIn(reply, args[1], "exec --timeout SECONDS", 1, kExecMaxSeconds,
                               &limit)) {
      return kUsage;
    }
    args.erase(args.begin(), args.begin() + 2);
  }
  timespec now;
  clock_gettime(CLOCK_MONOTONIC, &now);
  const std::string marker = "orbafactory-exec-" + std::to_string(getpid()) + "-" +
                             std::to_string(now.tv_sec) + std::to_string(now.tv_nsec);
  // timeout(1) puts the command in a process group of its own and names the marker in its own
  // argv: an interrupted exec finds it by that name and ends the whole group through it.
  std::string line = "timeout -k 2 " + std::to_string(limit) + " sh -c '\"$@\"' " + marker;
  for (const std::string& a : args) line += " " + ShellQuote(a);
  line += "; printf '\\n%s %d\\n' " + marker + " \"$?\"";

  // The pattern's bracket keeps it from matching the command line of the shell that runs it.
  const std::string pattern = "orbafactory-exe[c]" + marker.substr(strlen("orbafactory-exec"));
  const std::string kill_line = "pkill -TERM -f '" + pattern + "'";
  orba::cli::Undo end_child("the command on the device ended", [kill_line] {
    char ignored[64];
    orbaatcmd_exec_system_cmd(kill_line.c_str(), ignored, sizeof(ignored));
  });

  std::vector<char> out(kExecOutputMax + 64, '\0');
  if (orbaatcmd_exec_system_cmd(line.c_str(), out.data(), static_cast<int>(out.size() - 1)) != 0) {
    return orba::cli::Fail(reply, "exec: the service ran nothing");
  }
  std::string text(out.data());
  const size_t at = text.rfind("\n" + marker + " ");
  if (at == std::string::npos) {
    reply.Stream(text);
    return orba::cli::Error(reply, kFailed,
                            "exec: %s: no exit status came back (the device ended the "
                            "command, or its output passed the service's %zu bytes)",
                            args[0].c_str(), kExecOutputMax);
  }
  const int status = atoi(text.c_str() + at + 1 + marker.size() + 1);
  reply.Stream(std::string_view(text).substr(0, at));
  if (status == 124 && limit > 0) {
    orba::cli::Error(reply, status, "exec: %s did not finish within %ld s", args[0].c_str(), limit);
  } else if (status == 127) {
    orba::cli::Error(reply, status, "exec: %s: no such command on the device", args[0].c_str());
  } else if (status != 0) {
    orba::cli::Error(reply, status, "exec: %s exited with status %d", args[0].c_str(), status);
  }
  return status;
}

const orba::cli::Family kProp{
    "prop",
    "system properties through the AT-command service",
    {
        {"get", "NAME [DEFAULT]", "print a property's value (DEFAULT, else empty, when unset)", 1,
         2, PropGet, "prop get ro.build.version.sdk"},
        {"set", "NAME VALUE", "set a property and check that it reads back", 2, 2, PropSet,
         "prop set persist.sys.station.step 1"},
        {"wait", "NAME VALUE [TIMEOUT_MS]",
         "wait until a property holds VALUE (default 5000 ms, at most an hour) and answer its "
         "property and value; exit 1 when it did not",
         2, 3, PropWait, "prop wait sys.boot_completed 1 3000"},
    }};
const orba::cli::Family kFile{
    "file",
    "system files through the AT-command service",
    {
        {"read", "PATH", "print a text file", 1, 1, FileRead,
         "file read /cache/recovery/station_result.txt"},
        {"write", "PATH TEXT|-", "replace a file with TEXT (or standard input)", 2, 2, FileWrite,
         "file write /cache/recovery/station_result.txt result=PASS"},
        {"append", "PATH TEXT|-", "append TEXT (or standard input) to a file", 2, 2, FileAppend,
         "file append /cache/recovery/station_result.txt station=3"},
        {"copy", "SRC DST", "copy a file", 2, 2, FileCopy,
         "file copy /cache/recovery/station_result.txt /data/local/tmp/station_result.txt"},
        {"remove", "PATH", "remove a file", 1, 1, FileRemove,
         "file remove /data/local/tmp/station_result.txt"},
        {"md5", "PATH", "MD5 of a file, computed by the service: its path and md5", 1, 1, FileMd5,
         "file md5 /cache/recovery/station_result.txt"},
        {"size", "PATH", "size of a file in bytes", 1, 1, FileSize,
         "file size /cache/recovery/station_result.txt"},
        {"chmod", "PATH MODE", "change a file's mode (octal, 0 to 07777)", 2, 2, FileChmod,
         "file chmod /cache/recovery/station_result.txt 0664"},
    }};
const orba::cli::Family kExec{
    "exec",
    "run a shell command through the AT-command service",
    {{"", "[--timeout SECONDS] COMMAND [ARG...]",
      "run COMMAND with its arguments as given, with the service's rights; print its output and "
      "exit with its exit status (124: did not finish within SECONDS, 1 to 86400; 127: no such "
      "command)",
      1, -1, Exec, "exec --timeout 10 getprop persist.sys.station.step",
      /*values=*/nullptr, /*runs_command_line=*/true}}};
orba::cli::Registrar prop_registrar(kProp);
orba::cli::Registrar file_registrar(kFile);
orba::cli::Registrar exec_registrar(kExec);

}  // namespace
