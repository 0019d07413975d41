#include "confined_path.h"

#include <errno.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>

#include <platform/devpath.h>
#include <platform/host/device_root.h>

namespace orba::sim {
namespace {

bool Inside(const std::string& real, const std::string& root_real) {
  return real == root_real ||
         (real.compare(0, root_real.size(), root_real) == 0 && real[root_real.size()] == '/');
}

}  // namespace

bool ResolveConfined(std::string_view device_path, std::string* host_path) {
  // Clients speak device paths only: a relative one would land in the service's cwd.
  if (device_path.empty() || device_path[0] != '/' ||
      device_path.find('\0') != std::string_view::npos) {
    errno = EINVAL;
    return false;
  }
  std::string path(device_path);
  DevPath resolved(path.c_str());
  if (!resolved.ok()) {
    errno = ENAMETOOLONG;
    return false;
  }
  char root_buf[PATH_MAX];
  if (realpath(orba_device_root(), root_buf) == nullptr) return false;  // host path: the root
  const std::string root_real(root_buf);

  // The longest existing prefix decides where the path really goes; what follows it does not
  // exist yet and is created inside that directory.
  std::string probe(resolved.c_str());
  char real_buf[PATH_MAX];
  for (;;) {
    if (realpath(probe.c_str(), real_buf) != nullptr) break;  // host path: already resolved
    if (errno != ENOENT && errno != ENOTDIR) return false;
    // A dangling symbolic link exists but has no real path: following it on create could
    // land anywhere.
    struct stat st;
    if (lstat(probe.c_str(), &st) == 0) {  // host path: already resolved
      errno = EACCES;
      return false;
    }
    size_t slash = probe.find_last_of('/');
    if (slash == std::string::npos || slash == 0) {
      errno = EACCES;
      return false;
    }
    probe.resize(slash);
  }
  if (!Inside(real_buf, root_real)) {
    errno = EACCES;
    return false;
  }
  *host_path = resolved.c_str();
  return true;
}

}  // namespace orba::sim
