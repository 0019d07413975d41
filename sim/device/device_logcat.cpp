#include "device_logcat.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <deque>
#include <string_view>
#include <utility>

#include <platform/devpath.h>

#include "device_files.h"
#include "device_fs.h"

namespace orba::sim {
namespace {

constexpr char kLog[] = "/data/sim/logcat";
constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;
// liblog cuts a record at about 4 KiB: text that runs longer without a line break is not a
// record, and waiting for its end would hold up everything behind it.
constexpr size_t kLongestRecord = 8192;

enum class Format { kBrief, kProcess, kTag, kThread, kRaw, kTime, kThreadTime, kLong };

const std::pair<const char*, Format> kFormats[] = {
    {"brief", Format::kBrief},   {"process", Format::kProcess}, {"tag", Format::kTag},
    {"thread", Format::kThread}, {"raw", Format::kRaw},         {"time", Format::kTime},
    {"threadtime", Format::kThreadTime}, {"long", Format::kLong},
};

constexpr char kPriorities[] = "VDIWEFS";  // rising; S (silent) is above every record
constexpr int kSilent = 6;

int PriorityLevel(char p) {
  const char* at = p != '\0' ? strchr(kPriorities, p) : nullptr;
  return at != nullptr ? static_cast<int>(at - kPriorities) : -1;
}

struct Options {
  bool dump = false;
  bool clear = false;
  bool silent = false;
  Format format = Format::kThreadTime;
  long tail = 0;  // 0: the whole log
  std::string file;
  std::vector<std::pair<std::string, int>> filters;  // tag ("*": every tag) and lowest level
};

int UsageError(const std::string& problem) {
  fprintf(stderr, "logcat: %s\n%s", problem.c_str(), kLogcatUsage);
  return kExitUsage;
}

const char kHelp[] =
    "\n"
    "The device's log: what its services wrote, then what they write next.\n"
    "  -d          print the log and exit\n"
    "  -c          clear the log and exit\n"
    "  -v FORMAT   brief, process, tag, thread, raw, time, threadtime (default), long\n"
    "  -s          show only the tags the filters name (logcat -s TAG)\n"
    "  -t N        print the last N records and exit\n"
    "  -f FILE     write to FILE (a device path) instead of stdout\n"
    "  TAG[:P]     show TAG from priority P up (V D I W E F S; * is every tag)\n";

// Takes one option's value and applies it; "" when fine, else the complaint.
std::string ApplyValue(char flag, const std::string& value, Options* o) {
  if (flag == 'v') {
    for (const auto& f : kFormats) {
      if (value == f.first) {
        o->format = f.second;
        return "";
      }
    }
    return "unknown format '" + value +
           "' (brief, process, tag, thread, raw, time, threadtime, long)";
  }
  if (flag == 't') {
    char* end = nullptr;
    long n = strtol(value.c_str(), &end, 10);
    if (value.empty() || *end != '\0' || n <= 0) return "-t takes a count of records, not '" + value + "'";
    o->tail = n;
    return "";
  }
  if (value.empty()) return "-f takes a FILE";
  o->file = value;
  return "";
}

// Parses the arguments; false with *status set when logcat must not run (help or a usage error).
bool ParseArgs(const std::vector<std::string>& args, Options* o, int* status) {
  bool only_filters = false;
  for (size_t i = 0; i < args.size(); ++i) {
    const std::string& a = args[i];
    if (only_filters || a.size() < 2 || a[0] != '-') {
      size_t colon = a.find(':');
      std::string tag = a.substr(0, colon);
      int level = colon == std::string::npos ? 0
                  : a.size() == colon + 2    ? PriorityLevel(a[colon + 1])
                                             : -1;
      if (tag.empty() || level < 0) {
        *status = UsageError("bad filter '" + a + "' (TAG[:P], P one of V D I W E F S)");
        return false;
      }
      o->filters.emplace_back(tag, level);
      continue;
    }
    if (a == "-h" || a == "--help") {
      printf("%s%s", kLogcatUsage, kHelp);
      *status = kExitOk;
      return false;
    }
    if (a == "--") {
      only_filters = true;
      continue;
    }
    if (a[1] == '-') {
      *status = UsageError("unknown option " + a);
      return false;
    }
    for (size_t k = 1; k < a.size(); ++k) {
      char flag = a[k];
      if (flag == 'd' || flag == 'c' || flag == 's') {
        (flag == 'd' ? o->dump : flag == 'c' ? o->clear : o->silent) = true;
        continue;
      }
      if (flag != 'v' && flag != 't' && flag != 'f') {
        *status = UsageError(std::string("unknown option -") + flag);
        return false;
      }
      std::string value;
      if (k + 1 < a.size()) {
        value = a.substr(k + 1);  // -vtime, as getopt takes it
      } else if (i + 1 < args.size()) {
        value = args[++i];
      } else {
        *status = UsageError(std::string("-") + flag + " needs a value");
        return false;
      }
      std::string problem = ApplyValue(flag, value, o);
      if (!problem.empty()) {
        *status = UsageError(problem);
        return false;
      }
      break;
    }
  }
  return true;
}

struct Record {
  std::string tag;
  char priority = 'I';
  std::string date;
  std::string time;
  int pid = 0;
  int tid = 0;
  std::string message;
};

// "TAG P MM-DD HH:MM:SS PID TID message", as liblog writes a record to stderr.
bool ParseRecord(const std::string& line, Record* r) {
  char tag[256], priority = 0, date[16], time[32];
  int consumed = -1;
  if (sscanf(line.c_str(), "%255s %c %15s %31s %d %d %n", tag, &priority, date, time, &r->pid,
             &r->tid, &consumed) != 6 ||
      consumed < 0) {
    return false;
  }
  if (PriorityLevel(priority) < 0 || priority == 'S' || strlen(date) != 5 || date[2] != '-' ||
      strchr(time, ':') == nullptr) {
    return false;
  }
  r->tag = tag;
  r->priority = priority;
  r->date = date;
  r->time = time;
  r->message = line.substr(static_cast<size_t>(consumed));
  return true;
}

std::string Render(const Record& r, Format format) {
  char head[512];
  const char* tag = r.tag.c_str();
  switch (format) {
    case Format::kBrief:
      snprintf(head, sizeof(head), "%c/%-8s(%5d): ", r.priority, tag, r.pid);
      break;
    case Format::kProcess:
      snprintf(head, sizeof(head), "%c(%5d) ", r.priority, r.pid);
      return head + r.message + "  (" + r.tag + ")\n";
    case Format::kTag:
      snprintf(head, sizeof(head), "%c/%-8s: ", r.priority, tag);
      break;
    case Format::kThread:
      snprintf(head, sizeof(head), "%c(%5d:%5d) ", r.priority, r.pid, r.tid);
      break;
    case Format::kRaw:
      head[0] = '\0';
      break;
    case Format::kTime:
      snprintf(head, sizeof(head), "%s %s %c/%-8s(%5d): ", r.date.c_str(), r.time.c_str(),
               r.priority, tag, r.pid);
      break;
    case Format::kThreadTime:
      snprintf(head, sizeof(head), "%s %s %5d %5d %c %-8s: ", r.date.c_str(), r.time.c_str(),
               r.pid, r.tid, r.priority, tag);
      break;
    case Format::kLong:
      snprintf(head, sizeof(head), "[ %s %s %5d:%5d %c/%-8s ]\n", r.date.c_str(),
               r.time.c_str(), r.pid, r.tid, r.priority, tag);
      return head + r.message + "\n\n";
  }
  return head + r.message + "\n";
}

// Turns the log's bytes into what logcat prints: records filtered and formatted, other text as
// it is. Output goes straight out, or into the last-N window for -t.
class LogPrinter {
 public:
  LogPrinter(const Options& options, int out) : options_(options), out_(out) {}

