#ifndef ORBA_SIM_ATCID_AT_RESPONSE_H
#define ORBA_SIM_ATCID_AT_RESPONSE_H

// How answers look on the line: V.250 verbose responses, each framed by CR LF before and after,
// and the final result code as +CMEE chose (0: "ERROR" only; 1: the numeric code; 2: the text,
// the library's own report where it filled one).

#include <string>
#include <string_view>

#include "at_sink.h"

namespace orba::at {

enum class CmeeMode { kOff = 0, kNumeric = 1, kVerbose = 2 };

// Frames information lines into `out` as they arrive.
class ResponseSink : public Sink {
 public:
  explicit ResponseSink(std::string* out) : out_(out) {}
  void Info(std::string_view line) override;

 private:
  std::string* out_;
};

// The final result code line, framed.
std::string FinalResult(const Verdict& verdict, CmeeMode mode);

}  // namespace orba::at

#endif
