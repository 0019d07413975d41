#include <platform/host/in_root.h>

#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <linux/openat2.h>
#include <stdint.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <deque>
#include <vector>

#include <android/log.h>
#include <platform/host/device_owner.h>
#include <platform/host/device_root.h>

namespace orba::platform {

using android::base::unique_fd;

namespace {

// As the kernel's own bound on links followed in one lookup.
constexpr int kMaxLinks = 40;

// Flags openat2 accepts; it refuses unknown bits outright, and a client's stray bit must not
// turn every open into EINVAL.
constexpr int kOpenFlags = O_ACCMODE | O_CREAT | O_EXCL | O_NOCTTY | O_TRUNC | O_APPEND |
                           O_NONBLOCK | O_DSYNC | O_SYNC | O_DIRECTORY | O_NOFOLLOW | O_PATH |
                           O_NOATIME | O_TMPFILE;

std::deque<std::string> Components(std::string_view path) {
  std::deque<std::string> out;
  size_t start = 0;
  while (start <= path.size()) {
    size_t end = path.find('/', start);
    if (end == std::string_view::npos) end = path.size();
    std::string_view part = path.substr(start, end - start);
    if (!part.empty() && part != ".") out.emplace_back(part);
    start = end + 1;
  }
  return out;
}

bool ReadLinkAt(int link_fd, std::string* target) {
  char buf[PATH_MAX];
  ssize_t n = readlinkat(link_fd, "", buf, sizeof(buf));
  if (n < 0) return false;
  if (static_cast<size_t>(n) == sizeof(buf)) {
    errno = ENAMETOOLONG;
    return false;
  }
  target->assign(buf, static_cast<size_t>(n));
  return true;
}

// RESOLVE_IN_ROOT done by hand: one component at a time, never letting the kernel follow a link.
unique_fd WalkBeneath(int root_fd, std::string_view path, int flags, mode_t mode) {
  const bool follow_last = (flags & O_NOFOLLOW) == 0;
  std::deque<std::string> todo = Components(path);
  std::vector<unique_fd> stack;  // directories entered below the root
  int links = 0;
  auto current = [&] { return stack.empty() ? root_fd : stack.back().get(); };
  // A link's target replaces the link in what is left to resolve; an absolute one starts over
  // at the root.
  auto splice = [&](int link_fd) {
    std::string target;
    if (!ReadLinkAt(link_fd, &target)) return false;
    if (++links > kMaxLinks) {
      errno = ELOOP;
      return false;
    }
    if (!target.empty() && target[0] == '/') stack.clear();
    std::deque<std::string> parts = Components(target);
    todo.insert(todo.begin(), parts.begin(), parts.end());
    return true;
  };

  while (!todo.empty()) {
    std::string name = std::move(todo.front());
    todo.pop_front();
    const bool last = todo.empty();
    if (name == "..") {
      if (!stack.empty()) stack.pop_back();
      continue;
    }
    if (!last) {
      unique_fd fd(openat(current(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
      struct stat st;
      if (fd.get() < 0 || fstat(fd.get(), &st) != 0) return unique_fd();
      if (S_ISLNK(st.st_mode)) {
        if (!splice(fd.get())) return unique_fd();
        continue;
      }
      if (!S_ISDIR(st.st_mode)) {
        errno = ENOTDIR;
        return unique_fd();
      }
      stack.push_back(std::move(fd));
      continue;
    }
    unique_fd fd(openat(current(), name.c_str(), flags | O_NOFOLLOW | O_CLOEXEC, mode));
    if (fd.get() >= 0) {
      // O_PATH | O_NOFOLLOW opens a link itself; the caller asked to go through it.
      struct stat st;
      if (!follow_last || (flags & O_PATH) == 0 || fstat(fd.get(), &st) != 0 ||
          !S_ISLNK(st.st_mode)) {
        return fd;
      }
      if (!splice(fd.get())) return unique_fd();
      continue;
    }
    // ELOOP from O_NOFOLLOW means the name is a link: follow it unless told not to.
    if (errno != ELOOP || !follow_last) return unique_fd();
    unique_fd named = unique_fd(openat(current(), name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat st;
    if (named.get() < 0 || fstat(named.get(), &st) != 0) return unique_fd();
    if (!S_ISLNK(st.st_mode)) {
      errno = ELOOP;
      return unique_fd();
    }
    if (!splice(named.get())) return unique_fd();
  }
  // Nothing left: the path named a directory already entered (or the root itself).
  return unique_fd(openat(current(), ".", flags | O_CLOEXEC, mode));
}

long Openat2(int root_fd, const char* path, int flags, mode_t mode) {
  open_how how{};
  how.flags = static_cast<uint64_t>(flags) | O_CLOEXEC;
  how.mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? mode : 0;
  // Magic links (/proc/self/fd/N and the like) would jump out of any root.
  how.resolve = RESOLVE_IN_ROOT | RESOLVE_NO_MAGICLINKS;
  return syscall(SYS_openat2, root_fd, path, &how, sizeof(how));
}

// Asked once: a filter that does not know the call answers ENOSYS or EPERM even for ".".
bool KernelResolves(int root_fd) {
  static std::atomic<int> known{-1};
  int k = known.load(std::memory_order_relaxed);
  if (k < 0) {
    long fd = Openat2(root_fd, ".", O_PATH, 0);
    k = fd >= 0 || (errno != ENOSYS && errno != EPERM) ? 1 : 0;
    if (fd >= 0) close(static_cast<int>(fd));
    known.store(k, std::memory_order_relaxed);
  }
  return k == 1;
}

}  // namespace

unique_fd OpenBeneath(int root_fd, std::string_view path, int flags, mode_t mode,
                      Resolver resolver) {
  if (path.find('\0') != std::string_view::npos || path.size() >= PATH_MAX) {
    errno = path.size() >= PATH_MAX ? ENAMETOOLONG : EINVAL;
    return unique_fd();
  }
  flags &= kOpenFlags;
  if (resolver == Resolver::kBest && KernelResolves(root_fd)) {
    std::string p(path.empty() ? "." : path);
    // The kernel asks to retry when a concurrent rename could have let ".." escape.
    for (int attempt = 0; attempt < 8; ++attempt) {
      long fd = Openat2(root_fd, p.c_str(), flags, mode);
      if (fd >= 0) return unique_fd(static_cast<int>(fd));
      if (errno != EAGAIN) break;
    }
    return unique_fd();
  }
  return WalkBeneath(root_fd, path, flags, mode);
}

unique_fd OpenDeviceRoot() {
  const char* root = orba_device_root();
  if (root[0] == '\0') {
    errno = ENOENT;
    return unique_fd();
  }
  // host path: the device root, never a link in its own name (init makes it a directory)
  unique_fd fd(open(root, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (fd.get() < 0) return fd;
  std::string why;
  if (!RootStillOwned(fd.get(), root, &why)) {
    // Once per root: every path of every call would otherwise say it again.
    static std::atomic<uint32_t> told{0};
    const uint32_t generation = orba_device_root_generation();
    if (told.exchange(generation) != generation) {
      __android_log_print(ANDROID_LOG_ERROR, "_O_EM_LOG", "%d:%s(): %s\n", __LINE__, __func__,
                          why.c_str());
    }
    errno = EACCES;
    return unique_fd();
  }
  return fd;
}

bool OpenParentBeneath(int root_fd, std::string_view path, unique_fd* dir, std::string* leaf) {
  while (path.size() > 1 && path.back() == '/') path.remove_suffix(1);
  size_t slash = path.rfind('/');
  std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
  if (name.empty() || name == "." || name == "..") {
    errno = EINVAL;
    return false;
  }
  std::string_view parent = slash == std::string_view::npos ? "" : path.substr(0, slash + 1);
  unique_fd fd = OpenBeneath(root_fd, parent, O_PATH | O_DIRECTORY);
  if (fd.get() < 0) return false;
  *dir = std::move(fd);
  leaf->assign(name);
  return true;
}

}  // namespace orba::platform
