#include "at_command_line.h"

#include <ctype.h>

namespace orba::at {
namespace {

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

// Characters of an extended command name beyond the leading "+" (V.250 5.4.1 allows these; the
// camera family uses "_").
bool IsNameChar(char c) {
  return isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '!' || c == '%' || c == '-' ||
         c == '.' || c == '/' || c == ':';
}

std::string Upper(std::string s) {
  for (char& c : s) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  return s;
}

std::string Trim(const std::string& s) {
  size_t b = 0, e = s.size();
  while (b < e && IsBlank(s[b])) ++b;
  while (e > b && IsBlank(s[e - 1])) --e;
  return s.substr(b, e - b);
}

// Splits set-form values at commas outside double quotes. A quoted value loses its quotes; an
// unquoted one its surrounding blanks. An unterminated quote makes the line invalid.
bool SplitArgs(const std::string& raw, std::vector<std::string>* out) {
  std::string value;
  bool quoted = false;
  bool was_quoted = false;
  for (char c : raw) {
    if (c == '"') {
      quoted = !quoted;
      was_quoted = true;
    } else if (c == ',' && !quoted) {
      out->push_back(was_quoted ? value : Trim(value));
      value.clear();
      was_quoted = false;
    } else {
      value += c;
    }
  }
  if (quoted) return false;
  out->push_back(was_quoted ? value : Trim(value));
  return true;
}

}  // namespace

std::string Request::Text() const {
  if (name.empty() || name[0] != '+') return "AT" + name + raw_args;  // basic: "ATE1"
  std::string text = "AT" + name;
  switch (form) {
    case Form::kAction:
      break;
    case Form::kTest:
      text += "=?";
      break;
    case Form::kRead:
      text += "?";
      break;
    case Form::kSet:
      text += "=" + raw_args;
      break;
  }
  return text;
}

CommandLine ParseCommandLine(const std::string& line) {
  CommandLine result;
  std::string text = Trim(line);
  if (text.empty()) {
    result.empty = true;
    return result;
  }
  if (text.size() < 2 || toupper(static_cast<unsigned char>(text[0])) != 'A' ||
      toupper(static_cast<unsigned char>(text[1])) != 'T') {
    return result;
  }
  size_t i = 2;
  while (i < text.size()) {
    char c = text[i];
    if (IsBlank(c) || c == ';') {
      ++i;
      continue;
    }
    Request req;
    if (c == '+') {
      size_t start = i++;
      while (i < text.size() && IsNameChar(text[i])) ++i;
      if (i == start + 1) return result;  // "+" alone
      req.name = Upper(text.substr(start, i - start));
      if (text.compare(i, 2, "=?") == 0) {
        req.form = Form::kTest;
        i += 2;
      } else if (i < text.size() && text[i] == '?') {
        req.form = Form::kRead;
        ++i;
      } else if (i < text.size() && text[i] == '=') {
        req.form = Form::kSet;
        size_t end = ++i;
        bool quoted = false;
        while (end < text.size() && (quoted || text[end] != ';')) {
          if (text[end] == '"') quoted = !quoted;
          ++end;
        }
        req.raw_args = Trim(text.substr(i, end - i));
        if (!SplitArgs(req.raw_args, &req.args)) return result;
        i = end;
      }
      // What follows an extended command is the next command (after ";") or the end.
      while (i < text.size() && IsBlank(text[i])) ++i;
      if (i < text.size() && text[i] != ';') return result;
    } else if (isalpha(static_cast<unsigned char>(c))) {
      // A basic command: one letter and an optional number (E0, I, I0).
      req.name = Upper(std::string(1, c));
      size_t start = ++i;
      while (i < text.size() && isdigit(static_cast<unsigned char>(text[i]))) ++i;
      if (i > start) {
        req.form = Form::kSet;
        req.raw_args = text.substr(start, i - start);
        req.args.push_back(req.raw_args);
      }
    } else {
      return result;
    }
    result.requests.push_back(std::move(req));
  }
  result.valid = true;
  return result;
}

}  // namespace orba::at
