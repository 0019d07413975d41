#include "atcmd_methods.h"

#include <cutils/properties.h>
#include <cutils/sockets.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <openssl/evp.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

#include <android/log.h>
#include <platform/devpath.h>
#include <platform/host/hal_server.h>

#include "atcmd_service.h"
#include "child_process.h"
#include "device_fs.h"
#include "zip_extract.h"

// Every path a client sends is a device path, and this process is root on a workstation: each
// one is opened through device_fs.h, so it resolves inside the device root with its links, and
// the descriptor that was checked is the one that is used.

namespace orba::sim {
namespace {

constexpr const char kTag[] = "orbaatcmd-hal";

#define SVC_LOG(prio, ...) __android_log_print(prio, kTag, __VA_ARGS__)

// fopen modes a client may use: r, w or a, then any of "+", "b", "e", "x"; as open(2) flags.
bool FopenFlags(std::string_view mode, int* flags) {
  if (mode.empty() || mode.find_first_not_of("+bex", 1) != std::string_view::npos) return false;
  const bool plus = mode.find('+', 1) != std::string_view::npos;
  switch (mode[0]) {
    case 'r':
      *flags = plus ? O_RDWR : O_RDONLY;
      break;
    case 'w':
      *flags = (plus ? O_RDWR : O_WRONLY) | O_CREAT | O_TRUNC;
      break;
    case 'a':
      *flags = (plus ? O_RDWR : O_WRONLY) | O_CREAT | O_APPEND;
      break;
    default:
      return false;
  }
  if (mode.find('x', 1) != std::string_view::npos) *flags |= O_EXCL;
  return true;
}

int32_t FwriteBytes(std::string_view path, std::string_view mode, std::string_view bytes) {
  int flags = 0;
  if (!FopenFlags(mode, &flags)) return -1;
  // fopen's creation mode.
  unique_fd fd = OpenInDevice(path, flags, 0666);
  if (fd.get() < 0 || !WriteAll(fd.get(), bytes.data(), bytes.size())) return -1;
  return 0;
}

std::string ReadDevice(std::string_view path, size_t limit) {
  unique_fd fd = OpenInDevice(path, O_RDONLY);
  std::string content;
  if (fd.get() < 0 || !ReadAll(fd.get(), &content, limit)) {
    SVC_LOG(ANDROID_LOG_ERROR, "read %.*s: %s", static_cast<int>(path.size()), path.data(),
            strerror(errno));
    return "";
  }
  return content;
}

}  // namespace

std::string GetSystemProperty(const std::string& key, const std::string& default_value) {
  char value[PROPERTY_VALUE_MAX] = {};
  property_get(key.c_str(), value, default_value.c_str());
  return value;
}

void SetSystemProperty(const std::string& key, const std::string& value) {
  if (property_set(key.c_str(), value.c_str()) != 0) {
    SVC_LOG(ANDROID_LOG_ERROR, "setSystemProperty %s=%s refused", key.c_str(), value.c_str());
  }
}

std::string ExecSystemCmd(const std::string& command) {
  std::string output;
  int status = RunInDevice({"/bin/sh", "-c", command}, &output, kMaxFileText,
                           hal::HalServer::CurrentConnection(), kCommandTimeLimitMs);
  SVC_LOG(ANDROID_LOG_DEBUG, "execSystemCmd '%s' exit %d, %zu bytes", command.c_str(), status,
          output.size());
  return output;
}

std::string ReadSystemFile(std::string_view path) { return ReadDevice(path, kMaxFileText); }

namespace {

// A write that replaces a regular file's content (O_TRUNC, or a new file) goes to a fresh file
// beside it, renamed over it once whole: a full disk or a dying service leaves the old file,
// never a truncated one with part of the new. -errno, 0 when done, or 1 when the target is not
// a plain file of that directory (a link, a node) and is written in place instead.
int32_t ReplaceWhole(std::string_view path, int32_t open_flags, std::string_view data) {
  unique_fd dir;
  std::string leaf;
  if (!OpenParentInDevice(path, &dir, &leaf)) return -errno;
  struct stat old;
  const bool exists = fstatat(dir.get(), leaf.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0;
  if (!exists && errno != ENOENT) return -errno;
  if (exists && (open_flags & O_CREAT) != 0 && (open_flags & O_EXCL) != 0) return -EEXIST;
  if (!exists && (open_flags & O_CREAT) == 0) return -ENOENT;
  // A file this service could not give back to its owner is written in place.
  if (exists && (!S_ISREG(old.st_mode) || (geteuid() != 0 && old.st_uid != geteuid()))) return 1;
  const mode_t mode = exists ? (old.st_mode & 07777) : 0660;
  std::string tmp;
  unique_fd out = CreateTempFile(dir.get(), leaf, mode, &tmp);
  if (out.get() < 0) return -errno;
  bool ok = WriteAll(out.get(), data.data(), data.size()) &&
            (!exists || geteuid() != 0 || fchown(out.get(), old.st_uid, old.st_gid) == 0) &&
            (!exists || fchmod(out.get(), mode) == 0) &&
            fdatasync(out.get()) == 0;
  int err = errno;
  out.reset();
  if (!ok || renameat(dir.get(), tmp.c_str(), dir.get(), leaf.c_str()) != 0) {
    if (ok) err = errno;
    unlinkat(dir.get(), tmp.c_str(), 0);
    return -err;
  }
  return 0;
}

}  // namespace

int32_t WriteSystemFile(std::string_view path, int32_t open_flags, std::string_view data) {
  // The client's flags decide how the file is opened, never how its path is resolved.
  open_flags &= ~(O_PATH | O_TMPFILE | O_DIRECTORY);
  if ((open_flags & O_ACCMODE) != O_RDONLY && (open_flags & O_APPEND) == 0 &&
      ((open_flags & O_TRUNC) != 0 || (open_flags & O_CREAT) != 0)) {
    int32_t replaced = ReplaceWhole(path, open_flags, data);
    if (replaced <= 0) return replaced;
  }
  unique_fd fd = OpenInDevice(path, open_flags, 0660);
  if (fd.get() < 0) return -errno;
  // An append cut short by a full disk is taken back: the old file, or the whole new part.
  struct stat before;
  const bool regular = fstat(fd.get(), &before) == 0 && S_ISREG(before.st_mode);
  if (!WriteAll(fd.get(), data.data(), data.size())) {
    const int err = errno;
    if (regular && (open_flags & O_APPEND) != 0) {
      while (ftruncate(fd.get(), before.st_size) != 0 && errno == EINTR) {
      }
    }
    return -err;
  }
  fdatasync(fd.get());
  return 0;
}

int32_t CopyFile(std::string_view src, std::string_view dst) {
  unique_fd in = OpenInDevice(src, O_RDONLY);
  struct stat st;
  if (in.get() < 0 || fstat(in.get(), &st) != 0 || !S_ISREG(st.st_mode)) return -1;
  unique_fd dir;
  std::string leaf;
  if (!OpenParentInDevice(dst, &dir, &leaf)) return -1;
  // Copied beside the target under a fresh, unguessable name and renamed over it: a failed copy
  // leaves the old file intact, and nothing planted beside the target is written through.
  std::string tmp;
  unique_fd out = CreateTempFile(dir.get(), leaf, st.st_mode & 0777, &tmp);
  if (out.get() < 0) return -1;
  char buf[65536];
  bool ok = true;
  for (;;) {
    ssize_t n = read(in.get(), buf, sizeof(buf));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) ok = false;
    if (n <= 0) break;
    if (!WriteAll(out.get(), buf, static_cast<size_t>(n))) {
      ok = false;
      break;
    }
  }
  ok = ok && fchmod(out.get(), st.st_mode & 0777) == 0 && fsync(out.get()) == 0;
  out.reset();
  if (!ok || renameat(dir.get(), tmp.c_str(), dir.get(), leaf.c_str()) != 0) {
    unlinkat(dir.get(), tmp.c_str(), 0);
    return -1;
  }
  return 0;
}

int32_t UzipFile(std::string_view zip, std::string_view dest_dir, std::string_view member) {
  return ExtractZipInDevice(zip, dest_dir, member);
}

int32_t SelinuxRestorecon(std::string_view path, uint32_t /*flags*/) {
  // A simulated device has no policy to restore labels from: a path that exists already has
  // the only label it can have.
  return OpenInDevice(path, O_PATH | O_NOFOLLOW).get() >= 0 ? 0 : -1;
}

int32_t ChmodSystemFile(std::string_view path, uint32_t mode) {
  unique_fd fd = OpenInDevice(path, O_PATH);
  if (fd.get() < 0) return -1;
  // An O_PATH descriptor cannot be fchmod()ed; its /proc entry names exactly the file that was
  // resolved, whatever happens to the path meanwhile.
  std::string self = "/proc/self/fd/" + std::to_string(fd.get());
  return chmod(self.c_str(), static_cast<mode_t>(mode & 07777)) == 0 ? 0 : -1;  // host path
}

int32_t RemoveSystemFile(std::string_view path) {
  unique_fd dir;
  std::string leaf;
  // The device's own root has no last component, so it is never removed.
  if (!OpenParentInDevice(path, &dir, &leaf)) return -1;
  // As remove(3), and a link is removed itself, never what it points at.
  if (unlinkat(dir.get(), leaf.c_str(), 0) == 0) return 0;
  if (errno != EISDIR) return -1;
  return unlinkat(dir.get(), leaf.c_str(), AT_REMOVEDIR) == 0 ? 0 : -1;
}

int32_t SizeofSystemFile(std::string_view path) {
  unique_fd fd = OpenInDevice(path, O_PATH);
  struct stat st;
  if (fd.get() < 0 || fstat(fd.get(), &st) != 0) return -1;
  return st.st_size > INT32_MAX ? INT32_MAX : static_cast<int32_t>(st.st_size);
}

int32_t FwriteSystemFile(std::string_view path, std::string_view mode, std::string_view data) {
  return FwriteBytes(path, mode, data);
}

int32_t FwriteDataFile(std::string_view path, std::string_view mode, std::string_view bytes,
                       int32_t size) {
  if (size < 0 || static_cast<size_t>(size) > bytes.size()) return -1;
  return FwriteBytes(path, mode, bytes.substr(0, static_cast<size_t>(size)));
}

int32_t KpWriteFile(std::string_view bytes, int32_t size) {
  if (size < 0 || static_cast<size_t>(size) > bytes.size()) return -1;
  std::string_view target(kKpDataPath);
  if (!MakeDirsInDevice(target.substr(0, target.rfind('/')), 0770)) return -1;
  unique_fd fd = OpenInDevice(target, O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (fd.get() < 0 || !WriteAll(fd.get(), bytes.data(), static_cast<size_t>(size))) return -1;
  return fdatasync(fd.get()) == 0 ? 0 : -1;
}

std::string Md5SystemFile(std::string_view path) {
  unique_fd fd = OpenInDevice(path, O_RDONLY);
  if (fd.get() < 0) return "";
  // Streamed through a fixed buffer: the file may be larger than the service's memory.
  std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> ctx(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  if (ctx == nullptr || EVP_DigestInit_ex(ctx.get(), EVP_md5(), nullptr) != 1) return "";
  unsigned char buf[65536];
  for (;;) {
    ssize_t n = read(fd.get(), buf, sizeof(buf));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return "";
    if (n == 0) break;
    if (EVP_DigestUpdate(ctx.get(), buf, static_cast<size_t>(n)) != 1) return "";
  }
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int len = 0;
  if (EVP_DigestFinal_ex(ctx.get(), digest, &len) != 1) return "";
  return std::string(reinterpret_cast<const char*>(digest), len);
}

std::string SendFingerprintMessage(const std::string& message) {
  unique_fd fd(socket_local_client(DevSocketName(kFingerprintSocket),
                                   ANDROID_SOCKET_NAMESPACE_ABSTRACT, SOCK_STREAM));
  if (fd.get() < 0) return "refused error";
  if (!DevSocketPeerTrusted(fd.get(), kFingerprintSocket)) return "refused error";
  timeval tv{3, 0};
  setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof(tv));
  setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof(tv));
  if (!WriteAll(fd.get(), message.data(), message.size())) return "error";
  shutdown(fd.get(), SHUT_WR);
  std::string reply;
  char buf[1024];
  for (;;) {
    ssize_t n = read(fd.get(), buf, sizeof(buf));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return "error";
    if (n == 0) break;
    if (reply.size() + static_cast<size_t>(n) > 65536) break;
    reply.append(buf, static_cast<size_t>(n));
  }
  return reply;
}

}  // namespace orba::sim
