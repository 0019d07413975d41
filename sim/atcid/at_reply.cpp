#include "at_reply.h"

#include <android/log.h>
#include <stdio.h>

#include <utility>

#include "command.h"

namespace orba::at {
namespace {

constexpr char kTag[] = "atcid_user";

// A string value in double quotes. The quote, the backslash and control characters cannot stand
// in an information response as they are; they go as a backslash and two hex digits, the escape
// 27.007 uses for such characters in strings.
std::string QuotedString(std::string_view text) {
  std::string out = "\"";
  for (char ch : text) {
    const unsigned char c = static_cast<unsigned char>(ch);
    if (c == '"' || c == '\\' || c < 0x20 || c == 0x7f) {
      char esc[4];
      snprintf(esc, sizeof(esc), "\\%02X", c);
      out += esc;
    } else {
      out += ch;
    }
  }
  return out + "\"";
}

// A line of a stream holds no line end of its own: the response framing adds them.
std::string WithoutLineEnds(std::string_view line) {
  std::string out;
  out.reserve(line.size());
  for (char c : line) {
    if (c != '\r' && c != '\n') out += c;
  }
  return out;
}

CmeError CodeFor(int exit_code) {
  switch (exit_code) {
    case orba::cli::kUsage:
      return CmeError::kIncorrectParameters;
    case orba::cli::kNoDevice:
      return CmeError::kPhoneFailure;
    default:
      return CmeError::kUnknown;
  }
}

}  // namespace

std::string AtReply::AtValue(const orba::cli::Value& value) {
  using Kind = orba::cli::Value::Kind;
  switch (value.kind()) {
    case Kind::kText:
      return QuotedString(value.text());
    case Kind::kInteger:
    case Kind::kBool:
      return std::to_string(value.integer());
    case Kind::kReal:
      return orba::cli::Format("%.*f", value.decimals(), value.real());
  }
  return QuotedString(value.Plain());
}

void AtReply::Line(std::string_view body) {
  std::string line = prefix_ + ": ";
  line.append(body);
  sink_->Info(line);
}

void AtReply::Answer(const orba::cli::Fields& fields) {
  std::string body;
  for (const orba::cli::Field& field : fields) {
    if (!body.empty()) body += ',';
    body += AtValue(field.value);
  }
  Line(body);
}

void AtReply::Record(const orba::cli::Fields& fields) {
  for (const orba::cli::Field& field : fields) {
    Line(QuotedString(field.name) + "," + AtValue(field.value));
  }
}

void AtReply::Stream(std::string_view bytes) {
  partial_.append(bytes);
  size_t start = 0;
  for (size_t end = partial_.find('\n'); end != std::string::npos;
       end = partial_.find('\n', start)) {
    Line(WithoutLineEnds(std::string_view(partial_).substr(start, end - start)));
    start = end + 1;
  }
  partial_.erase(0, start);
}

void AtReply::Note(std::string_view line) {
  __android_log_print(ANDROID_LOG_INFO, kTag, "%s: %.*s", prefix_.c_str(),
                      static_cast<int>(line.size()), line.data());
}

int AtReply::Failure(int code, std::string_view message, std::string_view details) {
  __android_log_print(ANDROID_LOG_WARN, kTag, "%s: %.*s%s%.*s", prefix_.c_str(),
                      static_cast<int>(message.size()), message.data(),
                      details.empty() ? "" : "\n", static_cast<int>(details.size()),
                      details.data());
  if (!failed_) {
    failed_ = true;
    verdict_ = Verdict::Cme(CodeFor(code), std::string(message));
  }
  return code;
}

void AtReply::End(int code) {
  // A stream whose last line had no end still answers with it.
  if (!partial_.empty()) {
    Line(WithoutLineEnds(partial_));
    partial_.clear();
  }
  if (code == orba::cli::kOk) {
    // A command that reported a failure and still returned 0 did what was asked after all.
    verdict_ = Verdict::Ok();
  } else if (!failed_) {
    // The step's own verdict without a word of why (a touch result that is not PASS, a remote
    // command's exit status): the status is all there is to say.
    verdict_ = Verdict::Cme(CodeFor(code), orba::cli::Format("%s: exit status %d", prefix_.c_str(), code));
  } else if (CodeFor(code) != verdict_.code) {
    verdict_.code = CodeFor(code);  // the returned code is the verdict; the message stays
  }
}

}  // namespace orba::at
