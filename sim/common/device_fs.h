#ifndef ORBA_SIM_COMMON_DEVICE_FS_H
#define ORBA_SIM_COMMON_DEVICE_FS_H

// File work of the simulated device's services, which run as root on a host: every path they
// open, create, rename, remove, chmod or list is resolved inside the device root, links included.
// A link is followed as the device would follow it: an absolute target is a path of the device,
// and ".." never climbs above the device's "/". What is checked and what is used are the same
// descriptor, so nothing planted between the two can redirect the work (platform/host/in_root.h).

#include <sys/stat.h>
#include <sys/types.h>

#include <string>
#include <string_view>

#include <android-base/unique_fd.h>
#include <platform/host/in_root.h>

namespace orba::sim {

using android::base::unique_fd;

using platform::OpenBeneath;
using platform::OpenDeviceRoot;
using platform::OpenParentBeneath;
using platform::Resolver;

// A device path (absolute) opened inside the device root.
unique_fd OpenInDevice(std::string_view device_path, int flags, mode_t mode = 0);
// The directory that holds the last component of a device path, and that component.
bool OpenParentInDevice(std::string_view device_path, unique_fd* dir, std::string* leaf);
// mkdir -p beneath `root_fd` (existing directories, and links to directories inside, are fine).
bool MakeDirsBeneath(int root_fd, std::string_view dir, mode_t mode);
bool MakeDirsInDevice(std::string_view device_dir, mode_t mode);

// A new file in `dir_fd` under a name nobody can guess beforehand (`stem` plus random letters),
// created with O_EXCL | O_NOFOLLOW, so nothing planted at that name is opened instead.
unique_fd CreateTempFile(int dir_fd, std::string_view stem, mode_t mode, std::string* name);
// Replaces a device file whole: written to a temporary file beside it and renamed over it
// (readers see the old or the new content, never a part). Makes its directory. Not synced: the
// files replaced so are the hardware models' stand-ins for kernel attributes, which no reboot
// keeps, published every half millisecond while a motor turns; a sync each time stalled them
// for milliseconds on a busy disk.
// `installed`, when given, receives the new file, still open, with its state as written, taken
// before the rename shows it to anyone: for a writer that must later tell its own file from a
// store into it or a file another writer put in its place.
struct InstalledFile {
  unique_fd fd;
  struct stat written {};
};
bool ReplaceDeviceFile(std::string_view device_path, std::string_view content, mode_t mode,
                       InstalledFile* installed = nullptr);

bool WriteAll(int fd, const char* data, size_t size);
// The whole content of an open file, refusing more than `limit` bytes (EFBIG).
bool ReadAll(int fd, std::string* out, size_t limit);

}  // namespace orba::sim

#endif
