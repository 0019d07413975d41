#ifndef ORBA_TESTS_SUPPORT_RECORDING_REPLY_H
#define ORBA_TESTS_SUPPORT_RECORDING_REPLY_H

// A Reply that keeps everything a command hands it, for tests that check a command's typed
// answers without a front end: run the command from the table (orba::cli::Families()) with one,
// then look at the answers' field names and kinds.

#include <string>
#include <vector>

#include "reply.h"

namespace orba::testing {

class RecordingReply : public orba::cli::Reply {
 public:
  struct Failed {
    int code;
    std::string message;
    std::string details;
  };

  void Answer(const orba::cli::Fields& fields) override { answers.push_back(fields); }
  void Record(const orba::cli::Fields& fields) override { records.push_back(fields); }
  void Stream(std::string_view bytes) override { stream.append(bytes); }
  void Note(std::string_view line) override { notes.emplace_back(line); }
  int Failure(int code, std::string_view message, std::string_view details) override {
    failures.push_back({code, std::string(message), std::string(details)});
    return code;
  }

  // The field of that name in answer `i`, or nullptr.
  const orba::cli::Value* Find(size_t i, const std::string& name) const {
    if (i >= answers.size()) return nullptr;
    for (const orba::cli::Field& f : answers[i]) {
      if (f.name == name) return &f.value;
    }
    return nullptr;
  }

  std::vector<orba::cli::Fields> answers;
  std::vector<orba::cli::Fields> records;
  std::string stream;
  std::vector<std::string> notes;
  std::vector<Failed> failures;
};

}  // namespace orba::testing

#endif
