#ifndef ORBA_SIM_ATCID_AT_COMMAND_LINE_H
#define ORBA_SIM_ATCID_AT_COMMAND_LINE_H

// A command line as the station typed it ("AT", then basic commands such as E0 or I and
// extended ones such as +CMEE=2, the extended ones separated by ";"), split into the commands
// it holds. Syntax only: whether a command exists is the command table's business.

#include <string>
#include <vector>

namespace orba::at {

enum class Form {
  kAction,  // +NAME, or a basic command
  kTest,    // +NAME=?
  kRead,    // +NAME?
  kSet,     // +NAME=args
};

struct Request {
  std::string name;                // upper case: "+CMEE", "E", "I"
  Form form = Form::kAction;
  std::vector<std::string> args;   // set form: the values, quotes removed ("" for an empty one)
  std::string raw_args;            // set form: the text after "=", exactly as typed
  // The command as a line of its own ("AT+NAME=raw_args", "ATE1"), for translators that match
  // whole command texts.
  std::string Text() const;
};

struct CommandLine {
  bool empty = false;              // nothing but blanks: no answer at all
  bool valid = false;              // false: not an AT command line, or bad syntax
  std::vector<Request> requests;
};

CommandLine ParseCommandLine(const std::string& line);

}  // namespace orba::at

#endif
