#include "json_check.h"

#include <ctype.h>
#include <string.h>

namespace orba::test {
namespace {

class Reader {
 public:
  explicit Reader(const std::string& text) : text_(text) {}

  bool Fail(const char* what) {
    if (error_.empty()) error_ = std::string(what) + " at byte " + std::to_string(at_);
    return false;
  }
  const std::string& error() const { return error_; }
  size_t at() const { return at_; }

  void Space() {
    while (at_ < text_.size() && text_[at_] != '\0' && strchr(" \t\r\n", text_[at_]) != nullptr) {
      ++at_;
    }
  }
  bool Eat(char c) {
    Space();
    if (at_ < text_.size() && text_[at_] == c) {
      ++at_;
      return true;
    }
    return false;
  }
  bool Done() {
    Space();
    return at_ == text_.size();
  }

  bool Value() {
    Space();
    if (at_ >= text_.size()) return Fail("missing value");
    switch (text_[at_]) {
      case '{': return Object(nullptr);
      case '[': return Array();
      case '"': return String(nullptr);
      case 't': return Word("true");
      case 'f': return Word("false");
      case 'n': return Word("null");
      default: return Number();
    }
  }

  bool Object(std::map<std::string, std::string>* members) {
    if (!Eat('{')) return Fail("expected {");
    if (Eat('}')) return true;
    do {
      Space();
      std::string name;
      if (!String(&name)) return false;
      if (!Eat(':')) return Fail("expected :");
      Space();
      const size_t start = at_;
      if (!Value()) return false;
      if (members != nullptr) (*members)[name] = text_.substr(start, at_ - start);
    } while (Eat(','));
    return Eat('}') || Fail("expected , or }");
  }

 private:
  bool Array() {
    Eat('[');
    if (Eat(']')) return true;
    do {
      if (!Value()) return false;
    } while (Eat(','));
    return Eat(']') || Fail("expected , or ]");
  }

  bool String(std::string* out) {
    if (at_ >= text_.size() || text_[at_] != '"') return Fail("expected string");
    ++at_;
    while (at_ < text_.size()) {
      const auto c = static_cast<unsigned char>(text_[at_++]);
      if (c == '"') return true;
      if (c < 0x20) return Fail("control character in string");
      if (c == '\\') {
        if (at_ >= text_.size()) break;
        const char e = text_[at_++];
        if (e == 'u') {
          for (int i = 0; i < 4; ++i, ++at_) {
            if (at_ >= text_.size() || !isxdigit(static_cast<unsigned char>(text_[at_]))) {
              return Fail("bad \\u escape");
            }
          }
        } else if (e == '\0' || strchr("\"\\/bfnrt", e) == nullptr) {
          return Fail("bad escape");
        }
        if (out != nullptr) out->append(1, '?');
        continue;
      }
      if (out != nullptr) out->push_back(static_cast<char>(c));
    }
    return Fail("unterminated string");
  }

  bool Word(const char* word) {
    const size_t n = strlen(word);
    if (text_.compare(at_, n, word) != 0) return Fail("bad literal");
    at_ += n;
    return true;
  }

  bool Digits() {
    const size_t start = at_;
    while (at_ < text_.size() && isdigit(static_cast<unsigned char>(text_[at_]))) ++at_;
    return at_ > start;
  }

  bool Number() {
    if (at_ < text_.size() && text_[at_] == '-') ++at_;
    if (at_ < text_.size() && text_[at_] == '0') {
      ++at_;  // no leading zeros
    } else if (!Digits()) {
      return Fail("bad value");
    }
    if (at_ < text_.size() && text_[at_] == '.') {
      ++at_;
      if (!Digits()) return Fail("bad fraction");
    }
    if (at_ < text_.size() && (text_[at_] == 'e' || text_[at_] == 'E')) {
      ++at_;
      if (at_ < text_.size() && (text_[at_] == '+' || text_[at_] == '-')) ++at_;
      if (!Digits()) return Fail("bad exponent");
    }
    return true;
  }

  const std::string& text_;
  size_t at_ = 0;
  std::string error_;
};

}  // namespace

bool ParseJsonObject(const std::string& text, std::map<std::string, std::string>* members,
                     std::string* error) {
  Reader reader(text);
  reader.Space();
  if (!reader.Object(members) || !reader.Done()) {
    if (reader.error().empty()) reader.Fail("text after the object");
    if (error != nullptr) *error = reader.error();
    return false;
  }
  return true;
}

}  // namespace orba::test
