#ifndef ORBA_SIM_ATCID_AT_SESSION_H
#define ORBA_SIM_ATCID_AT_SESSION_H

// The station's side of the line as a stream of bytes: assembles command lines from whatever
// arrives (CR, LF or CR LF ending a line, backspace taking back a character), echoes while echo
// is on, and answers each line through the engine. A line longer than kMaxLine is not taken:
// the rest of it is dropped up to its end and the station gets an error instead of an answer.

#include <stddef.h>

#include <string>

#include "at_engine.h"

namespace orba::at {

class AtSession {
 public:
  static constexpr size_t kMaxLine = 1024;

  explicit AtSession(AtEngine* engine) : engine_(engine) {}

  // Takes received bytes; returns what goes back on the line (echo and answers, in order).
  std::string Receive(const unsigned char* data, size_t size);
  // The station hung up: a half-typed line is dropped. Echo and +CMEE stay as set, as a
  // modem keeps them until reset.
  void Hangup();

 private:
  AtEngine* engine_;
  std::string line_;
  bool overflow_ = false;
  bool after_cr_ = false;
};

}  // namespace orba::at

#endif
