#include "device_layout.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <android-base/unique_fd.h>

#include <platform/devpath.h>
#include <platform/host/device_init.h>
#include <platform/host/device_owner.h>

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

std::string FeatureFile(const Profile& profile) {
  std::string xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<features>\n";
  for (const Setting& f : profile.features) {
    xml += "    <feature name=\"" + f.first + "\">" + f.second + "</feature>\n";
  }
  return xml + "</features>\n";
}

}  // namespace

bool InitDevice(const SimContext& ctx, const Profile& profile, std::string* error) {
  if (!platform::MayTakeRoot(ctx.root, error)) return false;
  if (mkdir(ctx.root.c_str(), 0700) != 0 && errno != EEXIST) {  // host path: the root itself
    *error = "cannot create " + ctx.root + ": " + strerror(errno);
    return false;
  }
  {
    // What was checked may have been made by someone else since, if it was absent then.
    android::base::unique_fd fd(
        open(ctx.root.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));  // host path
    struct stat st;
    if (fd.get() < 0 || fstat(fd.get(), &st) != 0 || st.st_uid != geteuid() ||
        (st.st_mode & 0022) != 0 || fchmod(fd.get(), 0700) != 0) {
      *error = "device root " + ctx.root + " was taken by another user while it was made: "
               "choose a new path";
      return false;
    }
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
