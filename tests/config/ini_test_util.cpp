#include "ini_test_util.h"

#include <stdarg.h>
#include <stdlib.h>
#include <string.h>

namespace orba::test {

namespace {

std::vector<std::string>& Recorded() {
  static std::vector<std::string> messages;
  return messages;
}

int Record(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  char buf[4096];
  vsnprintf(buf, sizeof(buf), fmt, args);
  va_end(args);
  Recorded().push_back(buf);
  return ErrorCapture::kReturn;
}

}  // namespace

ErrorCapture::ErrorCapture() {
  Recorded().clear();
  iniparser_set_error_callback(Record);
}

ErrorCapture::~ErrorCapture() { iniparser_set_error_callback(nullptr); }

const std::vector<std::string>& ErrorCapture::messages() const { return Recorded(); }

Dict LoadText(const std::string& text) {
  std::vector<char> copy(text.begin(), text.end());
  copy.push_back('\0');
  return Dict(iniparser_load_buffer(copy.data()));
}

std::string Capture(const std::function<void(FILE*)>& write) {
  char* data = nullptr;
  size_t size = 0;
  FILE* f = open_memstream(&data, &size);
  write(f);
  fclose(f);
  std::string out(data, size);
  free(data);
  return out;
}

std::vector<std::pair<std::string, std::string>> Entries(const dictionary* d) {
  std::vector<std::pair<std::string, std::string>> out;
  for (int64_t i = 0; i < d->size; ++i) {
    if (d->key[i] == nullptr) continue;
    out.emplace_back(d->key[i], d->val[i] != nullptr ? d->val[i] : "<null>");
  }
  return out;
}

}  // namespace orba::test
