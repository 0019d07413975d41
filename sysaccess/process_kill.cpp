// Stopping processes: by name through ps, and by what they hold under a path through /proc.
// The /proc scans log through libbase's stream logger, as the platform's own tools do.

#include <ctype.h>
#include <dirent.h>
#include <errno.h>
#include <limits.h>
#include <mntent.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <set>
#include <string>

#include <android-base/file.h>
#include <android-base/logging.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "shell_metachars.h"

namespace {

// Only a real process id: never 0 (our group), never -1 (everything), never init.
bool ParsePid(const char* text, pid_t* pid) {
  if (text == nullptr || !isdigit(static_cast<unsigned char>(text[0]))) return false;
  char* end = nullptr;
  errno = 0;
  long v = strtol(text, &end, 10);
  if (errno != 0 || *end != '\0' || v <= 1 || v > INT_MAX) return false;
  *pid = static_cast<pid_t>(v);
  return true;
}

// The name is pasted into "ps | grep  NAME ": besides the shell's own metacharacters, blanks,
// quotes, backslashes and glob characters would give grep other arguments or files to read, and
// a leading '-' would make the name an option. Process names never need any of them.
bool SafeProcessName(const char* name) {
  if (name[0] == '\0' || name[0] == '-') return false;
  if (name[strcspn(name, orba::sysaccess::kShellMetacharacters)] != '\0') return false;
  return name[strcspn(name, " \t\r'\"\\*?[]{}~!#")] == '\0';
}

bool StartsWith(const std::string& s, const std::string& prefix) {
  return s.compare(0, prefix.size(), prefix) == 0;
}

// The processes are the host's own even in a simulated device: /proc is never redirected, only
// the prefix is placed under the device root.
std::string ProcPath(pid_t pid, const char* leaf) {
  char path[64];
  snprintf(path, sizeof(path), "/proc/%d%s", static_cast<int>(pid), leaf);
  return path;
}

// A local type keeps the set's code out of the library's exported symbols (instantiations over
// a plain int would be shared, weak and visible).
struct Pid {
  pid_t value;
  bool operator<(const Pid& other) const { return value < other.value; }
};

bool SymlinkUnder(pid_t pid, const char* leaf, const std::string& prefix) {
  std::string target;
  if (!android::base::Readlink(ProcPath(pid, leaf), &target)) return false;  // host path
  if (!StartsWith(target, prefix)) return false;
  LOG(WARNING) << "Found symlink " << target << " referencing " << pid;
  return true;
}

bool MapUnder(pid_t pid, const std::string& prefix) {
  FILE* maps = fopen(ProcPath(pid, "/maps").c_str(), "re");  // host path
  if (maps == nullptr) return false;
  bool found = false;
  char line[PATH_MAX + 256];
  while (!found && fgets(line, sizeof(line), maps) != nullptr) {
    const char* path = strchr(line, '/');
    if (path == nullptr) continue;
    std::string file(path);
    if (!file.empty() && file.back() == '\n') file.pop_back();
    if (StartsWith(file, prefix)) {
      LOG(WARNING) << "Found map " << file << " referencing " << pid;
      found = true;
    }
  }
  fclose(maps);
  return found;
}

bool MountUnder(pid_t pid, const std::string& prefix) {
  FILE* mounts = setmntent(ProcPath(pid, "/mounts").c_str(), "re");  // host path
  if (mounts == nullptr) return false;
  bool found = false;
  mntent entry;
  char buf[PATH_MAX * 2 + 256];
  while (!found && getmntent_r(mounts, &entry, buf, sizeof(buf)) != nullptr) {
    if (StartsWith(entry.mnt_dir, prefix)) {
      LOG(WARNING) << "Killing pid " << pid << " because it has a mount with prefix " << prefix
                   << " (" << entry.mnt_dir << ")";
      found = true;
    }
  }
  endmntent(mounts);
  return found;
}

// The factory daemon and the engineer-mode service run this library's callers: killing them
// from here would cut the station off.
bool IsSpared(const std::string& command) {
  return command == "/vendor/bin/atcid_user" || command == "/vendor/bin/orba_em_svr";
}

std::string FirstArgument(pid_t pid) {
  std::string cmdline;
  if (!android::base::ReadFileToString(ProcPath(pid, "/cmdline"), &cmdline) ||  // host path
      cmdline.empty()) {
    return "???";
  }
  return std::string(cmdline.c_str());
}

template <typename Matches>
int KillMatching(const std::string& device_prefix, int signal, Matches matches) {
  // An empty prefix would match every process on the system.
  if (device_prefix.empty()) {
    LOG(ERROR) << "Refusing an empty path prefix";
    return -1;
  }
  DevPathText resolved(device_prefix.c_str());
  if (!resolved.ok()) {
    LOG(ERROR) << "Cannot resolve prefix " << device_prefix;
    return -1;
  }
  const std::string prefix(resolved.c_str());
  DIR* proc = opendir("/proc");  // host path
  if (proc == nullptr) {
    LOG(ERROR) << "Failed to open proc";
    return -1;
  }
  std::set<Pid> pids;
  while (dirent* de = readdir(proc)) {
    pid_t pid;
    if (de->d_type != DT_DIR || !ParsePid(de->d_name, &pid)) continue;
    if (matches(pid, prefix)) pids.insert(Pid{pid});
  }
  closedir(proc);

  if (signal != 0) {
    for (const Pid& p : pids) {
      const pid_t pid = p.value;
      std::string command = FirstArgument(pid);
      if (IsSpared(command)) {
        LOG(WARNING) << "Skip kill " << command << " (" << pid << ")";
        continue;
      }
      LOG(WARNING) << "Sending " << strsignal(signal) << " to " << pid << " (" << command << ")";
      kill(pid, signal);
    }
  }
  LOG(WARNING) << "end, size: " << pids.size();
  return static_cast<int>(pids.size());
}

}  // namespace

