#include "progress.h"

#include <stdio.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <chrono>

#include <platform/devpath.h>

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
  if (lstat(DevPath(device_path.c_str()), &st) != 0 || S_ISDIR(st.st_mode)) return false;
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

// "120.0 MiB of 300.0 MiB, 45.2 MiB/s, 0:03 left"
std::string Amounts(unsigned long long done, unsigned long long size, double seconds) {
  std::string text = FormatBytes(done) + " of " + FormatBytes(size);
  // Too early for a rate that means anything.
  if (seconds < 0.05 || done == 0) return text + ", -/s, -:-- left";
  double rate = static_cast<double>(done) / seconds;
  text += ", " + FormatBytes(static_cast<unsigned long long>(rate)) + "/s, ";
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
  static const char* const kUnits[] = {"KiB", "MiB", "GiB", "TiB"};
  if (bytes < 1024) return std::to_string(bytes) + " B";
  double value = static_cast<double>(bytes) / 1024;
  size_t unit = 0;
  while (value >= 1024 && unit + 1 < sizeof(kUnits) / sizeof(kUnits[0])) {
    value /= 1024;
    ++unit;
  }
  char buf[32];
  snprintf(buf, sizeof(buf), "%.1f %s", value, kUnits[unit]);
  return buf;
}

std::string FormatTransfer(const char* verb, const TransferState& s, size_t width) {
  std::string head = std::string(verb) + " ";
  if (s.members > 1) head += std::to_string(s.member + 1) + "/" + std::to_string(s.members) + " ";
  std::string tail = ": " + Amounts(s.member_done, s.member_size, s.member_seconds);
  if (s.members > 1) tail += " | all: " + Amounts(s.done, s.total, s.seconds);
  // The name gives way first, keeping its end (the file name); the amounts matter more.
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
