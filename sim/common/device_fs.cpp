#include "device_fs.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <android-base/file.h>
#include <android-base/strings.h>

#include <atomic>
#include <deque>
#include <utility>
#include <vector>

namespace orba::sim {

unique_fd OpenInDevice(std::string_view device_path, int flags, mode_t mode) {
  // Clients speak device paths only: a relative one has no meaning on the device.
  if (device_path.empty() || device_path[0] != '/') {
    errno = EINVAL;
    return unique_fd();
  }
  unique_fd root = OpenDeviceRoot();
  if (root.get() < 0) return unique_fd();
  return OpenBeneath(root.get(), device_path, flags, mode);
}

bool OpenParentInDevice(std::string_view device_path, unique_fd* dir, std::string* leaf) {
  if (device_path.empty() || device_path[0] != '/') {
    errno = EINVAL;
    return false;
  }
  unique_fd root = OpenDeviceRoot();
  return root.get() >= 0 && OpenParentBeneath(root.get(), device_path, dir, leaf);
}

bool MakeDirsBeneath(int root_fd, std::string_view dir, mode_t mode) {
  std::string prefix;
  for (const std::string& part : android::base::Split(std::string(dir), "/")) {
    if (part.empty() || part == ".") continue;
    std::string parent = prefix.empty() ? "/" : prefix;
    prefix += "/" + part;
    if (OpenBeneath(root_fd, prefix, O_PATH | O_DIRECTORY).get() >= 0) continue;
    if (errno != ENOENT) return false;
    unique_fd parent_fd = OpenBeneath(root_fd, parent, O_PATH | O_DIRECTORY);
    if (parent_fd.get() < 0) return false;
    // mkdirat never follows a link at the name: a dangling one planted there is EEXIST.
    if (part == ".." || (mkdirat(parent_fd.get(), part.c_str(), mode) != 0 && errno != EEXIST)) {
      return false;
    }
    if (OpenBeneath(root_fd, prefix, O_PATH | O_DIRECTORY).get() < 0) return false;
  }
  return true;
}

bool MakeDirsInDevice(std::string_view device_dir, mode_t mode) {
  unique_fd root = OpenDeviceRoot();
  return root.get() >= 0 && MakeDirsBeneath(root.get(), device_dir, mode);
}

unique_fd CreateTempFile(int dir_fd, std::string_view stem, mode_t mode, std::string* name) {
  static constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
  // Leaves room for the suffix within NAME_MAX.
  if (stem.size() > 200) stem = stem.substr(0, 200);
  for (int attempt = 0; attempt < 16; ++attempt) {
    unsigned char random[12];
    if (getrandom(random, sizeof(random), 0) != static_cast<ssize_t>(sizeof(random))) {
      return unique_fd();
    }
    std::string candidate = "." + std::string(stem) + ".tmp-";
    for (unsigned char r : random) candidate += kLetters[r % (sizeof(kLetters) - 1)];
    unique_fd fd(openat(dir_fd, candidate.c_str(),
                        O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
    if (fd.get() >= 0) {
      *name = std::move(candidate);
      return fd;
    }
    if (errno != EEXIST) return unique_fd();
  }
  return unique_fd();
}

bool ReplaceDeviceFile(std::string_view device_path, std::string_view content, mode_t mode,
                       InstalledFile* installed) {
  unique_fd root = OpenDeviceRoot();
  if (root.get() < 0) return false;
  size_t slash = device_path.rfind('/');
  if (slash == std::string_view::npos || device_path[0] != '/') {
    errno = EINVAL;
    return false;
  }
  if (!MakeDirsBeneath(root.get(), device_path.substr(0, slash), 0755)) return false;
  unique_fd dir;
  std::string leaf;
  if (!OpenParentBeneath(root.get(), device_path, &dir, &leaf)) return false;
  std::string tmp;
  unique_fd fd = CreateTempFile(dir.get(), leaf, mode, &tmp);
  if (fd.get() < 0) return false;
  bool ok = WriteAll(fd.get(), content.data(), content.size()) && fchmod(fd.get(), mode) == 0 &&
            (installed == nullptr || fstat(fd.get(), &installed->written) == 0);
  if (!ok || renameat(dir.get(), tmp.c_str(), dir.get(), leaf.c_str()) != 0) {
    int err = errno;
    unlinkat(dir.get(), tmp.c_str(), 0);
    errno = err;
    return false;
  }
  if (installed != nullptr) installed->fd = std::move(fd);
  return true;
}

bool WriteAll(int fd, const char* data, size_t size) {
  return android::base::WriteFully(fd, data, size);
}

bool ReadAll(int fd, std::string* out, size_t limit) {
  out->clear();
  char buf[8192];
  for (;;) {
    ssize_t n = read(fd, buf, sizeof(buf));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    if (n == 0) return true;
    if (out->size() + static_cast<size_t>(n) > limit) {
      errno = EFBIG;
      return false;
    }
    out->append(buf, static_cast<size_t>(n));
  }
}

}  // namespace orba::sim
