#include "family_commands.h"

#include <ctype.h>

#include <string>

#include "at_reply.h"
#include "command.h"

namespace orba::at {
namespace {

using orba::cli::Command;
using orba::cli::Family;

// The extended commands the line answers itself (the engine's, the identification commands) and
// the prefix of the camera's own AT commands, which the camera translator owns as a whole.
constexpr const char* kLineCommands[] = {"+CMEE", "+CGMI", "+CGMM", "+CGMR", "+CGSN"};
constexpr char kCameraPrefix[] = "+TQ_CCM_";

std::string Upper(std::string s) {
  for (char& c : s) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
  return s;
}

std::string Lower(std::string s) {
  for (char& c : s) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
  return s;
}

// Steps a station cannot be given, and why. Each reason names what to do instead.
struct Refusal {
  const char* family;
  const char* command;
  const char* reason;
};
constexpr Refusal kRefused[] = {
    {"log", "start",
     "log start captures until Ctrl-C, which the serial line has not: run orbafactory log start "
     "on the device, or capture with AT+LOG=CTRL,TYPE"},
    {"exec", "",
     "exec would give whoever holds the cable a shell on the device: use the file and prop "
     "commands"},
};

// Arguments that name the engineer's side of a shell session.
const char* HostOnlyArgument(const Command& command, const std::string& arg) {
  if (arg == "--image" || arg == "--write-back") {
    return "--image names a partition image on the engineer's host, which the phone cannot "
           "read: over the serial line the record is the device's own";
  }
  if (arg == "-" && std::string(command.args).find("|-") != std::string::npos) {
    return "- reads the engineer's standard input, which the serial line has not: give the "
           "text as the argument";
  }
  return nullptr;
}

const Command* FindCommand(const Family& family, const std::string& name) {
  for (const Command& command : family.commands) {
    if (name == command.name) return &command;
  }
  return nullptr;
}

// The command a family runs for its read form: its argument-free "get", or its only command.
const Command* ReadCommand(const Family& family) {
  const Command* get = FindCommand(family, "get");
  if (get != nullptr && get->min_args == 0) return get;
  const Command* only = FindCommand(family, "");
  if (only != nullptr && only->min_args == 0) return only;
  return nullptr;
}

// "GET,FIELD [VALUE]": the usage line of one command in the set form.
std::string Usage(const std::string& at_name, const Command& command) {
  std::string usage = "AT" + at_name;
  std::string args = command.args;
  if (command.name[0] != '\0') {
    usage += "=" + Upper(command.name);
    if (!args.empty()) usage += "," + args;
  } else if (!args.empty()) {
    usage += "=" + args;
  }
  return usage;
}

Verdict List(const std::string& at_name, const Family& family, Sink& sink) {
  for (const Command& command : family.commands) {
    AtReply reply(at_name, &sink);
    reply.Answer({{"command", Upper(command.name)}, {"args", command.args},
                  {"summary", command.summary}});
  }
  return Verdict::Ok();
}

Verdict Run(const std::string& at_name, const Family& family, const Command& command,
            const orba::cli::Args& args, Sink& sink) {
  for (const Refusal& refusal : kRefused) {
    if (family.name == std::string(refusal.family) && command.name == std::string(refusal.command)) {
      return Verdict::Cme(CmeError::kNotAllowed, refusal.reason);
    }
  }
  for (const std::string& arg : args) {
    if (const char* reason = HostOnlyArgument(command, arg)) {
      return Verdict::Cme(CmeError::kNotAllowed, reason);
    }
  }
  const int count = static_cast<int>(args.size());
  if (count < command.min_args || (command.max_args >= 0 && count > command.max_args)) {
    return Verdict::Cme(CmeError::kIncorrectParameters, "usage: " + Usage(at_name, command));
  }
  // Each step reports its own cause, not one an earlier step left behind.
  orba::cli::ClearLibraryError();
  AtReply reply(at_name, &sink);
  reply.End(command.run(args, reply));
  return reply.verdict();
}

Verdict Serve(const std::string& at_name, const Family& family, const Request& req, Sink& sink) {
  const Command* only = FindCommand(family, "");
  switch (req.form) {
    case Form::kTest:
      return List(at_name, family, sink);
    case Form::kRead:
      if (const Command* command = ReadCommand(family)) {
        return Run(at_name, family, *command, {}, sink);
      }
      return Verdict::Cme(CmeError::kNotSupported,
                          "AT" + at_name + "? reads nothing: AT" + at_name + "=? lists the commands");
    case Form::kAction:
      if (only != nullptr) return Run(at_name, family, *only, {}, sink);
      return Verdict::Cme(CmeError::kIncorrectParameters,
                          "AT" + at_name + " needs a command: AT" + at_name + "=? lists them");
    case Form::kSet:
      break;
  }
  if (only != nullptr) return Run(at_name, family, *only, req.args, sink);
  const std::string name = Lower(req.args.empty() ? std::string() : req.args[0]);
  const Command* command = name.empty() ? nullptr : FindCommand(family, name);
  if (command == nullptr) {
    return Verdict::Cme(CmeError::kIncorrectParameters,
                        "AT" + at_name + ": no command '" + req.args[0] + "': AT" + at_name +
                            "=? lists them");
  }
  return Run(at_name, family, *command, orba::cli::Args(req.args.begin() + 1, req.args.end()),
             sink);
}

}  // namespace

std::string FamilyCommandName(const char* family) {
  std::string name = "+" + Upper(family);
  for (const char* taken : kLineCommands) {
    if (name == taken) return "";
  }
  if (name.compare(0, sizeof(kCameraPrefix) - 1, kCameraPrefix) == 0) return "";
  return name;
}

void AddFamilyCommands(AtEngine* engine) {
  for (const Family* family : orba::cli::Families()) {
    std::string name = FamilyCommandName(family->name);
    if (name.empty()) continue;
    engine->Add(name, [name, family](const Request& req, Sink& sink) {
      return Serve(name, *family, req, sink);
    });
  }
}

}  // namespace orba::at
