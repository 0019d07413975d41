#include "process_table.h"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "device_process.h"

namespace orba::sim {
namespace {

std::string UserName(uid_t uid) {
  passwd* pw = getpwuid(uid);
  return pw != nullptr ? pw->pw_name : std::to_string(uid);
}

// A name as one field of one line, whatever bytes its argv holds: control characters and the
// backslash are written as escapes, so a process cannot print a line of its own into the table.
std::string Printable(const std::string& name) {
  std::string out;
  for (unsigned char c : name) {
    if (c == '\\') {
      out += "\\\\";
    } else if (c == '\n') {
      out += "\\n";
    } else if (c == '\t') {
      out += "\\t";
    } else if (c < 0x20 || c == 0x7f) {
      char esc[8];
      snprintf(esc, sizeof(esc), "\\%03o", c);
      out += esc;
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

}  // namespace

std::string ProcessTable(const std::string& root) {
  std::string out;
  char line[512];
  snprintf(line, sizeof(line), "%-10s %5s %5s %8s %6s %-16s %8s %s %s\n", "USER", "PID", "PPID",
           "VSZ", "RSS", "WCHAN", "ADDR", "S", "NAME");
  out += line;
  DIR* proc = opendir("/proc");  // host path: real /proc
  if (proc == nullptr) return out;
  long page_kb = sysconf(_SC_PAGESIZE) / 1024;
  while (dirent* e = readdir(proc)) {
    int pid = atoi(e->d_name);
    if (pid <= 0 || !RunsOnDevice(pid, root)) continue;
    std::string stat = ReadProc(pid, "stat");
    size_t close_paren = stat.rfind(')');
    if (close_paren == std::string::npos) continue;
    char state = '?';
    int ppid = 0;
    unsigned long vsize = 0;
    long rss = 0;
    // Fields after the name: state ppid pgrp session tty tpgid flags minflt cminflt majflt
    // cmajflt utime stime cutime cstime priority nice threads itrealvalue starttime vsize rss
    if (sscanf(stat.c_str() + close_paren + 2,
               "%c %d %*d %*d %*d %*d %*u %*u %*u %*u %*u %*u %*u %*d %*d %*d %*d %*d %*d %*u "
               "%lu %ld",
               &state, &ppid, &vsize, &rss) != 4) {
      continue;
    }
    std::string uid_line = ReadProc(pid, "status");
    size_t uid_pos = uid_line.find("\nUid:");
    uid_t uid = uid_pos == std::string::npos ? 0 : static_cast<uid_t>(atoi(uid_line.c_str() + uid_pos + 5));
    std::string wchan = ReadProc(pid, "wchan");
    if (wchan.empty() || wchan == "0") wchan = "0";
    std::string cmdline = ReadProc(pid, "cmdline");
    std::string name = cmdline.empty() ? "[" + stat.substr(stat.find('(') + 1, close_paren - stat.find('(') - 1) + "]"
                                       : std::string(cmdline.c_str());
    snprintf(line, sizeof(line), "%-10s %5d %5d %8lu %6ld %-16.16s %8d %c ",
             UserName(uid).c_str(), pid, ppid, vsize / 1024, rss * page_kb, wchan.c_str(), 0,
             state);
    out += line + Printable(name) + "\n";
  }
  closedir(proc);
  return out;
}

}  // namespace orba::sim
