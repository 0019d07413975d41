#ifndef ORBA_TESTS_CONFIG_INI_TEST_UTIL_H
#define ORBA_TESTS_CONFIG_INI_TEST_UTIL_H

#include <stdio.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <orbafactory/config.h>

namespace orba::test {

struct DictDeleter {
  void operator()(dictionary* d) const { iniparser_freedict(d); }
};
using Dict = std::unique_ptr<dictionary, DictDeleter>;

// Installs a recording error callback for its lifetime, then restores the default.
class ErrorCapture {
 public:
  ErrorCapture();
  ~ErrorCapture();
  ErrorCapture(const ErrorCapture&) = delete;
  ErrorCapture& operator=(const ErrorCapture&) = delete;

  // Every message so far, formatted, in order.
  const std::vector<std::string>& messages() const;
  // What the callback returns to the library.
  static constexpr int kReturn = 77;
};

// Loads a copy of `text` with iniparser_load_buffer (which cuts its input).
Dict LoadText(const std::string& text);

// Everything `write` prints to a stream.
std::string Capture(const std::function<void(FILE*)>& write);

// Every used slot as (key, value), in slot order; a null value is reported as "<null>".
std::vector<std::pair<std::string, std::string>> Entries(const dictionary* d);

}  // namespace orba::test

#endif
