#ifndef ORBA_SIM_ATCID_AT_REPLY_H
#define ORBA_SIM_ATCID_AT_REPLY_H

// A command of the shared command table answering over the serial line. What it hands over
// becomes information responses behind the family's "+NAME: " prefix, in 27.007's way of writing
// values (strings quoted, numbers bare), and its failure becomes the final result code:
//
//   Answer({{"item","gsensor_cali"},{"state",1}})   +CALI: "gsensor_cali",1
//   Record({{"sn","ORBA..."}})                      +NV: "sn","ORBA..."
//   Stream("a\nb\n")                                +FILE: a  /  +FILE: b
//   Failure(kUsage, "...")                          +CME ERROR: 50, the message as its text
//   Failure(kFailed, "...")                         +CME ERROR: 100, the library's report
//   Failure(kNoDevice, "...")                       +CME ERROR: 0 (phone failure)
//
// Streamed lines keep the prefix too: a line of a file that reads "OK" must not end the answer
// early for the station. Notes are for a person at a keyboard; the daemon logs them.

#include <string>
#include <string_view>

#include "at_sink.h"
#include "reply.h"

namespace orba::at {

class AtReply : public orba::cli::Reply {
 public:
  // `prefix` is the information responses' "+NAME" ("+NV").
  AtReply(std::string prefix, Sink* sink) : prefix_(std::move(prefix)), sink_(sink) {}

  void Answer(const orba::cli::Fields& fields) override;
  void Record(const orba::cli::Fields& fields) override;
  void Stream(std::string_view bytes) override;
  void Note(std::string_view line) override;
  int Failure(int code, std::string_view message, std::string_view details) override;
  void End(int code) override;

  // The final result for the exit code the command returned (after End).
  Verdict verdict() const { return verdict_; }

  // One value as 27.007 writes it in an information response.
  static std::string AtValue(const orba::cli::Value& value);

 private:
  void Line(std::string_view body);

  std::string prefix_;
  Sink* sink_;
  std::string partial_;  // a streamed line still waiting for its end
  bool failed_ = false;  // the first failure is the verdict; later ones only add to the log
  Verdict verdict_;
};

}  // namespace orba::at

#endif
