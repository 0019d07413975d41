#include "at_session.h"

namespace orba::at {
namespace {

constexpr unsigned char kCr = '\r';
constexpr unsigned char kLf = '\n';
constexpr unsigned char kBackspace = 0x08;
constexpr unsigned char kDelete = 0x7f;  // what most terminal programs send for the backspace key

}  // namespace

std::string AtSession::Receive(const unsigned char* data, size_t size) {
  std::string out;
  for (size_t i = 0; i < size; ++i) {
    unsigned char c = data[i];
    bool lf_after_cr = after_cr_ && c == kLf;
    after_cr_ = c == kCr;
    if (lf_after_cr) {
      // The second half of CR LF: the line was answered at the CR.
      if (engine_->echo()) out += static_cast<char>(c);
      continue;
    }
    if (c == kCr || c == kLf) {
      if (engine_->echo()) out += static_cast<char>(c);
      if (overflow_) {
        out += engine_->Refuse(Verdict::Cme(CmeError::kTextTooLong));
      } else {
        // The echo of ATE0's own line is already out; its answer follows without echo.
        out += engine_->Execute(line_);
      }
      line_.clear();
      overflow_ = false;
      continue;
    }
    if (c == kBackspace || c == kDelete) {
      if (!line_.empty() && !overflow_) {
        line_.pop_back();
        if (engine_->echo()) out += "\b \b";
      }
      continue;
    }
    if (overflow_) continue;
    if (line_.size() == kMaxLine) {
      overflow_ = true;
      continue;
    }
    line_ += static_cast<char>(c);
    if (engine_->echo()) out += static_cast<char>(c);
  }
  return out;
}

void AtSession::Hangup() {
  line_.clear();
  overflow_ = false;
  after_cr_ = false;
}

}  // namespace orba::at
