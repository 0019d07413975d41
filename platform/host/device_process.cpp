#include <platform/host/device_process.h>

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include <android-base/unique_fd.h>
#include <platform/host/device_root.h>

namespace orba::platform {
namespace {

std::string ReadProc(pid_t pid, const char* what) {
  char path[64];
  snprintf(path, sizeof(path), "/proc/%d/%s", static_cast<int>(pid), what);
  android::base::unique_fd fd(open(path, O_RDONLY | O_CLOEXEC));  // host path: real /proc
  std::string out;
  if (fd.get() < 0) return out;
  char buf[4096];
  for (ssize_t n; (n = read(fd.get(), buf, sizeof(buf))) > 0;) {
    out.append(buf, static_cast<size_t>(n));
  }
  return out;
}

bool HasVariable(const std::string& environ, const std::string& entry) {
  for (size_t pos = 0; pos < environ.size();) {
    size_t end = environ.find('\0', pos);
    if (end == std::string::npos) end = environ.size();
    if (environ.compare(pos, end - pos, entry) == 0) return true;
    pos = end + 1;
  }
  return false;
}

// The real and effective user of a process, from its status ("Uid: real effective ...").
bool Users(pid_t pid, uid_t* real, uid_t* effective) {
  std::string status = ReadProc(pid, "status");
  size_t at = status.find("\nUid:");
  if (at == std::string::npos) return false;
  unsigned long r = 0, e = 0;
  if (sscanf(status.c_str() + at + 5, "%lu %lu", &r, &e) != 2) return false;
  *real = static_cast<uid_t>(r);
  *effective = static_cast<uid_t>(e);
  return true;
}

}  // namespace

bool ProcessOfDevice(pid_t pid, const char* root) {
  if (root == nullptr || root[0] == '\0') return false;
  struct stat st;
  if (stat(root, &st) != 0) return false;  // host path: the device root
  return ProcessOfDevice(pid, root, st.st_uid);
}

bool ProcessOfDevice(pid_t pid, const char* root, uid_t owner) {
  if (pid <= 1 || root == nullptr || root[0] == '\0') return false;
  uid_t real = 0, effective = 0;
  if (!Users(pid, &real, &effective)) return false;
  auto of_device = [&](uid_t uid) { return uid == 0 || uid == owner; };
  if (!of_device(real) || !of_device(effective)) return false;
  return HasVariable(ReadProc(pid, "environ"), std::string(ORBA_DEVICE_ROOT_ENV "=") + root);
}

}  // namespace orba::platform

extern "C" int orba_process_of_device(pid_t pid) {
  return orba::platform::ProcessOfDevice(pid, orba_device_root()) ? 1 : 0;
}
