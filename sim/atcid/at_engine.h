#ifndef ORBA_SIM_ATCID_AT_ENGINE_H
#define ORBA_SIM_ATCID_AT_ENGINE_H

// The command table and the settings a station changes for the rest of its session (echo,
// error reporting). It takes one command line and gives back the exact bytes of its answer;
// it knows nothing of terminals, so it is tested without one.

#include <functional>
#include <string>
#include <vector>

#include "at_command_line.h"
#include "at_response.h"
#include "at_sink.h"

namespace orba::at {

using Handler = std::function<Verdict(const Request&, Sink&)>;

class AtEngine {
 public:
  // With the commands of the line itself: E (echo) and +CMEE (error reporting).
  AtEngine();

  // `name` as the parser gives it ("+CGMI", "I"). A later entry of the same name wins.
  void Add(const std::string& name, Handler handler);
  // Every extended command whose name starts with `prefix` (a family translated as a whole).
  void AddFamily(const std::string& prefix, Handler handler);

  // Runs the commands of a line in order, stopping at the first that fails, and returns the
  // answer: information responses, then one final result code. "" for a blank line.
  std::string Execute(const std::string& line);
  // The answer to a line too long to take.
  std::string Refuse(const Verdict& verdict) const { return FinalResult(verdict, cmee_); }

  bool echo() const { return echo_; }
  CmeeMode cmee() const { return cmee_; }

 private:
  const Handler* Find(const std::string& name) const;
  Verdict Echo(const Request& req);
  Verdict Cmee(const Request& req, Sink& sink);

  struct Entry {
    std::string name;
    bool family;
    Handler handler;
  };
  std::vector<Entry> entries_;
  bool echo_ = true;  // V.250's factory default
  CmeeMode cmee_ = CmeeMode::kOff;
};

}  // namespace orba::at

#endif
