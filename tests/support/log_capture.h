#ifndef ORBA_TESTS_SUPPORT_LOG_CAPTURE_H
#define ORBA_TESTS_SUPPORT_LOG_CAPTURE_H

#include <android/log.h>

#include <string>
#include <vector>

namespace orba::test {

struct LogLine {
  int priority;
  std::string tag;
  std::string text;  // the message after the "<line>:<function>(): " prefix, if it has one
  std::string func;  // the function named in the prefix ("" without a prefix)
  std::string raw;   // the whole message
};

// Captures every liblog message of this process while alive, through liblog's own logger hook.
class LogCapture {
 public:
  LogCapture();
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<LogLine> Lines() const;
  // True if a line at `priority` has exactly `text` after its prefix.
  bool Has(int priority, const std::string& text) const;
  // The text of every line, for readable assertion failures.
  std::string Dump() const;
  void Clear();
};

}  // namespace orba::test

#endif
