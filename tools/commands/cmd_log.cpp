// orbafactory log: factory log capture and the device's log-collection apps.

#include <stdio.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <string>

#include <orbafactory/persist.h>
#include <platform/devpath.h>

#include "command.h"

namespace {

using orba::cli::Args;

constexpr const char kAdbLog[] = "/data/vendor/engineermode/last_factory_adb.log";
constexpr const char kKernelLog[] = "/data/vendor/engineermode/last_factory_kernel.log";

long SizeOf(const char* device_path) {
  struct stat st;
  return stat(DevPath(device_path), &st) == 0 ? static_cast<long>(st.st_size) : -1;
}

int Start(const Args& args, orba::cli::Reply& reply) {
  long seconds = 0;
  if (!args.empty() &&
      !orba::cli::ParseIntIn(reply, args[0], "log start SECONDS", 1, 86400, &seconds)) {
    return orba::cli::kUsage;
  }
  // The capture threads live in this process, so it stays until interrupted or for SECONDS.
  orba::cli::InterruptStops stop;
  if (open_factory_log() != 0) {
    return orba::cli::Fail(reply, "log start: capture threads not started");
  }
  const bool progress = reply.Interactive();
  reply.Note(orba::cli::Format("capturing into %s and %s; %s", kAdbLog, kKernelLog,
                               seconds > 0 ? "stops after the given time" : "Ctrl-C stops"));
  const time_t end = seconds > 0 ? time(nullptr) + seconds : 0;
  for (;;) {
    if (stop.Wait(std::chrono::seconds(1))) break;
    if (progress) {
      fprintf(stderr, "\r  logcat %ld bytes, kernel %ld bytes   ", SizeOf(kAdbLog),
              SizeOf(kKernelLog));
    }
    if (end != 0 && time(nullptr) >= end) break;
  }
  if (progress) fputc('\n', stderr);
  for (const char* log : {kAdbLog, kKernelLog})
    reply.Answer({{"path", log}, {"size", SizeOf(log)}});
  return orba::cli::kOk;
}

int Clear(const Args& args, orba::cli::Reply& reply) {
  std::string dir = args.empty() ? "/data/vendor/engineermode" : args[0];
  if (clear_factory_log(dir.c_str()) != 0) {
    return orba::cli::FailPaths(reply, {{dir, orba::cli::PathUse::kDirectory, false}},
                                "log clear: files still exist in %s", dir.c_str());
  }
  reply.Answer({{"state", "cleared"}});
  return orba::cli::kOk;
}

int Ctrl(const Args& args, orba::cli::Reply& reply) {
  if (args[0] == "clear") return clear_qzt_Log() ? orba::cli::kOk : orba::cli::kFailed;
  long type = 0;
  if (!orba::cli::ParseInt(reply, args[0], "type", &type)) return orba::cli::kUsage;
  // A start is skipped while the log app already runs; a stop always goes out.
  int running = type > 0 ? is_orbalog_running() : 0;
  if (running) {
    reply.Answer({{"state", "running"}});
    return orba::cli::kOk;
  }
  return control_orba_Log(running, type) ? orba::cli::kOk : orba::cli::kFailed;
}

int Exception(const Args& args, orba::cli::Reply& reply) {
  long type = 0;
  if (!orba::cli::ParseInt(reply, args[0], "type", &type)) return orba::cli::kUsage;
  return open_ex_log(is_orbalog_running(), type) ? orba::cli::kOk : orba::cli::kFailed;
}

int Status(const Args&, orba::cli::Reply& reply) {
  reply.Answer({{"running", is_orbalog_running() != 0}});
  return orba::cli::kOk;
}

const orba::cli::Family kLog{
    "log",
    "factory log capture and the log-collection apps",
    {
        {"start", "[SECONDS]",
         "capture logcat and the kernel log until Ctrl-C (or SECONDS, 1 to 86400); answers each "
         "capture file's path and size",
         0, 1, Start, "log start 10"},
        {"clear", "[DIR]",
         "remove the capture files (DIR other than /data/vendor/engineermode: the cache logs); "
         "answers cleared",
         0, 1, Clear, "log clear"},
        {"ctrl", "TYPE|clear",
         "start log TYPE in the log apps (0 stops them; a positive TYPE is the log app's log "
         "type, 1 and 7 also start the platform logger; clear empties them); answers running "
         "when a start finds them collecting",
         1, 1, Ctrl, "log ctrl 1"},
        {"exception", "TYPE", "start the exception log of TYPE (the log app's exception type)", 1,
         1, Exception, "log exception 1"},
        {"status", "", "whether the log app is collecting: true or false", 0, 0, Status,
         "log status"},
    }};
orba::cli::Registrar registrar(kLog);

}  // namespace
