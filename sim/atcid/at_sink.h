#ifndef ORBA_SIM_ATCID_AT_SINK_H
#define ORBA_SIM_ATCID_AT_SINK_H

// The seam between a test step and whoever asked for it. A command never prints: it hands its
// information lines to a Sink and returns a Verdict. The AT daemon's sink frames the lines as
// V.250 information responses and the verdict as the final result code ("OK", "ERROR",
// "+CME ERROR: ..."); a command-line sink would print the lines to stdout and turn the verdict
// into an exit status. So one command table can be served over the serial line and from a shell
// alike, and a command written for one transport is already written for the other.
//
// A library call that fills an error report (the err_out buffer of the foundation's reporters)
// hands that report on as the verdict's text: it is what the station reads after
// "+CME ERROR: " in verbose mode, and what a shell user would read on stderr.

#include <string>
#include <string_view>
#include <utility>

namespace orba::at {

// The mobile-equipment error codes this daemon answers with (3GPP TS 27.007, 9.2).
enum class CmeError {
  kPhoneFailure = 0,
  kNotAllowed = 3,
  kNotSupported = 4,
  kTextTooLong = 24,
  kIncorrectParameters = 50,
  kUnknown = 100,
};

// The standard verbose text of a code, as +CMEE=2 shows it when no report says more.
const char* CmeErrorText(CmeError code);

struct Verdict {
  enum class Kind {
    kOk,     // the step did what was asked
    kError,  // the command line itself was wrong (unknown command, bad syntax): plain ERROR
    kCme,    // the step failed: +CME ERROR with a code and, where known, the library's report
  };
  Kind kind = Kind::kOk;
  CmeError code = CmeError::kUnknown;
  std::string text;  // the library's report; empty: the code's standard text

  static Verdict Ok() { return {}; }
  static Verdict Error() { return {Kind::kError, CmeError::kUnknown, {}}; }
  static Verdict Cme(CmeError code, std::string text = {}) {
    return {Kind::kCme, code, std::move(text)};
  }
  bool ok() const { return kind == Kind::kOk; }
};

class Sink {
 public:
  virtual ~Sink() = default;
  // One information line, without any line end.
  virtual void Info(std::string_view line) = 0;
};

}  // namespace orba::at

#endif
