// Block map text from the fuzzer, mapped against a small simulated block device.

#include <fcntl.h>
#include <orbafactory/minzip.h>
#include <stddef.h>
#include <stdint.h>
#include <unistd.h>

#include <string>

#include "fuzz_env.h"

namespace {

std::string g_root;
constexpr size_t kDeviceSize = 64 * 4096;
constexpr char kDeviceLine[] = "/dev/block/fz\n";

bool WriteHostFile(const std::string& path, const void* data, size_t size) {
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  const bool ok = write(fd, data, size) == static_cast<ssize_t>(size);
  close(fd);
  return ok;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  g_root = orba::fuzz::SetUpDevice();
  mkdir((g_root + "/dev").c_str(), 0755);
  mkdir((g_root + "/dev/block").c_str(), 0755);
  mkdir((g_root + "/cache").c_str(), 0755);
  std::string device(kDeviceSize, '\0');
  for (size_t i = 0; i < kDeviceSize; ++i) device[i] = static_cast<char>(i * 131 + i / 4096);
  if (!WriteHostFile(g_root + "/dev/block/fz", device.data(), device.size())) abort();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size == 0) return 0;
  // An odd first byte puts the simulated device's path on the first line, so the fuzzer spends
  // its time on the header and ranges rather than on guessing a path.
  std::string text;
  if (data[0] & 1) text = kDeviceLine;
  text.append(reinterpret_cast<const char*>(data) + 1, size - 1);
  if (!WriteHostFile(g_root + "/cache/fz.map", text.data(), text.size())) abort();

  MemoryMap map = {};
  if (sysMapFile("@/cache/fz.map", &map) != 0) return 0;
  // Every mapped byte must be readable.
  unsigned sum = 0;
  for (size_t i = 0; i < map.length; i += 512) sum += map.base[i];
  if (map.length > 0) sum += map.base[map.length - 1];
  sysReleaseMap(&map);
  return static_cast<int>(sum & 0);
}
