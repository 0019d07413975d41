#include "reply.h"

#include <math.h>
#include <stdio.h>
#include <unistd.h>

#include "interrupt.h"

namespace orba::cli {
namespace {

void Write(FILE* out, std::string_view text) { fwrite(text.data(), 1, text.size(), out); }

bool NeedsQuotes(std::string_view text) {
  if (text.empty()) return true;
  for (char c : text) {
    const auto b = static_cast<unsigned char>(c);
    if (b <= ' ' || b == 0x7f || c == '"' || c == '=' || c == '\\') return true;
  }
  return false;
}

std::string JsonValue(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::kText:
      return JsonString(value.text());
    case Value::Kind::kBool:
      return value.integer() != 0 ? "true" : "false";
    case Value::Kind::kReal:
      // JSON has no NaN or infinity: a reading that is not a number is null.
      return isfinite(value.real()) ? value.Plain() : "null";
    case Value::Kind::kInteger:
      break;
  }
  return value.Plain();
}

std::string JsonObject(const Fields& fields) {
  std::string line = "{";
  for (const Field& f : fields) {
    if (line.size() > 1) line += ',';
    line += JsonString(f.name) + ':' + JsonValue(f.value);
  }
  return line + "}\n";
}

// Hint lines as a JSON array of strings, without their indentation.
std::string JsonLines(std::string_view details) {
  std::string list = "[";
  while (!details.empty()) {
    size_t end = details.find('\n');
    std::string_view line = details.substr(0, end);
    details.remove_prefix(end == std::string_view::npos ? details.size() : end + 1);
    while (!line.empty() && line.front() == ' ') line.remove_prefix(1);
    if (line.empty()) continue;
    if (list.size() > 1) list += ',';
    list += JsonString(line);
  }
  return list + "]";
}

}  // namespace

Value Value::Real(double number, int decimals) {
  Value v;
  v.kind_ = Kind::kReal;
  v.real_ = number;
  v.decimals_ = decimals;
  return v;
}

std::string Value::Plain() const {
  switch (kind_) {
    case Kind::kText:
      return text_;
    case Kind::kInteger:
      return std::to_string(integer_);
    case Kind::kBool:
      return integer_ != 0 ? "true" : "false";
    case Kind::kReal:
      break;
  }
  return Format("%.*f", decimals_, real_);
}

std::string QuotedIfNeeded(std::string_view text) {
  if (!NeedsQuotes(text)) return std::string(text);
  std::string quoted = "\"";
  for (char c : text) {
    const auto b = static_cast<unsigned char>(c);
    if (c == '"' || c == '\\') {
      quoted += '\\';
      quoted += c;
    } else if (c == '\n') {
      quoted += "\\n";
    } else if (c == '\r') {
      quoted += "\\r";
    } else if (c == '\t') {
      quoted += "\\t";
    } else if (b < ' ' || b == 0x7f) {
      quoted += Format("\\x%02x", b);
    } else {
      quoted += c;
    }
  }
  return quoted + '"';
}

namespace {

// The length of the well-formed UTF-8 sequence at the start of `text`, or 0.
size_t Utf8Length(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text[0]);
  size_t n = lead >= 0xf0 && lead <= 0xf4 ? 4 : lead >= 0xe0 ? 3 : lead >= 0xc2 ? 2 : 0;
  if (n == 0 || lead >= 0xf5 || text.size() < n) return 0;
  for (size_t i = 1; i < n; ++i) {
    if ((static_cast<unsigned char>(text[i]) & 0xc0) != 0x80) return 0;
  }
  return n;
}

}  // namespace

std::string JsonString(std::string_view text) {
  std::string out = "\"";
  for (size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    const auto b = static_cast<unsigned char>(c);
    switch (c) {
      case '"': out += "\\\""; break;
      case '\\': out += "\\\\"; break;
      case '\n': out += "\\n"; break;
      case '\r': out += "\\r"; break;
      case '\t': out += "\\t"; break;
      default:
        if (b < 0x20 || b == 0x7f) {
          out += Format("\\u%04x", b);
        } else if (b < 0x80) {
          out += c;
        } else if (size_t n = Utf8Length(text.substr(i)); n != 0) {
          out.append(text.substr(i, n));
          i += n - 1;
        } else {
          // A device field need not be UTF-8: a stray byte becomes the code point of the same
          // number, so every answer still parses.
          out += Format("\\u%04x", b);
        }
    }
  }
  return out + '"';
}

std::string FormatV(const char* fmt, va_list ap) {
  va_list again;
  va_copy(again, ap);
  char small[256];
  int n = vsnprintf(small, sizeof(small), fmt, ap);
  std::string text;
  if (n < 0) {
    text = fmt;
  } else if (static_cast<size_t>(n) < sizeof(small)) {
    text.assign(small, n);
  } else {
    text.resize(n + 1);
    vsnprintf(text.data(), text.size(), fmt, again);
    text.resize(n);
  }
  va_end(again);
  return text;
}

std::string Format(const char* fmt, ...) {
  va_list ap;
  va_start(ap, fmt);
  std::string text = FormatV(fmt, ap);
  va_end(ap);
  return text;
}

void TextReply::Answer(const Fields& fields) {
  std::string line;
  if (fields.size() == 1) {
    line = fields[0].value.Plain();
  } else {
    for (const Field& f : fields) {
      if (!line.empty()) line += ' ';
      line += f.name + '=' + QuotedIfNeeded(f.value.Plain());
    }
  }
  line += '\n';
  Write(stdout, line);
}

void TextReply::Record(const Fields& fields) {
  std::string text;
  for (const Field& f : fields) {
    std::string value = f.value.Plain();
    // A value's own newline would start a line that is no field.
    for (size_t at = value.find('\n'); at != std::string::npos; at = value.find('\n', at + 2)) {
      value.replace(at, 1, "\\n");
    }
    text += f.name + '=' + value + '\n';
  }
  Write(stdout, text);
}

void TextReply::Stream(std::string_view bytes) { Write(stdout, bytes); }

void TextReply::Note(std::string_view line) {
  fflush(stdout);
  Write(stderr, std::string(line) + '\n');
}

int TextReply::Failure(int code, std::string_view message, std::string_view details) {
  HoldIfInterrupted();
  fflush(stdout);
  std::string text = "orbafactory: " + std::string(message) + '\n' + std::string(details);
  if (!details.empty() && details.back() != '\n') text += '\n';
  Write(stderr, text);
  return code;
}

bool TextReply::Interactive() const { return isatty(STDOUT_FILENO) == 1; }

void JsonReply::Answer(const Fields& fields) { Write(stdout, JsonObject(fields)); }

void JsonReply::Note(std::string_view line) {
  // Notes stay human: a script reading stdout never sees them.
  Write(stderr, std::string(line) + '\n');
}

int JsonReply::Failure(int code, std::string_view message, std::string_view details) {
  HoldIfInterrupted();
  fflush(stdout);
  std::string text = "{\"exit\":" + std::to_string(code) + ",\"message\":" + JsonString(message);
  if (!details.empty()) text += ",\"details\":" + JsonLines(details);
  Write(stderr, text + "}\n");
  return code;
}

void JsonReply::End(int code) {
  (void)code;
  if (stream_.empty()) return;
  Write(stdout, "{\"text\":" + JsonString(stream_) + "}\n");
  stream_.clear();
}

}  // namespace orba::cli
