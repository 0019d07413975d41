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

#include <android-base/file.h>
#include <android-base/unique_fd.h>
#include <android/log.h>
#include <platform/devpath.h>

#include "atcmd_service.h"
#include "child_process.h"
#include "confined_path.h"

namespace orba::sim {
namespace {

using android::base::unique_fd;

constexpr const char kTag[] = "orbaatcmd-hal";

#define SVC_LOG(prio, ...) __android_log_print(prio, kTag, __VA_ARGS__)


bool ReadWhole(const std::string& host_path, std::string* out, size_t limit) {
  unique_fd fd(open(host_path.c_str(), O_RDONLY | O_CLOEXEC));  // host path: confined
  if (fd.get() < 0) return false;
  out->clear();
  char buf[8192];
  for (;;) {
    ssize_t n = read(fd.get(), buf, sizeof(buf));
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

// fopen modes a client may use: r, w or a, then any of "+", "b", "e", "x".
bool ValidFopenMode(std::string_view mode) {
  if (mode.empty() || (mode[0] != 'r' && mode[0] != 'w' && mode[0] != 'a')) return false;
  return mode.find_first_not_of("+bex", 1) == std::string_view::npos;
}

int32_t FwriteBytes(std::string_view path, std::string_view mode, std::string_view bytes) {
  std::string host;
  if (!ValidFopenMode(mode) || !ResolveConfined(path, &host)) return -1;
  std::string m(mode);
  FILE* f = fopen(host.c_str(), m.c_str());  // host path: confined
  if (f == nullptr) return -1;
  bool ok = bytes.empty() || fwrite(bytes.data(), 1, bytes.size(), f) == bytes.size();
  ok = (fclose(f) == 0) && ok;
  return ok ? 0 : -1;
}

bool MakeParents(const std::string& host_path) {
  for (size_t pos = host_path.find('/', 1); pos != std::string::npos;
       pos = host_path.find('/', pos + 1)) {
    std::string dir = host_path.substr(0, pos);
    if (mkdir(dir.c_str(), 0770) != 0 && errno != EEXIST) return false;  // host path: confined
  }
  return true;
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
  int status = RunInDevice({"/bin/sh", "-c", command}, &output, kMaxFileText);
  SVC_LOG(ANDROID_LOG_DEBUG, "execSystemCmd '%s' exit %d, %zu bytes", command.c_str(), status,
          output.size());
  return output;
}

std::string ReadSystemFile(std::string_view path) {
  std::string host;
  std::string content;
  if (!ResolveConfined(path, &host) || !ReadWhole(host, &content, kMaxFileText)) {
    SVC_LOG(ANDROID_LOG_ERROR, "read %.*s: %s", static_cast<int>(path.size()), path.data(),
            strerror(errno));
    return "";
  }
  return content;
}

int32_t WriteSystemFile(std::string_view path, int32_t open_flags, std::string_view data) {
  std::string host;
  if (!ResolveConfined(path, &host)) return -errno;
  unique_fd fd(open(host.c_str(), open_flags | O_CLOEXEC, 0660));  // host path: confined
  if (fd.get() < 0) return -errno;
  if (!android::base::WriteFully(fd.get(), data.data(), data.size())) return -errno;
  fdatasync(fd.get());
  return 0;
}

int32_t CopyFile(std::string_view src, std::string_view dst) {
  std::string src_host;
  std::string dst_host;
  if (!ResolveConfined(src, &src_host) || !ResolveConfined(dst, &dst_host)) return -1;
  unique_fd in(open(src_host.c_str(), O_RDONLY | O_CLOEXEC));  // host path: confined
  struct stat st;
  if (in.get() < 0 || fstat(in.get(), &st) != 0 || !S_ISREG(st.st_mode)) return -1;
  // Copied beside the target and renamed over it: a failed copy leaves the old file intact.
  std::string tmp = dst_host + ".orbacopy";
  unique_fd out(open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC,  // host path
                     st.st_mode & 0777));
  if (out.get() < 0) return -1;
  char buf[65536];
  bool ok = true;
  for (;;) {
    ssize_t n = read(in.get(), buf, sizeof(buf));
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) ok = false;
    if (n <= 0) break;
    if (!android::base::WriteFully(out.get(), buf, static_cast<size_t>(n))) {
      ok = false;
      break;
    }
  }
  ok = ok && fsync(out.get()) == 0;
  out.reset();
  if (!ok || rename(tmp.c_str(), dst_host.c_str()) != 0) {  // host path: confined
    unlink(tmp.c_str());                                      // host path: confined
    return -1;
  }
  return 0;
}

int32_t UzipFile(std::string_view zip, std::string_view dest_dir, std::string_view member) {
  std::string zip_host;
  std::string dest_host;
  if (!ResolveConfined(zip, &zip_host) || !ResolveConfined(dest_dir, &dest_host)) return -1;
  // unzip refuses member names that climb out of the target directory (it strips "../").
  std::vector<std::string> argv = {"unzip", "-o", "-qq", zip_host};
  // The third argument, when given, names the member to extract; empty means all of them.
  if (!member.empty()) argv.emplace_back(member);
  argv.emplace_back("-d");
  argv.emplace_back(dest_host);
  std::string ignored;
  int status = RunInDevice(argv, &ignored, 0);
  SVC_LOG(ANDROID_LOG_DEBUG, "unzip %s -> %s: %d", zip_host.c_str(), dest_host.c_str(), status);
  return status == 0 ? 0 : -1;
}

int32_t SelinuxRestorecon(std::string_view path, uint32_t /*flags*/) {
  // A simulated device has no policy to restore labels from: a path that exists already has
  // the only label it can have.
  std::string host;
  struct stat st;
  if (!ResolveConfined(path, &host) || lstat(host.c_str(), &st) != 0) return -1;  // host path
  return 0;
}

int32_t ChmodSystemFile(std::string_view path, uint32_t mode) {
  std::string host;
  if (!ResolveConfined(path, &host)) return -1;
  return chmod(host.c_str(), static_cast<mode_t>(mode & 07777)) == 0 ? 0 : -1;  // host path
}

int32_t RemoveSystemFile(std::string_view path) {
  std::string host;
  if (!ResolveConfined(path, &host)) return -1;
  if (host == DevPath("/").c_str()) return -1;  // never the device's own root
  return remove(host.c_str()) == 0 ? 0 : -1;    // host path: confined
}

int32_t SizeofSystemFile(std::string_view path) {
  std::string host;
  struct stat st;
  if (!ResolveConfined(path, &host) || stat(host.c_str(), &st) != 0) return -1;  // host path
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
  DevPath target(kKpDataPath);
  std::string host(target.c_str());
  if (!target.ok() || !MakeParents(host)) return -1;
  unique_fd fd(open(target, O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
  if (fd.get() < 0 || !android::base::WriteFully(fd.get(), bytes.data(), static_cast<size_t>(size))) {
    return -1;
  }
  return fdatasync(fd.get()) == 0 ? 0 : -1;
}

std::string Md5SystemFile(std::string_view path) {
  std::string host;
  std::string content;
  if (!ResolveConfined(path, &host) || !ReadWhole(host, &content, SIZE_MAX)) return "";
  unsigned char digest[EVP_MAX_MD_SIZE];
  unsigned int len = 0;
  if (EVP_Digest(content.data(), content.size(), digest, &len, EVP_md5(), nullptr) != 1) {
    return "";
  }
  return std::string(reinterpret_cast<const char*>(digest), len);
}

std::string SendFingerprintMessage(const std::string& message) {
  unique_fd fd(socket_local_client(DevSocketName(kFingerprintSocket),
                                   ANDROID_SOCKET_NAMESPACE_ABSTRACT, SOCK_STREAM));
  if (fd.get() < 0) return "refused error";
  timeval tv{3, 0};
  setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof(tv));
  setsockopt(fd.get(), SOL_SOCKET, SO_SNDTIMEO, &tv, sizeof(tv));
  if (!android::base::WriteFully(fd.get(), message.data(), message.size())) return "error";
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