extern "C" ORBA_EXPORT int KillProcessesWithOpenFiles(std::string prefix, int signal) {
  return KillMatching(prefix, signal, [](pid_t pid, const std::string& p) {
    return SymlinkUnder(pid, "/cwd", p) || SymlinkUnder(pid, "/root", p) ||
           SymlinkUnder(pid, "/exe", p) || MapUnder(pid, p);
  });
}

extern "C" ORBA_EXPORT int KillProcessesWithMounts(std::string prefix, int signal) {
  return KillMatching(prefix, signal, MountUnder);
}

extern "C" ORBA_EXPORT int killProcessofMounts(const char* prefix, int signal) {
  // Despite the name, the open-files scan: what holds the mount busy is open files.
  return KillProcessesWithOpenFiles(prefix != nullptr ? prefix : "", signal);
}

extern "C" ORBA_EXPORT int killprocess(const char* name) {
  ORBA_LOGE("killprocess start");
  if (name == nullptr) {
    ORBA_LOGE("name is null");
    return 0;
  }
  if (!SafeProcessName(name)) {
    ORBA_LOGE("refused process name: %s", name);
    return 0;
  }
  char cmd[100];
  int n = snprintf(cmd, sizeof(cmd), "ps | grep  %s ", name);
  if (n < 0 || static_cast<size_t>(n) >= sizeof(cmd)) {
    ORBA_LOGE("process name too long: %s", name);
    return 0;
  }
  FILE* stream = popen(cmd, "r");
  if (stream == nullptr) {
    ORBA_LOGE("popen error!");
    return 0;
  }
  char line[512];
  while (fgets(line, sizeof(line), stream) != nullptr) {
    if (strstr(line, name) == nullptr) continue;
    char* save = nullptr;
    char* field = strtok_r(line, " \t\n", &save);
    field = field != nullptr ? strtok_r(nullptr, " \t\n", &save) : nullptr;
    pid_t pid;
    // Never the caller itself: its own command line may well contain the name it looks for.
    if (!ParsePid(field, &pid) || pid == getpid()) continue;
    if (!DevOwnsProcess(pid)) {
      ORBA_LOGE("pid %s is not a process of this device, left alone", field);
      continue;
    }
    int ret = kill(pid, SIGTERM);
    ORBA_LOGE("kill:%s, ret:%d\n", field, ret);
  }
  pclose(stream);
  return 1;
}
