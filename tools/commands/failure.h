#ifndef ORBA_TOOLS_COMMANDS_FAILURE_H
#define ORBA_TOOLS_COMMANDS_FAILURE_H

// Failures that say why. A step of the library answers -1 and leaves the reason in its log, which
// the tool hides unless -v; so the tool keeps the library's last error line and, for a path, looks
// at the path itself:
//
//   orbafactory: zip list: cannot map /home/me/a.zip: No such file or directory
//     device path /home/me/a.zip is /tmp/phone/home/me/a.zip on this host
//     note: paths are device paths, under the simulated device's root /tmp/phone; ...
//
// Usage errors stay with Error() in cli.h: they are about the command line, not the device.

#include <string>
#include <vector>

#include "reply.h"

namespace orba::cli {

// Installs the library log handler for this process: with `verbose` every line goes to stderr
// as before; either way the last error-priority line is kept for Fail() and FailPaths().
void CaptureLibraryLog(bool verbose);

// The library's last error line (its "LINE:function(): " prefix and newline dropped), or "".
std::string LastLibraryError();

// Forgets the kept line, so a command that runs several steps reports each step's own cause.
void ClearLibraryError();

// The reply's failure "<message>: <cause>", the cause being the library's last error line; returns
// kFailed. Without one, says so and points at -v.
int Fail(Reply& reply, const char* fmt, ...) __attribute__((format(printf, 2, 3)));

// What a failed step wanted of a path, so the check looks for the right thing.
enum class PathUse {
  kRead,       // an existing, readable file
  kList,       // an existing, readable directory
  kWrite,      // a file to create or overwrite: its directory must exist and take files
  kCreate,     // a file to create, its missing directories made on the way
  kDirectory,  // a directory to create files under (made on the way if missing)
};

// Why a device path cannot serve `use`: an errno value and the device path it concerns (the
// path, or the directory it would go in); err 0 when it looks fine.
struct PathFault {
  int err = 0;
  std::string at;
};
PathFault CheckDevicePath(const std::string& device_path, PathUse use);

// The host path a device path resolves to (itself on the phone; a relative path is taken from
// the working directory).
std::string ResolvedPath(const std::string& device_path);

// A path a failed step used, and what it wanted of it. `relative_ok` is false where a relative
// path would not help (a service resolves it elsewhere, or the step wants an absolute one).
struct PathCheck {
  std::string path;
  PathUse use;
  bool relative_ok = true;
};

// A failed step on device paths: the message, then the cause (what CheckDevicePath finds on the
// first path at fault, else the library's last error), where the path resolved, and, when it
// exists on the host but not in the device, how to reach the host file. Returns kFailed.
int FailPaths(Reply& reply, const std::vector<PathCheck>& paths, const char* fmt, ...)
    __attribute__((format(printf, 3, 4)));

// As FailPaths, for a step that said itself which errno it met on the path.
int FailErrno(Reply& reply, int err, const PathCheck& path, const char* fmt, ...)
    __attribute__((format(printf, 4, 5)));

}  // namespace orba::cli

#endif
