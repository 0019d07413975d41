#include "node_io.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/system_properties.h>
#include <sys/time.h>
#include <unistd.h>

#include "device_fs.h"
#include "knob_table.h"

namespace orba::sim::hw {

// The models run as root in a device root others write to: nodes are read and replaced through
// device_fs.h, inside the root, under temporary names nobody can plant a link at beforehand.

std::string ReadNode(const std::string& device_path) {
  unique_fd fd = OpenInDevice(device_path, O_RDONLY);
  std::string text;
  if (fd.get() < 0 || !ReadAll(fd.get(), &text, 1u << 20)) return "";
  return text;
}

bool ReplaceNode(const std::string& device_path, const std::string& text,
                 InstalledFile* installed) {
  return ReplaceDeviceFile(device_path, text, 0644, installed);
}

bool PublishReading(const std::string& device_path, const std::string& text,
                    InstalledFile* installed) {
  return ReplaceNode(device_path, text + "\n", installed);
}

void AppendRecord(const std::string& device_path, const std::string& line) {
  size_t slash = device_path.rfind('/');
  if (slash != std::string::npos && slash > 0) MakeDirsInDevice(device_path.substr(0, slash), 0755);
  unique_fd fd = OpenInDevice(device_path, O_WRONLY | O_CREAT | O_APPEND, 0644);
  if (fd.get() < 0) return;
  std::string text = line + "\n";
  WriteAll(fd.get(), text.data(), text.size());
}

double Knob(const char* name) {
  const double fallback = strtod(KnobDefault(name), nullptr);
  char value[PROP_VALUE_MAX] = {};
  if (__system_property_get(name, value) <= 0) return fallback;
  char* end = nullptr;
  double v = strtod(value, &end);
  return end == value ? fallback : v;
}

bool HardwareEnabled() { return Knob("sim.hw.enable") != 0; }

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

long long WallUs() {
  timeval tv{};
  gettimeofday(&tv, nullptr);
  return static_cast<long long>(tv.tv_sec) * 1000000 + tv.tv_usec;
}

}  // namespace orba::sim::hw
