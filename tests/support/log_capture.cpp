#include "support/log_capture.h"

#include <android/log.h>
#include <stdlib.h>

#include <mutex>
#include <regex>

namespace orba::test {
namespace {

std::mutex g_mutex;
std::vector<LogLine> g_lines;

void Capture(const struct __android_logger_data* data, const char* message) {
  LogLine line{data->priority, data->tag != nullptr ? data->tag : "", message, "", message};
  static const std::regex kPrefix("^([0-9]+):([A-Za-z_0-9:~]+)\\(\\): ");
  std::smatch m;
  if (std::regex_search(line.raw, m, kPrefix)) {
    line.func = m[2];
    line.text = line.raw.substr(static_cast<size_t>(m.length(0)));
  }
  std::lock_guard<std::mutex> lock(g_mutex);
  g_lines.push_back(std::move(line));
}

}  // namespace

LogCapture::LogCapture() {
  Clear();
  __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
  __android_log_set_logger(Capture);
}

LogCapture::~LogCapture() { __android_log_set_logger(__android_log_stderr_logger); }

std::vector<LogLine> LogCapture::Lines() const {
  std::lock_guard<std::mutex> lock(g_mutex);
  return g_lines;
}

bool LogCapture::Has(int priority, const std::string& text) const {
  for (const LogLine& l : Lines()) {
    if (l.priority == priority && l.text == text) return true;
  }
  return false;
}

std::string LogCapture::Dump() const {
  std::string out;
  for (const LogLine& l : Lines()) out += "  [" + std::to_string(l.priority) + "] " + l.raw + "\n";
  return out;
}

void LogCapture::Clear() {
  std::lock_guard<std::mutex> lock(g_mutex);
  g_lines.clear();
}

}  // namespace orba::test
