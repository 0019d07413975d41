#include <platform/host/device_root.h>

#include <android/log.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include <platform/host/in_root.h>

using android::base::unique_fd;
using orba::platform::OpenBeneath;
using orba::platform::OpenParentBeneath;

namespace {

// As the kernel's own bound on links followed in one lookup.
constexpr int kMaxLinks = 40;

bool Put(char* out, size_t out_size, const std::string& text) {
  if (text.size() >= out_size) {
    out[0] = '\0';
    errno = ENAMETOOLONG;
    return false;
  }
  memcpy(out, text.c_str(), text.size() + 1);
  return true;
}

int Named(unique_fd fd, const char* leaf, char* out, size_t out_size) {
  std::string text = "/proc/self/fd/" + std::to_string(fd.get());
  if (leaf != nullptr) text += std::string("/") + leaf;
  if (!Put(out, out_size, text)) return -1;
  return fd.release();
}

std::string Dirname(const std::string& path) {
  size_t slash = path.find_last_of('/');
  return slash == std::string::npos ? "/" : path.substr(0, slash + 1);
}

// A dangling link as the last component: a create through it makes its target, so the target's
// own directory and name are what the call must be given, found inside the root in turn.
int ConfineMissing(int root_fd, std::string path, char* out, size_t out_size) {
  for (int links = 0; links <= kMaxLinks; ++links) {
    unique_fd dir;
    std::string leaf;
    if (!OpenParentBeneath(root_fd, path, &dir, &leaf)) return -1;
    struct stat st;
    if (fstatat(dir.get(), leaf.c_str(), &st, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISLNK(st.st_mode)) {
      return Named(std::move(dir), leaf.c_str(), out, out_size);
    }
    char target[PATH_MAX];
    ssize_t n = readlinkat(dir.get(), leaf.c_str(), target, sizeof(target) - 1);
    if (n < 0) return -1;
    target[n] = '\0';
    path = target[0] == '/' ? std::string(target) : Dirname(path) + target;
  }
  errno = ELOOP;
  return -1;
}

}  // namespace

extern "C" int orba_confine_device_path(const char* path, int follow_last, char* out,
                                        size_t out_size, int* ok) {
  *ok = 0;
  if (out == nullptr || out_size == 0) return -1;
  out[0] = '\0';
  if (path == nullptr) return -1;
  if (path[0] != '/') {
    *ok = Put(out, out_size, path) ? 1 : 0;
    return -1;
  }
  if (strlen(path) >= PATH_MAX) {
    __android_log_print(ANDROID_LOG_ERROR, "_O_EM_LOG", "%d:%s(): path too long: %s\n", __LINE__,
                        __func__, path);
    return -1;
  }
  if (orba_device_root()[0] == '\0') {
    __android_log_print(ANDROID_LOG_ERROR, "_O_EM_LOG",
                        "%d:%s(): no simulated device: set ORBA_DEVICE_ROOT (see "
                        "'orbafactory-sim env'); refusing to touch the host path %s\n",
                        __LINE__, __func__, path);
    return -1;
  }
  *ok = 1;
  const int saved = errno;
  unique_fd root = orba::platform::OpenDeviceRoot();
  if (root.get() < 0) return -1;
  int held = -1;
  if (follow_last) {
    unique_fd fd = OpenBeneath(root.get(), path, O_PATH);
    if (fd.get() >= 0) {
      held = Named(std::move(fd), nullptr, out, out_size);
    } else if (errno == ENOENT) {
      held = ConfineMissing(root.get(), path, out, out_size);
    }
  } else {
    unique_fd dir;
    std::string leaf;
    if (OpenParentBeneath(root.get(), path, &dir, &leaf)) {
      held = Named(std::move(dir), leaf.c_str(), out, out_size);
    } else if (errno == EINVAL) {
      // "/", or a path ending in "." or "..": a directory, never a link, so following is the same.
      unique_fd fd = OpenBeneath(root.get(), path, O_PATH);
      if (fd.get() >= 0) held = Named(std::move(fd), nullptr, out, out_size);
    }
  }
  // The caller's system call reports what went wrong; our own look-ups leave no trace.
  errno = saved;
  return held;
}