  bool Feed(const char* data, size_t size) {
    while (size > 0) {
      const char* nl = static_cast<const char*>(memchr(data, '\n', size));
      size_t take = nl != nullptr ? static_cast<size_t>(nl - data) + 1 : size;
      if (in_long_text_) {
        if (!Emit(std::string(data, take), LevelFor(""))) return false;
        in_long_text_ = nl == nullptr;
      } else {
        partial_.append(data, take);
        if (nl != nullptr) {
          if (!Line(partial_)) return false;
          partial_.clear();
        } else if (partial_.size() > kLongestRecord) {
          in_long_text_ = true;
          if (!Emit(partial_, LevelFor(""))) return false;
          partial_.clear();
        }
      }
      data += take;
      size -= take;
    }
    return true;
  }

  // The end of the log: a last line without its line break, and the -t window.
  bool Finish() {
    if (!partial_.empty() && !Line(partial_)) return false;
    partial_.clear();
    for (const std::string& text : window_) {
      if (!WriteAll(out_, text.data(), text.size())) return false;
    }
    window_.clear();
    return true;
  }

  // The log was cleared under a follower: whatever half line was pending went with it.
  void Restart() {
    partial_.clear();
    in_long_text_ = false;
  }

 private:
  int LevelFor(const std::string& tag) const {
    int fallback = options_.silent ? kSilent : 0;
    for (const auto& f : options_.filters) {
      if (f.first == tag) return f.second;
      if (f.first == "*") fallback = f.second;
    }
    return fallback;
  }

