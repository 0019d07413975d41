#ifndef ORBA_TOOLS_COMMANDS_REPLY_H
#define ORBA_TOOLS_COMMANDS_REPLY_H

// Where a command's answer goes. A command never prints: it hands typed answers to a Reply and
// returns its exit code; the front end chose the Reply. So one command table is served from a
// shell as plain text or JSON, and over the station's serial line as AT information responses,
// and a command written for one is already written for the others.
//
// The three kinds of output, and how each Reply shows them:
//
//   Answer({{"item", "gsensor_cali"}, {"state", 1}})   one answer, typed fields in order
//     text  one line: a lone field as its bare value ("1"); several as name=value pairs
//           separated by one space, a value quoted ("a b") when it holds a space, a quote, '=',
//           a backslash or nothing, or is not printable
//     json  one object on its own line: {"item":"gsensor_cali","state":1}
//     AT    one information line: +FAMILY: "gsensor_cali",1
//
//   Record(fields)   one answer whose field names come from the data (a record's fields)
//     text  one name=value line per field, the value as it stands to the end of the line
//     json  one object on its own line
//     AT    one information line per field: +FAMILY: "name","value"
//
//   Stream(bytes)    output that is the answer as it stands (a file, a remote command's output)
//     text  the bytes as they are
//     json  {"text":"..."} once the command ends
//     AT    one information line per line
//
// Notes (hints, warnings) are for the person at the keyboard, never part of the answer: stderr
// in a shell, dropped on the serial line. A failure is the command's verdict: the first line
// says what failed and why; details add hints on lines of their own.

#include <stdarg.h>

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace orba::cli {

// One typed value of an answer.
class Value {
 public:
  enum class Kind { kText, kInteger, kReal, kBool };

  Value(const char* text) : kind_(Kind::kText), text_(text) {}
  Value(std::string_view text) : kind_(Kind::kText), text_(text) {}
  Value(const std::string& text) : kind_(Kind::kText), text_(text) {}
  Value(int number) : kind_(Kind::kInteger), integer_(number) {}
  Value(long number) : kind_(Kind::kInteger), integer_(number) {}
  Value(long long number) : kind_(Kind::kInteger), integer_(number) {}
  Value(unsigned number) : kind_(Kind::kInteger), integer_(number) {}
  Value(unsigned long number) : kind_(Kind::kInteger), integer_(static_cast<long long>(number)) {}
  Value(bool flag) : kind_(Kind::kBool), integer_(flag ? 1 : 0) {}
  // A measurement shown with `decimals` places, as the step's own log shows it.
  static Value Real(double number, int decimals);

  Kind kind() const { return kind_; }
  const std::string& text() const { return text_; }
  long long integer() const { return integer_; }
  double real() const { return real_; }
  int decimals() const { return decimals_; }
  // The value as plain text shows it: "0x1f" stays text, 31 is "31", true is "true".
  std::string Plain() const;

 private:
  Value() = default;
  Kind kind_ = Kind::kText;
  std::string text_;
  long long integer_ = 0;
  double real_ = 0;
  int decimals_ = 0;
};

struct Field {
  std::string name;
  Value value;
};
using Fields = std::vector<Field>;

class Reply {
 public:
  virtual ~Reply() = default;

  virtual void Answer(const Fields& fields) = 0;
  virtual void Record(const Fields& fields) = 0;
  virtual void Stream(std::string_view bytes) = 0;
  virtual void Note(std::string_view line) = 0;
  // The verdict of a command that did not do what was asked: its exit code (see command.h), the
  // one-line message and any hint lines. Returns `code` for `return reply.Failure(...)`.
  virtual int Failure(int code, std::string_view message, std::string_view details) = 0;
  // The command has returned `code`: a reply that gathers (JSON streams) writes out now.
  virtual void End(int code) { (void)code; }
  // Whether a person watches this reply as it comes: progress is drawn only then.
  virtual bool Interactive() const { return false; }
};

// Plain text to stdout and stderr, as a shell user and a station script read it.
class TextReply : public Reply {
 public:
  void Answer(const Fields& fields) override;
  void Record(const Fields& fields) override;
  void Stream(std::string_view bytes) override;
  void Note(std::string_view line) override;
  int Failure(int code, std::string_view message, std::string_view details) override;
  bool Interactive() const override;
};

// JSON Lines on stdout, one object per answer; a failure is one object on stderr:
// {"exit":1,"message":"...","details":["..."]}.
class JsonReply : public Reply {
 public:
  void Answer(const Fields& fields) override;
  void Record(const Fields& fields) override { Answer(fields); }
  void Stream(std::string_view bytes) override { stream_.append(bytes); }
  void Note(std::string_view line) override;
  int Failure(int code, std::string_view message, std::string_view details) override;
  void End(int code) override;

 private:
  std::string stream_;
};

// The plain-text form of a value in an answer of several fields: quoted where a reader splitting
// on spaces and '=' would otherwise misread it.
std::string QuotedIfNeeded(std::string_view text);

// A JSON string literal, quotes included.
std::string JsonString(std::string_view text);

// printf into a std::string.
std::string Format(const char* fmt, ...) __attribute__((format(printf, 1, 2)));
std::string FormatV(const char* fmt, va_list ap);

}  // namespace orba::cli

#endif
