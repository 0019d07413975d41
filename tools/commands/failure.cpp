#include "failure.h"

#include <android/log.h>
#include <errno.h>
#include <platform/devpath.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <mutex>

#include "command.h"

#if !defined(__ANDROID__)
#include <platform/host/device_root.h>
#endif

namespace orba::cli {
namespace {

// Library threads (log capture, samplers) log too, so the kept line has a lock.
std::mutex g_mutex;
std::string g_last_error;
bool g_verbose = false;

// "123:function(): text\n" -> "text": the line number and function mean nothing to a user.
std::string WithoutPrefix(const char* message) {
  const char* p = message;
  while (*p >= '0' && *p <= '9') ++p;
  const char* call = (p != message && *p == ':') ? strstr(p, "(): ") : nullptr;
  std::string text = call != nullptr ? call + 4 : message;
  while (!text.empty() && (text.back() == '\n' || text.back() == ' ')) text.pop_back();
  return text;
}

void Keep(int priority, const char* message) {
  if (priority < ANDROID_LOG_ERROR || message == nullptr) return;
  std::string text = WithoutPrefix(message);
  if (text.empty()) return;
  std::lock_guard<std::mutex> lock(g_mutex);
  g_last_error = std::move(text);
}

#if defined(__ANDROID__)
void Logger(const struct __android_log_message* m) {
  if (g_verbose) __android_log_stderr_logger(m);
  Keep(m->priority, m->message);
}
#else
void Logger(const struct __android_logger_data* data, const char* message) {
  if (g_verbose) __android_log_stderr_logger(data, message);
  Keep(data->priority, message);
}
#endif

std::string Parent(const std::string& path) {
  size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

std::string Base(const std::string& path) {
  size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

// A directory a step writes into: its nearest existing ancestor must be a directory that takes
// files, since the steps that want a directory make the missing ones.
PathFault CheckDirectory(std::string path, bool make_missing) {
  struct stat st;
  while (stat(DevPath(path.c_str()), &st) != 0) {
    // A missing directory is made on the way; one under a file is not, so go up to the file.
    bool absent = errno == ENOENT || errno == ENOTDIR;
    if (!absent || !make_missing || path == "/" || path == ".") return {errno, path};
    path = Parent(path);
  }
  if (!S_ISDIR(st.st_mode)) return {ENOTDIR, path};
  if (access(DevPath(path.c_str()), W_OK | X_OK) != 0) return {errno, path};
  return {};
}

std::string Root() {
#if defined(__ANDROID__)
  return "";
#else
  return orba_device_root();
#endif
}

// Whether the path, taken as the host's own, holds what the step wanted: then the user most
// likely meant a host file.
bool OnHost(const std::string& path, PathUse use) {
  struct stat st;
  bool file = use == PathUse::kWrite || use == PathUse::kCreate;
  const std::string dir = file ? Parent(path) : path;
  if (stat(dir.c_str(), &st) != 0) return false;  // host path
  return use == PathUse::kRead ? !S_ISDIR(st.st_mode) : S_ISDIR(st.st_mode);
}

std::string RelativeFromHere(const std::string& host_path) {
  char cwd[PATH_MAX];
  if (getcwd(cwd, sizeof(cwd)) == nullptr) return "";
  return std::filesystem::path(host_path).lexically_relative(cwd).string();
}

std::string HostFileHint(const PathCheck& c, const std::string& root) {
  std::string text = "  note: orbafactory takes device paths, which lie under the simulated "
                     "device's root " + root + "; " + c.path +
                     " is on this host, not in the device.\n";
  const std::string relative = c.relative_ok ? RelativeFromHere(c.path) : "";
  const std::string name = Base(c.path);
  switch (c.use) {
    case PathUse::kRead:
      text += "  To use the host file, ";
      if (!relative.empty()) text += "give it as a relative path (" + relative + ") or ";
      text += "copy it into the root: cp " + c.path + " " + root + "/data/local/tmp/ and give " +
              "/data/local/tmp/" + name + "\n";
      break;
    case PathUse::kWrite:
    case PathUse::kCreate:
      text += "  To write on the host, ";
      if (!relative.empty()) text += "give a relative path (" + relative + ") or ";
      text += "write under the root (/data/local/tmp/" + name + ") and copy " + root +
              "/data/local/tmp/" + name + " out\n";
      break;
    case PathUse::kList:
      text += "  To use the host directory, ";
      if (!relative.empty()) text += "give it as a relative path (" + relative + ") or ";
      text += "copy it into the root: cp -r " + c.path + " " + root + "/data/local/tmp/ and give " +
              "/data/local/tmp/" + name + "\n";
      break;
    case PathUse::kDirectory:
      text += "  Give a directory in the device, such as /data/local/tmp/" + name +
              ", and copy the files out of " + root + "/data/local/tmp/" + name + "\n";
      break;
  }
  return text;
}

// `known`: the fault the step itself reported on the first path, if any.
int Report(Reply& reply, const std::string& message, const std::vector<PathCheck>& paths,
           const PathFault* known = nullptr) {
  const PathCheck* culprit = nullptr;
  PathFault fault;
  if (known != nullptr && !paths.empty()) {
    culprit = &paths[0];
    fault = *known;
  }
  for (const PathCheck& c : paths) {
    if (culprit != nullptr) break;
    fault = CheckDevicePath(c.path, c.use);
    if (fault.err != 0) {
      culprit = &c;
      break;
    }
  }
  std::string line = message;
  if (culprit != nullptr) {
    // The message names a lone path already; with several, say which one.
    bool named = paths.size() == 1 && fault.at == culprit->path;
    line += ": " + (named ? "" : fault.at + ": ") + strerror(fault.err);
  }
  std::string text;
  if (culprit == nullptr) {
    std::string cause = LastLibraryError();
    // The hint is for a shell user; a reply that shows no hints (the serial line) keeps the
    // message alone.
    if (cause.empty()) {
      text += "  no cause was logged; -v shows the library's log\n";
    } else {
      line += ": " + cause;
    }
  }
  for (const PathCheck& c : paths) {
    if (culprit != nullptr && &c != culprit) continue;
    const std::string resolved = ResolvedPath(c.path);
    if (resolved != c.path) {
      text += std::string(c.path[0] == '/' ? "  device path " : "  relative path ") + c.path +
              " resolves to " + resolved + " on this host\n";
    }
  }
  const std::string root = Root();
  if (culprit != nullptr && !root.empty() && culprit->path[0] == '/' &&
      (fault.err == ENOENT || fault.err == ENOTDIR) && OnHost(culprit->path, culprit->use)) {
    text += HostFileHint(*culprit, root);
  }
  return reply.Failure(kFailed, line, text);
}

}  // namespace

void CaptureLibraryLog(bool verbose) {
  g_verbose = verbose;
  __android_log_set_logger(Logger);
  // Error lines are always wanted for the cause; the rest only when shown.
  __android_log_set_minimum_priority(verbose ? ANDROID_LOG_DEBUG : ANDROID_LOG_ERROR);
}

std::string LastLibraryError() {
  std::lock_guard<std::mutex> lock(g_mutex);
  return g_last_error;
}

void ClearLibraryError() {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_last_error.clear();
}

int Fail(Reply& reply, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string message = FormatV(fmt, ap);
  va_end(ap);
  return Report(reply, message, {});
}

PathFault CheckDevicePath(const std::string& device_path, PathUse use) {
  if (device_path.empty()) return {ENOENT, device_path};
  DevPath resolved(device_path.c_str());
  if (!resolved.ok()) return {ENAMETOOLONG, device_path};
  struct stat st;
  switch (use) {
    case PathUse::kRead:
      if (stat(resolved, &st) != 0) return {errno, device_path};
      if (S_ISDIR(st.st_mode)) return {EISDIR, device_path};
      if (access(resolved, R_OK) != 0) return {errno, device_path};
      return {};
    case PathUse::kList:
      if (stat(resolved, &st) != 0) return {errno, device_path};
      if (!S_ISDIR(st.st_mode)) return {ENOTDIR, device_path};
      if (access(resolved, R_OK | X_OK) != 0) return {errno, device_path};
      return {};
    case PathUse::kWrite:
    case PathUse::kCreate:
      if (stat(resolved, &st) == 0) {
        if (S_ISDIR(st.st_mode)) return {EISDIR, device_path};
        if (access(resolved, W_OK) != 0) return {errno, device_path};
        return {};
      }
      if (errno != ENOENT) return {errno, device_path};
      return CheckDirectory(Parent(device_path), use == PathUse::kCreate);
    case PathUse::kDirectory:
      return CheckDirectory(device_path, true);
  }
  return {};
}

std::string ResolvedPath(const std::string& device_path) {
  if (!device_path.empty() && device_path[0] != '/') {
    char cwd[PATH_MAX];
    if (getcwd(cwd, sizeof(cwd)) == nullptr) return device_path;
    return std::string(cwd) + "/" + device_path;
  }
  DevPathText resolved(device_path.c_str());
  return resolved.ok() ? std::string(resolved.c_str()) : device_path;
}

int FailErrno(Reply& reply, int err, const PathCheck& path, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string message = FormatV(fmt, ap);
  va_end(ap);
  const PathFault known{err, path.path};
  return Report(reply, message, {path}, &known);
}

int FailPaths(Reply& reply, const std::vector<PathCheck>& paths, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string message = FormatV(fmt, ap);
  va_end(ap);
  return Report(reply, message, paths);
}

}  // namespace orba::cli
