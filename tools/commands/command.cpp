#include "command.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

#include <fstream>
#include <iostream>
#include <iterator>

namespace orba::cli {
namespace {

std::vector<const Family*>& Registry() {
  static std::vector<const Family*> families;
  return families;
}

}  // namespace

Registrar::Registrar(const Family& family) { Registry().push_back(&family); }

const std::vector<const Family*>& Families() { return Registry(); }

int Error(Reply& reply, int code, const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string message = FormatV(fmt, ap);
  va_end(ap);
  return reply.Failure(code, message, {});
}

bool ParseInt(Reply& reply, const std::string& text, const char* what, long* value) {
  if (text.empty()) {
    Error(reply, kUsage, "%s: empty number", what);
    return false;
  }
  char* end = nullptr;
  errno = 0;
  long v = strtol(text.c_str(), &end, 0);
  if (errno != 0 || *end != '\0') {
    Error(reply, kUsage, "%s: '%s' is not a number", what, text.c_str());
    return false;
  }
  *value = v;
  return true;
}

bool ParseIntIn(Reply& reply, const std::string& text, const char* what, long min, long max,
                long* value) {
  long v = 0;
  if (!ParseInt(reply, text, what, &v)) return false;
  if (v < min || v > max) {
    Error(reply, kUsage, "%s: %ld is outside %ld..%ld", what, v, min, max);
    return false;
  }
  *value = v;
  return true;
}

bool ReadHostFile(const std::string& path, std::string* data) {
  if (path == "-") {
    data->assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    return true;
  }
  std::ifstream in(path, std::ios::binary);  // the engineer's own file on the host
  if (!in) return false;
  data->assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
  return true;
}

}  // namespace orba::cli
