#ifndef ORBA_SIM_EM_CALL_LOG_H
#define ORBA_SIM_EM_CALL_LOG_H

// What the engineer-mode side received, for tests to inspect: /data/sim/em_calls in the device
// root, one call a line, fields separated by tabs:
//
//   doAction            ACTION ARG1 ARG2 ARG3 RESULT(0|1)
//   sendToEngineer      EDITION_TAG MESSAGE REPLY      (tag "" when no edition is registered)
//   sendToUserEngineer  EDITION_TAG MESSAGE REPLY
//   checkCallback       EDITION_TAG RESULT
//   testMicEcho         MODE REPLY
//   camera              REQUEST REPLY
//   fingerprint         REQUEST REPLY
//   atcid               REQUEST REPLY
//
// Tabs, line feeds and backslashes inside a field are written as "\t", "\n" and "\\", so each
// call stays on its own line. Lines are appended whole, so concurrent calls never interleave.

#include <initializer_list>
#include <string>

namespace orba::sim {

constexpr const char kEmCalls[] = "/data/sim/em_calls";

void RecordCall(std::initializer_list<std::string> fields);

}  // namespace orba::sim

#endif
