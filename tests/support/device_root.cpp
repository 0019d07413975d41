#include "support/device_root.h"

#include <ftw.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include <platform/host/device_root.h>

namespace orba::test {
namespace {

int RemoveEntry(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }

void MakeParents(const std::string& path) {
  for (size_t pos = path.find('/', 1); pos != std::string::npos; pos = path.find('/', pos + 1)) {
    mkdir(path.substr(0, pos).c_str(), 0755);
  }
}

}  // namespace

// Where scratch devices go: $TMPDIR when set, else memory (/dev/shm) where the machine has it.
// The hardware models replace their nodes thousands of times a second while a motor turns; on
// a disk busy with a parallel build, file creation and rename wait on the journal for
// milliseconds, and a module read through stalled nodes looks as if it had stopped.
std::string ScratchDir() {
  const char* tmp = getenv("TMPDIR");
  if (tmp != nullptr && *tmp != '\0') return tmp;
  return access("/dev/shm", W_OK | X_OK) == 0 ? "/dev/shm" : "/tmp";
}

void DeviceRootTest::SetUp() {
  std::string templ = ScratchDir() + "/orba-dev-XXXXXX";
  ASSERT_NE(mkdtemp(templ.data()), nullptr);
  root_ = templ;
  setenv(ORBA_DEVICE_ROOT_ENV, root_.c_str(), 1);
  orba_device_root_reset();
}

void DeviceRootTest::TearDown() {
  nftw(root_.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
  unsetenv(ORBA_DEVICE_ROOT_ENV);
  orba_device_root_reset();
}

void DeviceRootTest::WriteDeviceFile(const std::string& device_path,
                                     const std::string& content) const {
  std::string path = HostPath(device_path);
  MakeParents(path);
  std::ofstream(path, std::ios::binary) << content;
}

std::string DeviceRootTest::ReadDeviceFile(const std::string& device_path) const {
  std::ifstream in(HostPath(device_path), std::ios::binary);
  std::stringstream ss;
  ss << in.rdbuf();
  return ss.str();
}

void NoDeviceRootTest::SetUp() {
  const char* env = getenv(ORBA_DEVICE_ROOT_ENV);
  had_root_ = env != nullptr;
  if (had_root_) saved_ = env;
  unsetenv(ORBA_DEVICE_ROOT_ENV);
  orba_device_root_reset();
}

void NoDeviceRootTest::TearDown() {
  if (had_root_) setenv(ORBA_DEVICE_ROOT_ENV, saved_.c_str(), 1);
  orba_device_root_reset();
}

}  // namespace orba::test
