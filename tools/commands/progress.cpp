#include "progress.h"

#include <platform/devpath.h>
#include <stdio.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>

namespace orba::cli {
namespace {

constexpr auto kRedraw = std::chrono::milliseconds(200);

double Now() {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

// Bytes that have reached a destination: its allocated blocks, where fewer than its length,
// since a copy may set the full length before writing. A missing file has none.
bool BytesAt(const std::string& device_path, unsigned long long* bytes) {
  struct stat st;
  if (lstat(DevPathNoFollow(device_path.c_str()), &st) != 0 || S_ISDIR(st.st_mode)) return false;
  unsigned long long blocks = static_cast<unsigned long long>(st.st_blocks) * 512;
  unsigned long long size = static_cast<unsigned long long>(st.st_size);
  *bytes = blocks < size ? blocks : size;
  return true;
}

std::string Duration(double seconds) {
  long s = static_cast<long>(seconds + 0.5);
  char buf[32];
  if (s >= 3600) {
    snprintf(buf, sizeof(buf), "%ld:%02ld:%02ld", s / 3600, s / 60 % 60, s % 60);
  } else {
    snprintf(buf, sizeof(buf), "%ld:%02ld", s / 60, s % 60);
  }
  return buf;
}

const char* const kUnits[] = {"B", "KiB", "MiB", "GiB", "TiB"};
constexpr size_t kUnitCount = sizeof(kUnits) / sizeof(kUnits[0]);

// The unit a byte count reads best in, as an index into kUnits.
size_t UnitOf(unsigned long long bytes) {
  size_t unit = 0;
  while (unit + 1 < kUnitCount && bytes >= (1ull << (10 * (unit + 1)))) ++unit;
  return unit;
}

double InUnit(unsigned long long bytes, size_t unit) {
  return static_cast<double>(bytes) / static_cast<double>(1ull << (10 * unit));
}

// "120.0/300.0 MiB": both in the total's unit, so the two read against each other.
std::string Fraction(unsigned long long done, unsigned long long total) {
  size_t unit = UnitOf(total);
  if (unit == 0) return std::to_string(done) + "/" + std::to_string(total) + " B";
  char buf[64];
  snprintf(buf, sizeof(buf), "%.1f/%.1f %s", InUnit(done, unit), InUnit(total, unit), kUnits[unit]);
  return buf;
}

// "45.2 MiB/s", "175 MiB/s": three figures are plenty for a rate that moves.
std::string FormatRate(double bytes_per_second) {
  std::string text = FormatBytes(static_cast<unsigned long long>(bytes_per_second));
  size_t dot = text.find('.');
  if (dot != std::string::npos && dot >= 3) text.erase(dot, 2);
  return text + "/s";
}

// "120.0/300.0 MiB 45.2 MiB/s 0:03 left"
std::string Amounts(unsigned long long done, unsigned long long size, double seconds) {
  std::string text = Fraction(done, size);
  // Too early for a rate that means anything, unless it is all there already.
  const bool finished = done >= size && done > 0;
  if (done == 0 || (seconds < 0.05 && !finished)) return text + " -/s -:-- left";
  double rate = static_cast<double>(done) / (seconds > 0.001 ? seconds : 0.001);
  text += " " + FormatRate(rate) + " ";
  double left = done >= size ? 0 : static_cast<double>(size - done) / rate;
  return text + Duration(left) + " left";
}

size_t TerminalWidth() {
  winsize ws{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &ws) == 0 && ws.ws_col > 0) return ws.ws_col;
  return 80;
}

}  // namespace

std::string FormatBytes(unsigned long long bytes) {
  size_t unit = UnitOf(bytes);
  if (unit == 0) return std::to_string(bytes) + " B";
  char buf[32];
  snprintf(buf, sizeof(buf), "%.1f %s", InUnit(bytes, unit), kUnits[unit]);
  return buf;
}

std::string FormatTransfer(const char* verb, const TransferState& s, size_t width) {
  const std::string count =
      s.members > 1 ? std::to_string(s.member + 1) + "/" + std::to_string(s.members) + " " : "";
  const std::string member = " " + Amounts(s.member_done, s.member_size, s.member_seconds);
  const std::string all = s.members > 1 ? " | all " + Amounts(s.done, s.total, s.seconds) : "";
  // On a narrow terminal the verb goes first, then the member's own rate (the whole run's is
  // what the wait depends on), then the name shrinks to its end, the file name.
  const std::string layouts[][2] = {
      {std::string(verb) + " " + count, member + all},
      {count, member + all},
      {count, " " + Fraction(s.member_done, s.member_size) + all},
  };
  const size_t kShortestName = 12;
  const size_t name_floor = std::min(s.name.size(), kShortestName);
  size_t pick = 0;
  while (pick + 1 < sizeof(layouts) / sizeof(layouts[0]) &&
         layouts[pick][0].size() + name_floor + layouts[pick][1].size() >= width) {
    ++pick;
  }
  const std::string& head = layouts[pick][0];
  const std::string& tail = layouts[pick][1];
  std::string name = s.name;
  size_t fixed = head.size() + tail.size();
  size_t room = width > fixed + 1 ? width - fixed - 1 : 0;
  if (name.size() > room) name = room > 3 ? "..." + name.substr(name.size() - (room - 3)) : "";
  std::string line = head + name + tail;
  if (width > 0 && line.size() >= width) line.resize(width - 1);
  return line;
}

TransferProgress::TransferProgress(const char* verb, std::vector<TransferItem> items)
    : verb_(verb), items_(std::move(items)) {
  if (items_.empty() || isatty(STDOUT_FILENO) == 0) return;
  shown_ = true;
  seen_.assign(items_.size(), 0);
  complete_.assign(items_.size(), false);
  for (const TransferItem& item : items_) total_ += item.size;
  start_ = member_start_ = last_poll_ = Now();
  watcher_ = std::thread([this] { Watch(); });
}

TransferProgress::~TransferProgress() { Finish(); }

void TransferProgress::MemberDone() {
  reporting_ = true;
  reported_.fetch_add(1);
}

void TransferProgress::Finish() {
  if (!shown_) return;
  {
    std::lock_guard<std::mutex> lock(mutex_);
    stop_ = true;
  }
  wake_.notify_one();
  watcher_.join();
  Poll();
  Draw();
  fputc('\n', stdout);
  fflush(stdout);
  shown_ = false;
}

void TransferProgress::Watch() {
  std::unique_lock<std::mutex> lock(mutex_);
  do {
    Poll();
    Draw();
  } while (!wake_.wait_for(lock, kRedraw, [this] { return stop_; }));
}

void TransferProgress::Poll() {
  size_t current = current_;
  if (reporting_) {
    // Members before the reported count are done; the next one is being written.
    size_t reported = reported_.load();
    for (size_t i = 0; i < items_.size(); ++i) {
      if (i < reported) {
        complete_[i] = true;
        seen_[i] = items_[i].size;
      } else if (i == reported) {
        unsigned long long bytes = 0;
        if (BytesAt(items_[i].device_path, &bytes)) {
          seen_[i] = bytes < items_[i].size ? bytes : items_[i].size;
        }
      }
    }
    current = reported < items_.size() ? reported : items_.size() - 1;
  } else {
    for (size_t i = 0; i < items_.size(); ++i) {
      if (complete_[i]) continue;
      unsigned long long bytes = 0;
      if (!BytesAt(items_[i].device_path, &bytes)) continue;
      if (bytes >= items_[i].size) {
        complete_[i] = true;
        seen_[i] = items_[i].size;
        current = i;
      } else {
        seen_[i] = bytes;
        if (bytes > 0) current = i;
      }
    }
  }
  // The new member began somewhere since the last look; taking the earliest keeps a member
  // that came and went between two looks from showing no rate at all.
  double now = Now();
  if (current != current_) {
    current_ = current;
    member_start_ = last_poll_;
  }
  last_poll_ = now;
}

void TransferProgress::Draw() {
  TransferState s;
  s.member = current_;
  s.members = items_.size();
  s.name = items_[current_].name;
  s.member_done = seen_[current_];
  s.member_size = items_[current_].size;
  double now = Now();
  s.member_seconds = now - member_start_;
  for (unsigned long long bytes : seen_) s.done += bytes;
  s.total = total_;
  s.seconds = now - start_;
  fprintf(stdout, "\r%s\033[K", FormatTransfer(verb_, s, TerminalWidth()).c_str());
  fflush(stdout);
}

}  // namespace orba::cli
