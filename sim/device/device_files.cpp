#include "device_files.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <android-base/file.h>
#include <android-base/unique_fd.h>

#include <platform/devpath.h>

namespace orba::sim {
namespace {

std::string Parent(const std::string& path) {
  size_t slash = path.rfind('/');
  return slash == 0 || slash == std::string::npos ? "/" : path.substr(0, slash);
}

}  // namespace

bool MakeDeviceDirs(const std::string& device_dir) {
  for (size_t pos = 1; pos != std::string::npos;) {
    pos = device_dir.find('/', pos + 1);
    std::string prefix = device_dir.substr(0, pos);
    DevPath path(prefix.c_str());
    if (mkdir(path, 0755) != 0 && errno != EEXIST) return false;
  }
  return true;
}

bool WriteDeviceFile(const std::string& device_path, const std::string& content, mode_t mode) {
  if (!MakeDeviceDirs(Parent(device_path))) return false;
  DevPath path(device_path.c_str());
  android::base::unique_fd fd(open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode));
  if (fd < 0 || !android::base::WriteFully(fd, content.data(), content.size())) return false;
  return fchmod(fd, mode) == 0;
}

bool WriteDeviceImage(const std::string& device_path, size_t size, unsigned char fill) {
  if (!MakeDeviceDirs(Parent(device_path))) return false;
  DevPath path(device_path.c_str());
  android::base::unique_fd fd(open(path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0660));
  if (fd < 0) return false;
  std::string block(64 * 1024, static_cast<char>(fill));
  for (size_t left = size; left > 0;) {
    size_t n = left < block.size() ? left : block.size();
    if (!android::base::WriteFully(fd, block.data(), n)) return false;
    left -= n;
  }
  return fsync(fd) == 0;
}

bool LinkInsideDevice(const std::string& device_path, const std::string& device_target) {
  if (!MakeDeviceDirs(Parent(device_path))) return false;
  // Relative to the link's own directory: climb to the device's "/" and descend to the target.
  std::string relative;
  for (char c : Parent(device_path)) {
    if (c == '/') relative += "../";
  }
  if (Parent(device_path) == "/") relative.clear();
  relative += device_target.substr(1);
  DevPath link_path(device_path.c_str());
  unlink(link_path);
  return symlink(relative.c_str(), link_path) == 0;
}

bool LinkToHost(const std::string& device_path, const std::string& host_target) {
  if (!MakeDeviceDirs(Parent(device_path))) return false;
  DevPath link_path(device_path.c_str());
  unlink(link_path);
  return symlink(host_target.c_str(), link_path) == 0;
}

bool ReadDeviceFile(const std::string& device_path, std::string* content) {
  DevPath path(device_path.c_str());
  android::base::unique_fd fd(open(path, O_RDONLY | O_CLOEXEC));
  if (fd < 0) return false;
  content->clear();
  char buf[4096];
  for (ssize_t n; (n = read(fd, buf, sizeof(buf))) != 0;) {
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    content->append(buf, static_cast<size_t>(n));
  }
  return true;
}

}  // namespace orba::sim
