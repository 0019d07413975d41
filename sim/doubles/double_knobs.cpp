#include "double_knobs.h"

#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include <mutex>

#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <cutils/properties.h>

#include <platform/devpath.h>

#include "knob_table.h"

namespace orba::sim {

long KnobInt(const char* name) {
  const long fallback = strtol(KnobDefault(name), nullptr, 0);
  char value[PROPERTY_VALUE_MAX] = {};
  if (property_get(name, value, "") <= 0) return fallback;
  char* end = nullptr;
  long v = strtol(value, &end, 0);
  return end != value ? v : fallback;
}

std::string KnobString(const char* name) {
  char value[PROPERTY_VALUE_MAX] = {};
  property_get(name, value, KnobDefault(name));
  return value;
}

void AppendCall(const char* device_path, const std::string& line) {
  // One line per write with O_APPEND, so calls from the library's threads never interleave.
  static std::mutex mutex;
  std::lock_guard<std::mutex> lock(mutex);
  DevPath path(device_path);
  android::base::unique_fd fd(open(path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0644));
  if (fd < 0) return;
  android::base::WriteStringToFd(line + "\n", fd);
}

}  // namespace orba::sim
