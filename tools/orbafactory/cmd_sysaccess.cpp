// orbafactory prop|file|exec: privileged property, file and command work through the device's
// AT-command HAL service, as the factory daemon does it.

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <string>
#include <vector>

#include <orbafactory/sysaccess.h>

#include "cli.h"

namespace {

using orba::cli::Args;
using orba::cli::kFailed;
using orba::cli::kOk;
using orba::cli::kUsage;
using orba::cli::PathUse;

constexpr int kPropertyValueMax = 92;
constexpr size_t kCommandOutputMax = 64 * 1024;

std::string Join(const Args& words) {
  std::string out;
  for (const std::string& w : words) out += (out.empty() ? "" : " ") + w;
  return out;
}

// ---- prop ------------------------------------------------------------------------------------

int PropGet(const Args& args) {
  char value[kPropertyValueMax] = {};
  const char* fallback = args.size() > 1 ? args[1].c_str() : "";
  if (orbaatcmd_get_system_property(args[0].c_str(), value, fallback) != 0) {
    return orba::cli::Fail("prop get: cannot read %s", args[0].c_str());
  }
  printf("%s\n", value);
  return kOk;
}

int PropSet(const Args& args) {
  if (args[1].size() >= kPropertyValueMax) {
    return orba::cli::Error(kUsage, "prop set: a value holds at most %d bytes",
                            kPropertyValueMax - 1);
  }
  orbaatcmd_set_system_property(args[0].c_str(), args[1].c_str());
  // The service answers nothing about a set: reading back is how the station knows.
  char now[kPropertyValueMax] = {};
  if (orbaatcmd_get_system_property(args[0].c_str(), now, "") != 0 || args[1] != now) {
    return orba::cli::Error(kFailed, "prop set: %s reads back as '%s' (read-only?)",
                            args[0].c_str(), now);
  }
  return kOk;
}

int PropWait(const Args& args) {
  long timeout_ms = 5000;
  if (args.size() > 2 && !orba::cli::ParseInt(args[2], "timeout", &timeout_ms)) return kUsage;
  if (wait_for_property(args[0].c_str(), args[1].c_str(), static_cast<int>(timeout_ms)) != 1) {
    return orba::cli::Error(kFailed, "prop wait: %s did not become '%s' within %ld ms",
                            args[0].c_str(), args[1].c_str(), timeout_ms);
  }
  printf("%s=%s\n", args[0].c_str(), args[1].c_str());
  return kOk;
}

// ---- file ------------------------------------------------------------------------------------

int FileRead(const Args& args) {
  int size = orbaatcmd_sizeof_system_file(args[0].c_str());
  if (size < 0) {
    return orba::cli::FailPaths({{args[0], PathUse::kRead, false}}, "file read: cannot reach %s",
                                args[0].c_str());
  }
  std::vector<char> text(static_cast<size_t>(size) + 1, '\0');
  if (size > 0 && orbaatcmd_fread_system_file(args[0].c_str(), text.data(), size) != 0) {
    return orba::cli::FailPaths({{args[0], PathUse::kRead, false}}, "file read: cannot read %s",
                                args[0].c_str());
  }
  fputs(text.data(), stdout);
  return kOk;
}

int WriteWith(const Args& args, const char* mode, const char* what) {
  std::string data = args[1];
  if (data == "-" && !orba::cli::ReadHostFile("-", &data)) {
    return orba::cli::Error(kFailed, "%s: cannot read standard input", what);
  }
  if (orbaatcmd_fwrite_system_file(args[0].c_str(), mode, data.c_str()) < 0) {
    return orba::cli::FailPaths({{args[0], PathUse::kWrite, false}}, "%s: cannot write %s", what,
                                args[0].c_str());
  }
  return kOk;
}

int FileWrite(const Args& args) { return WriteWith(args, "w", "file write"); }
int FileAppend(const Args& args) { return WriteWith(args, "a", "file append"); }

int FileCopy(const Args& args) {
  if (orbaatcmd_copy_file(args[0].c_str(), args[1].c_str()) != 0) {
    return orba::cli::FailPaths(
        {{args[0], PathUse::kRead, false}, {args[1], PathUse::kWrite, false}},
        "file copy: %s -> %s failed", args[0].c_str(), args[1].c_str());
  }
  return kOk;
}

int FileRemove(const Args& args) {
  if (orbaatcmd_remove_system_file(args[0].c_str()) != 0) {
    return orba::cli::FailPaths({{args[0], PathUse::kRead, false}}, "file remove: %s failed",
                                args[0].c_str());
  }
  return kOk;
}

int FileMd5(const Args& args) {
  unsigned char digest[16] = {};
  if (orbaatcmd_md5_system_file(args[0].c_str(), digest) != 0) {
    return orba::cli::FailPaths({{args[0], PathUse::kRead, false}}, "file md5: no digest for %s",
                                args[0].c_str());
  }
  for (unsigned char b : digest) printf("%02x", b);
  printf("  %s\n", args[0].c_str());
  return kOk;
}

int FileSize(const Args& args) {
  int size = orbaatcmd_sizeof_system_file(args[0].c_str());
  if (size < 0) {
    return orba::cli::FailPaths({{args[0], PathUse::kRead, false}}, "file size: cannot reach %s",
                                args[0].c_str());
  }
  printf("%d\n", size);
  return kOk;
}

int FileChmod(const Args& args) {
  char* end = nullptr;
  unsigned long mode = strtoul(args[1].c_str(), &end, 8);
  if (args[1].empty() || *end != '\0' || mode > 07777) {
    return orba::cli::Error(kUsage, "file chmod: MODE is octal, like 0664");
  }
  if (orbaatcmd_chmod_system_file(args[0].c_str(), static_cast<unsigned>(mode)) != 0) {
    return orba::cli::FailPaths({{args[0], PathUse::kRead, false}}, "file chmod: %s failed",
                                args[0].c_str());
  }
  return kOk;
}

// ---- exec ------------------------------------------------------------------------------------

int Exec(const Args& args) {
  std::string cmd = Join(args);
  std::vector<char> out(kCommandOutputMax + 1, '\0');
  if (orbaatcmd_exec_system_cmd(cmd.c_str(), out.data(), static_cast<int>(kCommandOutputMax)) !=
      0) {
    return orba::cli::Fail("exec: the service ran nothing");
  }
  fputs(out.data(), stdout);
  return kOk;
}

const orba::cli::Family kProp{
    "prop",
    "system properties through the AT-command service",
    {
        {"get", "NAME [DEFAULT]", "print a property", 1, 2, PropGet},
        {"set", "NAME VALUE", "set a property and check that it reads back", 2, 2, PropSet},
        {"wait", "NAME VALUE [TIMEOUT_MS]", "wait until a property holds VALUE (default 5000 ms)",
         2, 3, PropWait},
    }};
const orba::cli::Family kFile{
    "file",
    "system files through the AT-command service",
    {
        {"read", "PATH", "print a text file", 1, 1, FileRead},
        {"write", "PATH TEXT|-", "replace a file with TEXT (or standard input)", 2, 2, FileWrite},
        {"append", "PATH TEXT|-", "append TEXT (or standard input) to a file", 2, 2, FileAppend},
        {"copy", "SRC DST", "copy a file", 2, 2, FileCopy},
        {"remove", "PATH", "remove a file", 1, 1, FileRemove},
        {"md5", "PATH", "MD5 of a file, computed by the service", 1, 1, FileMd5},
        {"size", "PATH", "size of a file in bytes", 1, 1, FileSize},
        {"chmod", "PATH MODE", "change a file's mode (octal)", 2, 2, FileChmod},
    }};
const orba::cli::Family kExec{
    "exec",
    "run a shell command through the AT-command service",
    {{"", "COMMAND...", "run COMMAND with the service's rights and print its output", 1, -1,
      Exec}}};
orba::cli::Registrar prop_registrar(kProp);
orba::cli::Registrar file_registrar(kFile);
orba::cli::Registrar exec_registrar(kExec);

}  // namespace
