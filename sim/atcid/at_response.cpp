#include "at_response.h"

namespace orba::at {

const char* CmeErrorText(CmeError code) {
  switch (code) {
    case CmeError::kPhoneFailure:
      return "phone failure";
    case CmeError::kNotAllowed:
      return "operation not allowed";
    case CmeError::kNotSupported:
      return "operation not supported";
    case CmeError::kTextTooLong:
      return "text string too long";
    case CmeError::kIncorrectParameters:
      return "incorrect parameters";
    case CmeError::kUnknown:
      return "unknown";
  }
  return "unknown";
}

void ResponseSink::Info(std::string_view line) {
  out_->append("\r\n");
  out_->append(line);
  out_->append("\r\n");
}

std::string FinalResult(const Verdict& verdict, CmeeMode mode) {
  std::string code;
  if (verdict.kind == Verdict::Kind::kOk) {
    code = "OK";
  } else if (verdict.kind == Verdict::Kind::kError || mode == CmeeMode::kOff) {
    code = "ERROR";
  } else if (mode == CmeeMode::kNumeric) {
    code = "+CME ERROR: " + std::to_string(static_cast<int>(verdict.code));
  } else {
    // A report carries its own line ends at most at its end; the line holds one line.
    std::string text = verdict.text.empty() ? CmeErrorText(verdict.code) : verdict.text;
    for (char& c : text) {
      if (c == '\r' || c == '\n') c = ' ';
    }
    while (!text.empty() && text.back() == ' ') text.pop_back();
    code = "+CME ERROR: " + text;
  }
  return "\r\n" + code + "\r\n";
}

}  // namespace orba::at
