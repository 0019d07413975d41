#include "device_process.h"

#include <fcntl.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <platform/host/device_process.h>

namespace orba::sim {

std::string ReadProc(pid_t pid, const char* what) {
  std::string path = "/proc/" + std::to_string(pid) + "/" + what;
  android::base::unique_fd fd(open(path.c_str(), O_RDONLY | O_CLOEXEC));  // host path: real /proc
  std::string out;
  if (fd < 0) return out;
  char buf[4096];
  for (ssize_t n; (n = read(fd, buf, sizeof(buf))) > 0;) out.append(buf, static_cast<size_t>(n));
  return out;
}

bool RunsOnDevice(pid_t pid, const std::string& root) {
  struct stat st;
  // A root removed under a running device no longer names its owner; whoever asks can only
  // have started it as themselves (or been root).
  const uid_t owner = stat(root.c_str(), &st) == 0 ? st.st_uid : geteuid();  // host path: root
  return orba::platform::ProcessOfDevice(pid, root.c_str(), owner);
}

bool RunsProgram(pid_t pid, const std::string& program) {
  std::string exe_link = "/proc/" + std::to_string(pid) + "/exe";
  char real_program[PATH_MAX];
  if (realpath(program.c_str(), real_program) == nullptr) return false;  // host path: our build
  // The same file first; then the recorded path, which is what is left once a rebuild replaced
  // the file under a running service.
  struct stat running, built;
  if (stat(exe_link.c_str(), &running) == 0 &&  // host path: real /proc
      stat(real_program, &built) == 0 &&        // host path: our build
      running.st_dev == built.st_dev && running.st_ino == built.st_ino) {
    return true;
  }
  char target[PATH_MAX];
  ssize_t n = readlink(exe_link.c_str(), target, sizeof(target) - 1);  // host path: real /proc
  if (n <= 0) return false;
  std::string recorded(target, static_cast<size_t>(n));
  const std::string deleted = " (deleted)";
  if (recorded.size() > deleted.size() &&
      recorded.compare(recorded.size() - deleted.size(), deleted.size(), deleted) == 0) {
    recorded.resize(recorded.size() - deleted.size());
  }
  return recorded == real_program;
}

}  // namespace orba::sim
