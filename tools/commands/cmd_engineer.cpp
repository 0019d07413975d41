// orbafactory em: the engineer-mode apps, as test steps reach them.

#include <stdio.h>
#include <string.h>

#include <string>
#include <vector>

#include <orbafactory/engineer.h>

#include <android-base/strings.h>

#include "command.h"

namespace {

using orba::cli::Args;
using orba::cli::kFailed;
using orba::cli::kOk;

const char* Arg(const Args& args, size_t i) { return i < args.size() ? args[i].c_str() : ""; }

// The app answers "error" to a request it could not carry out; that is the step failing.
int PrintReply(orba::cli::Reply& reply, const char* what, const char* answer) {
  if (answer == nullptr) return orba::cli::Fail(reply, "%s: no reply", what);
  reply.Answer({{"reply", answer}});
  if (strcmp(answer, "error") == 0) {
    return orba::cli::Error(reply, kFailed, "%s: the engineer-mode app answered error", what);
  }
  return kOk;
}

int Send(const Args& args, orba::cli::Reply& reply) {
  return PrintReply(reply, "em send", sendMessage(android::base::Join(args, ' ').c_str()));
}
int UserSend(const Args& args, orba::cli::Reply& reply) {
  return PrintReply(reply, "em user-send", sendUserMessage(android::base::Join(args, ' ').c_str()));
}

// The app actions by the names stations use, each with up to three arguments.
struct Action {
  const char* name;
  bool (*run)(const char*, const char*, const char*);
};

const Action kActions[] = {
    {"start-activity", startActivityFromAtcid}, {"stop-activity", stopActivityFromAtcid},
    {"start-service", startServiceFromAtcid},   {"stop-service", stopServiceFromAtcid},
    {"broadcast", sendBroadcastFromAtcid},
};

int RunAction(const Args& args, orba::cli::Reply& reply) {
  for (const Action& a : kActions) {
    if (args[0] != a.name) continue;
    if (!a.run(Arg(args, 1), Arg(args, 2), Arg(args, 3))) {
      return orba::cli::Fail(reply, "em action %s: refused or no engineer-mode service", a.name);
    }
    reply.Answer({{"state", "done"}});
    return kOk;
  }
  std::string names;
  for (const Action& a : kActions) names += std::string(names.empty() ? "" : ", ") + a.name;
  return orba::cli::Error(reply, orba::cli::kUsage, "em action: no action '%s' (one of: %s)",
                          args[0].c_str(), names.c_str());
}

int Running(const Args& args, orba::cli::Reply& reply) {
  bool running = isServiceWork(args[0].c_str());
  reply.Answer({{"running", running}});
  if (running) return kOk;
  return orba::cli::Error(reply, kFailed, "em running: %s does not run", args[0].c_str());
}

int Edition(const Args& args, orba::cli::Reply& reply) {
  bool ready = OrbaEmcheckCallback(args[0].c_str());
  reply.Answer({{"ready", ready}});
  if (ready) return kOk;
  return orba::cli::Error(reply, kFailed, "em edition: %s has not registered its callback",
                          args[0].c_str());
}

std::vector<std::string> ActionNames(size_t index) {
  if (index != 0) return {};
  std::vector<std::string> names;
  for (const Action& a : kActions) names.emplace_back(a.name);
  return names;
}

// The tags the engineer-mode editions register their message callbacks under.
std::vector<std::string> EditionTags(size_t index) {
  if (index != 0) return {};
  return {"EngineerMode", "userEngineerMode", "aftersaleEngineerMode"};
}

const orba::cli::Family kEm{
    "em",
    "the engineer-mode apps: messages and actions",
    {
        {"send", "MESSAGE...",
         "send a request to the running engineer-mode edition and print its reply (exit 1 when "
         "it answers error)",
         1, -1, Send, "em send get_lcm_refreshrate max"},
        {"user-send", "MESSAGE...",
         "send a request to the user edition and print its reply (exit 1 when it answers error)", 1,
         -1, UserSend, "em user-send get_lcm_refreshrate current"},
        {"action", "ACTION [COMPONENT [ARG [ARG]]]",
         "ask the engineer-mode service to start-activity, stop-activity, start-service, "
         "stop-service or broadcast; answers done",
         1, 4, RunAction, "em action start-service com.orba.engineermode/.FactoryTestService",
         ActionNames},
        {"running", "SERVICE_CLASS", "whether an app service runs: true or false (exit 1 when not)",
         1, 1, Running, "em running com.xole.engineermode.socketcommand.SocketReceiverService"},
        {"edition", "TAG",
         "whether an edition's app answers, TAG one of EngineerMode, userEngineerMode, "
         "aftersaleEngineerMode: true or false (exit 1 when not)",
         1, 1, Edition, "em edition EngineerMode", EditionTags},
    }};
orba::cli::Registrar em_registrar(kEm);

}  // namespace
