#include "node_io.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/system_properties.h>
#include <sys/time.h>
#include <unistd.h>

#include <android-base/file.h>
#include <android-base/unique_fd.h>

#include <platform/devpath.h>

namespace orba::sim::hw {
namespace {

bool MakeDirs(const std::string& device_dir) {
  for (size_t pos = 1; pos != std::string::npos;) {
    pos = device_dir.find('/', pos + 1);
    DevPath path(device_dir.substr(0, pos).c_str());
    if (mkdir(path, 0755) != 0 && errno != EEXIST) return false;
  }
  return true;
}

}  // namespace

std::string ReadNode(const std::string& device_path) {
  std::string text;
  if (!android::base::ReadFileToString(DevPath(device_path.c_str()).c_str(), &text)) return "";
  return text;
}

bool ReplaceNode(const std::string& device_path, const std::string& text) {
  size_t slash = device_path.rfind('/');
  if (slash == std::string::npos || slash == 0) return false;
  std::string dir = device_path.substr(0, slash);
  // The temporary name starts with a dot so no one listing the class directory mistakes it for
  // a node.
  std::string temp = dir + "/." + device_path.substr(slash + 1) + ".new";
  DevPath temp_path(temp.c_str());
  DevPath final_path(device_path.c_str());
  android::base::unique_fd fd(open(temp_path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  if (fd < 0 && errno == ENOENT && MakeDirs(dir)) {
    fd.reset(open(temp_path, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  }
  if (fd < 0 || !android::base::WriteFully(fd, text.data(), text.size())) return false;
  fd.reset();
  return rename(temp_path, final_path) == 0;
}

void AppendRecord(const std::string& device_path, const std::string& line) {
  size_t slash = device_path.rfind('/');
  if (slash != std::string::npos && slash > 0) MakeDirs(device_path.substr(0, slash));
  android::base::unique_fd fd(
      open(DevPath(device_path.c_str()), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
  if (fd < 0) return;
  std::string text = line + "\n";
  android::base::WriteFully(fd, text.data(), text.size());
}

double Knob(const char* name, double fallback) {
  char value[PROP_VALUE_MAX] = {};
  if (__system_property_get(name, value) <= 0) return fallback;
  char* end = nullptr;
  double v = strtod(value, &end);
  return end == value ? fallback : v;
}

bool HardwareEnabled() { return Knob("sim.hw.enable", 1) != 0; }

bool CameraMotorTypeIs(const char* type) {
  std::string features = ReadNode("/etc/em_features.xml");
  std::string line = std::string("name=\"camera_motor_type\">") + type + "<";
  return features.find(line) != std::string::npos;
}

long long WallMs() {
  timeval tv{};
  gettimeofday(&tv, nullptr);
  return static_cast<long long>(tv.tv_sec) * 1000 + tv.tv_usec / 1000;
}

}  // namespace orba::sim::hw