  bool Line(const std::string& line) {
    Record r;
    std::string body = line.back() == '\n' ? line.substr(0, line.size() - 1) : line;
    if (!ParseRecord(body, &r)) return Emit(line, LevelFor("") <= PriorityLevel('I') ? 0 : kSilent);
    if (PriorityLevel(r.priority) < LevelFor(r.tag)) return true;
    return Emit(Render(r, options_.format), 0);
  }

  bool Emit(const std::string& text, int needed_level) {
    if (needed_level >= kSilent) return true;
    if (options_.tail > 0) {
      window_.push_back(text);
      if (window_.size() > static_cast<size_t>(options_.tail)) window_.pop_front();
      return true;
    }
    return WriteAll(out_, text.data(), text.size());
  }

  const Options& options_;
  int out_;
  std::string partial_;
  bool in_long_text_ = false;
  std::deque<std::string> window_;
};

bool CopyAvailable(int log, LogPrinter* printer, off_t* offset) {
  char buf[65536];
  for (;;) {
    ssize_t n = pread(log, buf, sizeof(buf), *offset);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0) return false;
    if (n == 0) return true;
    *offset += n;
    if (!printer->Feed(buf, static_cast<size_t>(n))) return false;
  }
}

unique_fd OpenOutput(const std::string& file) {
  const int flags = O_WRONLY | O_CREAT | O_APPEND;
  if (file[0] == '/') {
    size_t slash = file.rfind('/');
    if (slash > 0) MakeDirsInDevice(file.substr(0, slash), 0755);
    return OpenInDevice(file, flags, 0644);
  }
  DevPath path(file.c_str());  // relative: the working directory's, as on the phone
  return unique_fd(open(path, flags | O_CLOEXEC, 0644));
}

}  // namespace

int Logcat(const std::vector<std::string>& args) {
  Options o;
  int status = kExitOk;
  if (!ParseArgs(args, &o, &status)) return status;

  if (o.clear) {
    unique_fd log = OpenInDevice(kLog, O_WRONLY | O_TRUNC);
    if (log.get() < 0 && errno != ENOENT) {
      fprintf(stderr, "logcat: cannot clear the log: %s\n", strerror(errno));
      return kExitFailed;
    }
    return kExitOk;
  }

  const bool follow = !o.dump && o.tail == 0;
  unique_fd out;
  if (!o.file.empty()) {
    out = OpenOutput(o.file);
    if (out.get() < 0) {
      fprintf(stderr, "logcat: cannot write %s: %s\n", o.file.c_str(), strerror(errno));
      return kExitFailed;
    }
  }
  unique_fd log = OpenInDevice(kLog, O_RDONLY);
  if (log.get() < 0 && errno == ENOENT) {
    if (!follow) return kExitOk;  // no service has written anything yet
    MakeDeviceDirs("/data/sim");
    log = OpenInDevice(kLog, O_RDONLY | O_CREAT, 0644);
  }
  if (log.get() < 0) {
    fprintf(stderr, "logcat: cannot read the device log %s: %s\n", kLog, strerror(errno));
    return kExitFailed;
  }

  LogPrinter printer(o, out.get() >= 0 ? out.get() : STDOUT_FILENO);
  off_t offset = 0;
  if (!follow) {
    return CopyAvailable(log.get(), &printer, &offset) && printer.Finish() ? kExitOk
                                                                            : kExitFailed;
  }
  // Watched before the first read, so nothing written in between goes unnoticed.
  unique_fd watch(inotify_init1(IN_CLOEXEC));
  std::string self = "/proc/self/fd/" + std::to_string(log.get());
  if (watch.get() < 0 ||
      inotify_add_watch(watch.get(), self.c_str(), IN_MODIFY | IN_ATTRIB) < 0) {  // host path: real /proc
    fprintf(stderr, "logcat: cannot follow the device log: %s\n", strerror(errno));
    return kExitFailed;
  }
  for (;;) {
    if (!CopyAvailable(log.get(), &printer, &offset)) return kExitFailed;
    char events[4096];
    if (read(watch.get(), events, sizeof(events)) < 0 && errno != EINTR) return kExitFailed;
    struct stat st;
    if (fstat(log.get(), &st) == 0 && st.st_size < offset) {  // logcat -c ran
      offset = 0;
      printer.Restart();
    }
  }
}

}  // namespace orba::sim
