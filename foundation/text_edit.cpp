// In-place trimming and editing of NUL-terminated text read from files, properties and AT
// arguments. Each function trims its own idea of whitespace; they differ on purpose.

#include <cutils/properties.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <orbafactory/foundation.h>
#include <platform/log.h>

extern "C" {

int get_trim_string(char** pstr) {
  if (pstr == nullptr || *pstr == nullptr) return 0;
  char* s = *pstr;
  while (*s == ' ') ++s;
  *pstr = s;
  size_t len = strlen(s);
  while (len > 0 && s[len - 1] == ' ') --len;
  s[len] = '\0';
  return static_cast<int>(len);
}

char* trim_empty(char* s) {
  if (s == nullptr || *s == '\0') return s;
  auto blank = [](char c) { return c == ' ' || c == '\r' || c == '\n'; };
  size_t len = strlen(s);
  while (len > 0 && blank(s[len - 1])) s[--len] = '\0';
  while (blank(*s)) ++s;
  return s;
}

char* substring(char* s) {
  if (s == nullptr) return s;
  char mode[PROPERTY_VALUE_MAX] = {};
  property_get("persist.sys.factory.mode", mode, "");
  bool trace = strcmp(mode, "yes") == 0;
  if (trace) ORBA_LOGD("before: %s, strlen: %d", s, static_cast<int>(strlen(s)));
  // Compacting in place gives the same text as going through a scratch copy, at any length.
  delete_char(s, '"');
  if (trace) ORBA_LOGD("before: %s, strlen: %d", s, static_cast<int>(strlen(s)));
  return s;
}

void delete_char(char* s, char c) {
  if (s == nullptr) return;
  char* out = s;
  for (char* in = s; *in != '\0'; ++in) {
    if (*in != c) *out++ = *in;
  }
  *out = '\0';
}

int remove_special_tag(char* s, char c) {
  if (s == nullptr) return 0;
  int before = static_cast<int>(strlen(s));
  size_t in = 0;
  size_t out = 0;
  while (s[in] != '\0') {
    if (s[in] == c) {
      // The character after a match is copied without being examined: of two adjacent tags
      // the second survives, which callers depend on.
      ++in;
      s[out++] = s[in];
      if (s[in] == '\0') break;
      ++in;
    } else {
      s[out++] = s[in++];
    }
  }
  s[out] = '\0';
  return before;
}

void strreplace(char* s, const char* from, const char* to) {
  if (s == nullptr || from == nullptr || to == nullptr || *from == '\0') return;
  size_t from_len = strlen(from);
  size_t to_len = strlen(to);
  size_t hits = 0;
  for (const char* p = strstr(s, from); p != nullptr; p = strstr(p + from_len, from)) ++hits;
  if (hits == 0) return;
  size_t s_len = strlen(s);
  char* scratch = static_cast<char*>(malloc(s_len - hits * from_len + hits * to_len + 1));
  if (scratch == nullptr) return;
  char* out = scratch;
  const char* in = s;
  for (const char* p = strstr(in, from); p != nullptr; p = strstr(in, from)) {
    memcpy(out, in, static_cast<size_t>(p - in));
    out += p - in;
    memcpy(out, to, to_len);
    out += to_len;
    in = p + from_len;
  }
  strcpy(out, in);
  strcpy(s, scratch);
  free(scratch);
}

char* replace_sub_str(const char* in, const char* from, const char* to, char* dst, int dst_len) {
  ORBA_LOGD("input = %s, srcSubStr = %s, dstSubStr = %s", in, from, to);
  if (dst == nullptr || dst_len <= 0) return dst;
  memset(dst, 0, static_cast<size_t>(dst_len));
  if (in == nullptr || from == nullptr || to == nullptr) return dst;
  const char* hit = strstr(in, from);
  if (hit == nullptr) {
    ORBA_LOGD("not exist: %s", from);
    strncpy(dst, in, static_cast<size_t>(dst_len));
    return dst;
  }
  // Each piece is bounded as the historical code bounded it, and nothing goes past dst_len.
  size_t cap = static_cast<size_t>(dst_len);
  size_t pos = 0;
  auto append = [&](const char* text, long limit) {
    for (long i = 0; i < limit && text[i] != '\0' && pos < cap; ++i) dst[pos++] = text[i];
  };
  long prefix = hit - in;
  long to_len = static_cast<long>(strlen(to));
  append(in, prefix);
  append(to, dst_len - prefix);
  append(hit + strlen(from), dst_len - prefix - to_len);
  return dst;
}

int str_abs(char* s) {
  if (s == nullptr) return 0;
  long long v = atoi(s);
  return sprintf(s, "%lld", v < 0 ? -v : v);
}

void terminate_end_char(char* s) {
  if (s != nullptr) s[7] = '\0';
}

char* uppercase_to_lowcase(char* s, int n) {
  if (s == nullptr) return s;
  for (int i = 0; i < n; ++i) {
    if (s[i] >= 'A' && s[i] <= 'Z') s[i] = static_cast<char>(s[i] - 'A' + 'a');
  }
  return s;
}

char* lowcase_to_uppercase(char* s, int n) {
  if (s == nullptr) return s;
  for (int i = 0; i < n; ++i) {
    if (s[i] >= 'a' && s[i] <= 'z') s[i] = static_cast<char>(s[i] - 'a' + 'A');
  }
  return s;
}

int char_toupper(char* s) {
  if (s == nullptr) return 0;
  int len = 0;
  for (; s[len] != '\0'; ++len) {
    if (s[len] >= 'a' && s[len] <= 'z') s[len] = static_cast<char>(s[len] - 'a' + 'A');
  }
  return len;
}

}  // extern "C"
