// orbafactory: the factory test library from a shell, one family of test steps per subcommand.

#include <stdio.h>
#include <stdlib.h>

#include <string>

#include "build_version.h"
#include "command.h"
#include "command_lookup.h"
#include "completion.h"
#include "device_check.h"
#include "help.h"
#include "options.h"
#include "reply.h"

namespace {

using orba::cli::Args;
using orba::cli::Command;
using orba::cli::Family;
using orba::cli::Reply;

bool IsHelpWord(const std::string& word) { return word == "help"; }

// Every way of asking for help, answered on stdout with exit 0 and before any device is looked
// for: `help [FAMILY [COMMAND]]`, `FAMILY help [COMMAND]`, and -h/--help anywhere, which shows
// the help of whatever family and command the line names.
bool WantsHelp(const orba::cli::Invocation& inv) {
  const Args& w = inv.words;
  return inv.help || (!w.empty() && IsHelpWord(w[0])) || (w.size() >= 2 && IsHelpWord(w[1]));
}

int Help(Reply& reply, const orba::cli::Invocation& inv) {
  Args names = inv.words;
  if (!names.empty() && IsHelpWord(names[0])) {
    names.erase(names.begin());
    if (names.size() > 2) {
      return orba::cli::Error(reply, orba::cli::kUsage, "usage: orbafactory help [FAMILY [COMMAND]]");
    }
  } else if (names.size() >= 2 && IsHelpWord(names[1])) {
    names.erase(names.begin() + 1);
  }
  const size_t width = orba::cli::HelpWidth();
  if (names.empty()) {
    orba::cli::PrintToolHelp(stdout, width);
    return orba::cli::kOk;
  }
  const Family* family = orba::cli::RequireFamily(reply, names[0]);
  if (family == nullptr) return orba::cli::kUsage;
  // Past the family, a direct family's words are its arguments, not a command's name.
  if (names.size() == 1 || orba::cli::IsDirect(*family)) {
    orba::cli::PrintFamilyHelp(stdout, *family, width);
    return orba::cli::kOk;
  }
  const Command* command = orba::cli::RequireCommand(reply, *family, names[1]);
  if (command == nullptr) return orba::cli::kUsage;
  orba::cli::PrintCommandHelp(stdout, *family, *command, width);
  return orba::cli::kOk;
}

int Version(Reply& reply, bool json) {
  if (!json) {
    printf("%s\n", orba::tools::VersionLine("orbafactory").c_str());
    return orba::cli::kOk;
  }
  reply.Answer({{"program", "orbafactory"},
                {"version", orba::tools::BuildVersion()},
                {"git", orba::tools::BuildGitId()}});
  return orba::cli::kOk;
}

// `completion bash`: a command of the front end rather than a family, so it is kept out of the
// family list (and needs no device).
int Completion(Reply& reply, const Args& words) {
  if (words.size() != 2 || words[1] != "bash") {
    return orba::cli::Error(reply, orba::cli::kUsage,
                            "usage: orbafactory completion bash (the only shell it writes for)");
  }
  fputs(orba::cli::BashCompletionScript().c_str(), stdout);
  return orba::cli::kOk;
}

int Run(Reply& reply, const orba::cli::Invocation& inv) {
  const Args& words = inv.words;
  if (words.empty()) {
    // A person gets the whole help; a script asked for one JSON object.
    if (inv.json) {
      return orba::cli::Error(reply, orba::cli::kUsage,
                              "no family given (see orbafactory help)");
    }
    orba::cli::PrintToolHelp(stderr, orba::cli::HelpWidth());
    return orba::cli::kUsage;
  }
  const Family* family = orba::cli::RequireFamily(reply, words[0]);
  if (family == nullptr) return orba::cli::kUsage;
  const bool direct = orba::cli::IsDirect(*family);
  if (!direct && words.size() == 1) {
    if (inv.json) {
      return orba::cli::Error(reply, orba::cli::kUsage,
                              "orbafactory %s needs a command (see orbafactory help %s)",
                              family->name, family->name);
    }
    orba::cli::PrintFamilyHelp(stderr, *family, orba::cli::HelpWidth());
    return orba::cli::kUsage;
  }
  const Command* command =
      direct ? &family->commands[0] : orba::cli::RequireCommand(reply, *family, words[1]);
  if (command == nullptr) return orba::cli::kUsage;
  const Args args(words.begin() + (direct ? 1 : 2), words.end());
  const int count = static_cast<int>(args.size());
  if (count < command->min_args || (command->max_args >= 0 && count > command->max_args)) {
    return orba::cli::Error(reply, orba::cli::kUsage, "usage: orbafactory %s",
                            orba::cli::CommandLine(*family, *command).c_str());
  }
  orba::cli::CaptureLibraryLog(inv.verbose);
  orba::cli::HandleInterrupts();
  if (const int code = orba::cli::CheckDevice(reply, args); code != orba::cli::kOk) return code;
  const int code = command->run(args, reply);
  reply.End(code);
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  orba::cli::Invocation inv;
  std::string problem;
  const bool parsed = orba::cli::ParseCommandLine(argc, argv, &inv, &problem);
  orba::cli::TextReply text;
  orba::cli::JsonReply json;
  Reply& reply = inv.json ? static_cast<Reply&>(json) : text;
  if (!parsed) {
    return orba::cli::Error(reply, orba::cli::kUsage, "%s (see orbafactory --help)",
                            problem.c_str());
  }
  if (inv.has_root) setenv("ORBA_DEVICE_ROOT", inv.root.c_str(), 1);
  if (inv.version) return Version(reply, inv.json);
  if (!inv.words.empty() && inv.words[0] == "completion") return Completion(reply, inv.words);
  if (WantsHelp(inv)) return Help(reply, inv);
  return Run(reply, inv);
}
