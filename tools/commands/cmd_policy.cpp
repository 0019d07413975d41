// orbafactory policy read|write|append|replace: small policy and attribute files, read and
// written whole through one 1024-byte buffer.

#include <fcntl.h>
#include <stdio.h>
#include <string.h>

#include <string>

#include <orbafactory/config.h>

#include "command.h"

namespace {

using orba::cli::Args;

constexpr int kPolicySize = 1024;
// New files are created; text files are rewritten whole.
constexpr int kFileFlags = O_WRONLY | O_CREAT | O_TRUNC;

int Read(const Args& args, orba::cli::Reply& reply) {
  long size = kPolicySize;
  if (args.size() > 1 && !orba::cli::ParseInt(reply, args[1], "SIZE", &size))
    return orba::cli::kUsage;
  if (size < 1 || size > kPolicySize) {
    return orba::cli::Error(reply, orba::cli::kUsage, "policy read: SIZE must be 1 to %d",
                            kPolicySize);
  }
  char buf[kPolicySize] = {};
  if (read_policy_file(0, args[0].c_str(), buf, static_cast<int>(size)) != 0) {
    return orba::cli::FailPaths(reply, {{args[0], orba::cli::PathUse::kRead, false}},
                                "policy: cannot read %s (missing or empty)", args[0].c_str());
  }
  reply.Stream(orba::cli::Format("%s\n", buf));
  return orba::cli::kOk;
}

int Write(const Args& args, orba::cli::Reply& reply) {
  // --node writes a kernel attribute node as it is: no creation, no truncation.
  bool node = args[0] == "--node";
  if (node && args.size() != 3) {
    return orba::cli::Error(reply, orba::cli::kUsage,
                            "usage: orbafactory policy write [--node] FILE TEXT");
  }
  if (!node && args.size() != 2) {
    return orba::cli::Error(reply, orba::cli::kUsage,
                            "usage: orbafactory policy write [--node] FILE TEXT");
  }
  const std::string& path = args[node ? 1 : 0];
  const std::string& text = args[node ? 2 : 1];
  if (text.size() >= static_cast<size_t>(kPolicySize)) {
    return orba::cli::Error(reply, orba::cli::kUsage, "policy write: TEXT is longer than %d bytes",
                            kPolicySize - 1);
  }
  int ret = write_policy_file(0, path.c_str(), node ? O_WRONLY : kFileFlags, text.c_str());
  if (ret != 0) {
    return orba::cli::FailErrno(reply, ret < -1 ? -ret : EINVAL,
                                {path, orba::cli::PathUse::kWrite, false},
                                "policy: cannot write %s", path.c_str());
  }
  return orba::cli::kOk;
}

int Append(const Args& args, orba::cli::Reply& reply) {
  const std::string& text = args[1];
  if (append_policy_file(0, args[0].c_str(), O_WRONLY | O_CREAT, text.c_str(),
                         static_cast<int>(text.size())) != 1) {
    return orba::cli::Error(reply, orba::cli::kFailed,
                            "policy: cannot append to %s (the file holds at most %d bytes)",
                            args[0].c_str(), kPolicySize - 1);
  }
  return orba::cli::kOk;
}

int Replace(const Args& args, orba::cli::Reply& reply) {
  const std::string& text = args[3];
  if (text.size() > static_cast<size_t>(kPolicySize)) {
    return orba::cli::Error(reply, orba::cli::kUsage,
                            "policy replace: TEXT is longer than %d bytes", kPolicySize);
  }
  if (replace_policy_file(0, args[0].c_str(), kFileFlags, text.c_str(),
                          static_cast<unsigned>(text.size()), args[1].c_str(),
                          args[2].c_str()) != 1) {
    return orba::cli::FailPaths(reply, {{args[0], orba::cli::PathUse::kWrite, false}},
                                "policy: cannot replace in %s", args[0].c_str());
  }
  // A file without the section gets TEXT appended, and the library reports success even when
  // that append was refused: look at the file to be sure.
  char buf[kPolicySize] = {};
  read_policy_file(0, args[0].c_str(), buf, kPolicySize);
  size_t length = strlen(buf);
  if (length < text.size() || text.compare(0, std::string::npos, buf + length - text.size()) != 0) {
    return orba::cli::Error(reply, orba::cli::kFailed,
                            "policy: %s does not end with the new section (the file holds at "
                            "most %d bytes)",
                            args[0].c_str(), kPolicySize - 1);
  }
  return orba::cli::kOk;
}

const orba::cli::Family kPolicy{
    "policy",
    "small policy and attribute files, read and written whole",
    {
        {"read", "FILE [SIZE]", "the file's text (at most SIZE - 1 bytes, default 1024)", 1, 2,
         Read, "policy read /data/vendor/engineermode/camera_policy"},
        {"write", "[--node] FILE TEXT", "write TEXT (--node: an existing node, no truncation)", 2,
         3, Write, "policy write /data/vendor/engineermode/camera_policy '[front:1,2]'"},
        {"append", "FILE TEXT", "append TEXT to the last line (no separator added)", 2, 2, Append,
         "policy append /data/vendor/engineermode/camera_policy '[rear:3,4]'"},
        {"replace", "FILE START END TEXT",
         "remove the section that runs from START to END and append TEXT (a new section) at the "
         "end",
         4, 4, Replace,
         "policy replace /data/vendor/engineermode/camera_policy '[front:' ']' '[front:5,6]'"},
    }};
orba::cli::Registrar registrar(kPolicy);

}  // namespace
