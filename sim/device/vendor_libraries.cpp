#include "vendor_libraries.h"

#include <errno.h>
#include <string.h>

#include <android-base/file.h>

#include "device_files.h"

namespace orba::sim {

bool InstallVendorLibraries(const SimContext& ctx, std::string* error) {
  for (const char* name : {"libuwb_factory_smt.so", "libuwbrwpersist.so"}) {
    std::string host = ctx.lib_dir + "/vendor-doubles/" + name;
    std::string bytes;
    if (!android::base::ReadFileToString(host, &bytes)) {  // host path: the sim's own build
      *error = "cannot read " + host + " (is it built?): " + strerror(errno);
      return false;
    }
    std::string device = std::string(kVendorLibDir) + "/" + name;
    if (!WriteDeviceFile(device, bytes, 0755)) {
      *error = "cannot install " + device + ": " + strerror(errno);
      return false;
    }
  }
  return true;
}

}  // namespace orba::sim
