#include "device_layout.h"

#include <dirent.h>
#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include <platform/devpath.h>
#include <platform/host/device_init.h>

#include "device_files.h"
#include "device_tools.h"
#include "vendor_libraries.h"

namespace orba::sim {
namespace {

// The phone's directory skeleton that the library and its callers expect to find.
const char* const kDirectories[] = {
    "/cache/recovery",
    "/data/vendor/engineermode",
    "/data/engineermode",
    "/data/media/0",
    "/data/local/tmp",
    "/data/sim/run",
    "/dev/block/platform/bootdevice/by-name",
    "/etc",
    "/factory",
    "/mnt/vendor/nvcfg/camera",
    "/proc",
    "/sys/class",
    "/system/app",
    "/system/bin",
    "/system/etc",
    "/vendor/bin",
    "/vendor/etc",
    "/vendor/lib64",
};

constexpr const char* kBackupPartition = "/dev/block/platform/bootdevice/by-name/backup";

bool IsEmptyOrAbsent(const std::string& host_dir) {
  DIR* dir = opendir(host_dir.c_str());  // host path: the root itself, before it is a device
  if (dir == nullptr) return errno == ENOENT;
  bool empty = true;
  while (dirent* e = readdir(dir)) {
    if (strcmp(e->d_name, ".") != 0 && strcmp(e->d_name, "..") != 0) empty = false;
  }
  closedir(dir);
  return empty;
}

std::string FeatureFile(const Profile& profile) {
  std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<features>\n";
  for (const Setting& f : profile.features) {
    xml += "    <feature name=\"" + f.first + "\">" + f.second + "</feature>\n";
  }
  return xml + "</features>\n";
}

}  // namespace

bool InitDevice(const SimContext& ctx, const Profile& profile, std::string* error) {
  if (!IsEmptyOrAbsent(ctx.root)) {
    *error = "device root " + ctx.root + " is not empty: choose a new directory";
    return false;
  }
  if (mkdir(ctx.root.c_str(), 0755) != 0 && errno != EEXIST) {  // host path: the root itself
    *error = "cannot create " + ctx.root + ": " + strerror(errno);
    return false;
  }
  auto fail = [&](const std::string& what) {
    *error = what + ": " + strerror(errno);
    return false;
  };
  for (const char* dir : kDirectories) {
    if (!MakeDeviceDirs(dir)) return fail(std::string("cannot create ") + dir);
  }
  if (!LinkInsideDevice("/sdcard", "/data/media/0")) return fail("cannot link /sdcard");

  // The raw partitions: erased flash reads as 0xFF; the OTP item starts out blank.
  if (!WriteDeviceImage(kBackupPartition, kBackupImageSize, 0xFF)) {
    return fail("cannot create the backup partition");
  }
  if (!LinkInsideDevice("/dev/block/bootdevice/by-name/backup", kBackupPartition) ||
      !LinkInsideDevice("/dev/block/by-name/backup", kBackupPartition)) {
    return fail("cannot link the backup partition");
  }
  if (!WriteDeviceImage("/dev/block/sdd", kOtpImageSize, 0x00)) {
    return fail("cannot create the OTP device");
  }

  if (!WriteDeviceFile("/etc/em_features.xml", FeatureFile(profile))) {
    return fail("cannot write /etc/em_features.xml");
  }
  for (const Setting& f : profile.files) {
    if (!WriteDeviceFile(f.first, f.second)) return fail("cannot write " + f.first);
  }
  for (const std::string& p : profile.present) {
    if (!WriteDeviceFile(p, "")) return fail("cannot create " + p);
  }
  if (!WriteDeviceFile("/data/sim/logcat", "")) return fail("cannot create the device log");

  if (orba_init_property_area() != 0) return fail("cannot create the property area");
  for (const Setting& p : profile.properties) {
    if (orba_init_property_set(p.first.c_str(), p.second.c_str()) != 0) {
      *error = "cannot set property " + p.first + " (names up to 127 bytes, values up to 91)";
      return false;
    }
  }
  return InstallDeviceTools(ctx, error) && InstallVendorLibraries(ctx, error);
}

}  // namespace orba::sim
