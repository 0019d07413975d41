// The two loaders. They share the line grammar but not the line handling: files join lines
// ending in '\' and refuse over-long lines with a message, buffers do neither and ignore
// one-character lines. Any bad line makes the whole load fail, so a caller never acts on a
// half-understood file.

#include "iniparser_load.h"

#include <stdio.h>
#include <string.h>

#include <memory>

#include <platform/devpath.h>

#include "dictionary_store.h"
#include "iniparser_error.h"
#include "iniparser_line.h"

namespace orba::ini {

namespace {

struct FileCloser {
  void operator()(FILE* f) const { fclose(f); }
};
using UniqueFile = std::unique_ptr<FILE, FileCloser>;

// Parser state carried from line to line.
struct LoadState {
  char section[kLineSize] = {};
  char key[kLineSize] = {};
  char value[kLineSize] = {};
  char composed[kComposedKeySize] = {};
};

// Stores a classified line. Returns false when the dictionary could not take it.
bool StoreLine(dictionary* d, LineKind kind, LoadState& st) {
  int rc = 0;
  if (kind == LineKind::kSection) {
    rc = DictSet(d, st.section, nullptr);
  } else if (kind == LineKind::kValue) {
    snprintf(st.composed, sizeof(st.composed), "%s:%s", st.section, st.key);
    rc = DictSet(d, st.composed, st.value);
  }
  if (rc < 0) {
    CurrentErrorCallback()("iniparser: memory allocation failure\n");
    return false;
  }
  return true;
}

}  // namespace

dictionary* IniLoad(const char* path) {
  UniqueFile in(path != nullptr ? fopen(DevPath(path), "re") : nullptr);
  if (!in) {
    CurrentErrorCallback()("iniparser: cannot open %s\n", path != nullptr ? path : "(null)");
    return nullptr;
  }
  dictionary* d = DictNew(0);
  if (d == nullptr) return nullptr;

  LoadState st;
  char line[kLineSize] = {};
  int last = 0;
  int lineno = 0;
  int errors = 0;
  while (fgets(line + last, static_cast<int>(kLineSize) - last, in.get()) != nullptr) {
    ++lineno;
    int len = static_cast<int>(strlen(line)) - 1;
    if (len <= 0) continue;
    if (line[len] != '\n' && !feof(in.get())) {
      CurrentErrorCallback()("iniparser: input line too long in %s (%d)\n", path, lineno);
      DictDel(d);
      return nullptr;
    }
    while (len >= 0 && IsIniSpace(line[len])) line[len--] = '\0';
    if (len < 0) len = 0;
    if (line[len] == '\\') {
      // The next line is read over the backslash.
      last = len;
      continue;
    }
    last = 0;
    LineKind kind = ClassifyLine(line, st.section, st.key, st.value);
    if (kind == LineKind::kError) {
      CurrentErrorCallback()("iniparser: syntax error in %s (%d):\n-> %s\n", path, lineno, line);
      ++errors;
    } else if (!StoreLine(d, kind, st)) {
      break;
    }
  }
  if (errors > 0) {
    DictDel(d);
    return nullptr;
  }
  return d;
}

dictionary* IniLoadBuffer(char* text) {
  if (text == nullptr) return nullptr;
  dictionary* d = DictNew(0);
  if (d == nullptr) return nullptr;

  LoadState st;
  int errors = 0;
  int lineno = 1;
  char* p = text;
  while (*p != '\0') {
    // Lines are cut as strtok(text, "\n") would cut them: runs of newlines vanish and each
    // line's terminating newline becomes its end.
    while (*p == '\n') {
      ++p;
      ++lineno;
    }
    if (*p == '\0') break;
    char* line = p;
    char* newline = strchr(p, '\n');
    int this_line = lineno;
    if (newline != nullptr) {
      *newline = '\0';
      p = newline + 1;
      ++lineno;
    } else {
      p = line + strlen(line);
    }

    size_t len = strlen(line);
    if (len < 2) continue;
    while (len > 0 && IsIniSpace(line[len - 1])) line[--len] = '\0';
    if (len >= kLineSize) {
      // Longer than the field buffers: refused rather than scanned.
      CurrentErrorCallback()("iniparser: input line too long in buffer (%d)\n", this_line);
      ++errors;
      continue;
    }
    LineKind kind = ClassifyLine(line, st.section, st.key, st.value);
    if (kind == LineKind::kError) {
      ++errors;
    } else if (!StoreLine(d, kind, st)) {
      break;
    }
  }
  if (errors > 0) {
    DictDel(d);
    return nullptr;
  }
  return d;
}

}  // namespace orba::ini
