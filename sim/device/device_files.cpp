#include "device_files.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "device_fs.h"

// orbafactory-sim runs as root (scripts/run, CI): what it writes into a device root that others
// may have written to before goes through device_fs.h, so no link there reaches the host.

namespace orba::sim {
namespace {

std::string Parent(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

// A link of the device, replacing whatever has the name.
bool PlaceLink(const std::string& device_path, const std::string& target) {
  if (!MakeDeviceDirs(Parent(device_path))) return false;
  unique_fd dir;
  std::string leaf;
  if (!OpenParentInDevice(device_path, &dir, &leaf)) return false;
  unlinkat(dir.get(), leaf.c_str(), 0);
  return symlinkat(target.c_str(), dir.get(), leaf.c_str()) == 0;
}

}  // namespace

bool MakeDeviceDirs(const std::string& device_dir) { return MakeDirsInDevice(device_dir, 0755); }

bool WriteDeviceFile(const std::string& device_path, const std::string& content, mode_t mode) {
  if (!MakeDeviceDirs(Parent(device_path))) return false;
  unique_fd fd = OpenInDevice(device_path, O_WRONLY | O_CREAT | O_TRUNC, mode);
  if (fd < 0 || !WriteAll(fd, content.data(), content.size())) return false;
  return fchmod(fd, mode) == 0;
}

bool WriteDeviceImage(const std::string& device_path, size_t size, unsigned char fill) {
  if (!MakeDeviceDirs(Parent(device_path))) return false;
  unique_fd fd = OpenInDevice(device_path, O_WRONLY | O_CREAT | O_TRUNC, 0660);
  if (fd < 0) return false;
  std::string block(64 * 1024, static_cast<char>(fill));
  for (size_t left = size; left > 0;) {
    size_t n = left < block.size() ? left : block.size();
    if (!WriteAll(fd, block.data(), n)) return false;
    left -= n;
  }
  return fsync(fd) == 0;
}

bool LinkInsideDevice(const std::string& device_path, const std::string& device_target) {
  // Relative to the link's own directory: climb to the device's "/" and descend to the target.
  std::string relative;
  for (char c : Parent(device_path)) {
    if (c == '/') relative += "../";
  }
  if (Parent(device_path) == "/") relative.clear();
  relative += device_target.substr(1);
  return PlaceLink(device_path, relative);
}

bool LinkToHost(const std::string& device_path, const std::string& host_target) {
  return PlaceLink(device_path, host_target);
}

bool ReadDeviceFile(const std::string& device_path, std::string* content) {
  unique_fd fd = OpenInDevice(device_path, O_RDONLY);
  return fd >= 0 && ReadAll(fd, content, 64u << 20);
}

}  // namespace orba::sim
