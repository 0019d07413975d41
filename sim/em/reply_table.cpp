#include "reply_table.h"

#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>

#include <platform/devpath.h>
#include "device_fs.h"

namespace orba::sim {
namespace {

std::string Unescape(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '\\' && i + 1 < text.size()) {
      char n = text[++i];
      out += n == 'n' ? '\n' : n == 't' ? '\t' : n == 'r' ? '\r' : n;
      continue;
    }
    out += c;
  }
  return out;
}

bool Matches(const std::string& key, const std::string& request) {
  if (!key.empty() && key.back() == '*') {
    return request.compare(0, key.size() - 1, key, 0, key.size() - 1) == 0;
  }
  return key == request;
}

}  // namespace

std::optional<std::string> LookUpReply(const char* table_path, const std::string& request) {
  unique_fd fd = OpenInDevice(table_path, O_RDONLY);
  if (fd.get() < 0) return std::nullopt;
  const int raw = fd.release();  // the stream owns it from here
  FILE* f = fdopen(raw, "re");
  if (f == nullptr) {
    close(raw);
    return std::nullopt;
  }
  std::optional<std::string> found;
  std::string line;
  int c;
  bool done = false;
  while (!done) {
    c = fgetc(f);
    if (c != EOF && c != '\n') {
      line += static_cast<char>(c);
      continue;
    }
    done = c == EOF;
    if (!line.empty() && line.back() == '\r') line.pop_back();
    size_t tab = line.find('\t');
    if (!line.empty() && line[0] != '#' && tab != std::string::npos &&
        Matches(line.substr(0, tab), request)) {
      found = Unescape(line.substr(tab + 1));
      break;
    }
    line.clear();
  }
  fclose(f);
  return found;
}

}  // namespace orba::sim
