#include "interrupt.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace orba::cli {
namespace {

struct Entry {
  unsigned long id;
  std::string what;
  std::function<void()> action;
};

// Leaked on purpose: the watcher may still run undos while static destruction has begun.
std::mutex& Mutex() {
  static auto* m = new std::mutex;
  return *m;
}
std::vector<Entry>& Entries() {
  static auto* entries = new std::vector<Entry>;
  return *entries;
}
unsigned long g_next_id = 1;
std::atomic<bool> g_interrupted{false};

// A step that an interrupt ends as a normal stop: the watcher wakes it instead of ending the
// process. Guarded by Mutex().
std::condition_variable& StopWoken() {
  static auto* cv = new std::condition_variable;
  return *cv;
}
int g_stop_holders = 0;
bool g_stop_requested = false;

sigset_t Interrupts() {
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, SIGINT);
  sigaddset(&set, SIGTERM);
  return set;
}

// The signals stay blocked in every thread and are taken here, synchronously: a handler would
// have to interrupt whichever thread the kernel picked, and a thread parked in a blocking call
// (waiting on the device's service) is exactly where a deferred handler never runs.
[[noreturn]] void Watch() {
  const sigset_t set = Interrupts();
  int sig = 0;
  for (;;) {
    siginfo_t info;
    sig = sigwaitinfo(&set, &info);
    if (sig < 0) continue;
    std::lock_guard<std::mutex> lock(Mutex());
    if (g_stop_holders == 0) break;
    g_stop_requested = true;
    StopWoken().notify_all();
  }
  g_interrupted = true;
  {
    // Held until the process ends: a step finishing meanwhile cannot drop an undo half-run,
    // and a second signal finds nothing new to do.
    Mutex().lock();
    std::vector<Entry>& entries = Entries();
    for (auto it = entries.rbegin(); it != entries.rend(); ++it) {
      fprintf(stderr, "orbafactory: interrupted: %s\n", it->what.c_str());
      it->action();
    }
  }
  fflush(stdout);
  fflush(stderr);
  // Ends by the same signal, so the caller's shell sees what ended it.
  signal(sig, SIG_DFL);
  sigset_t one;
  sigemptyset(&one);
  sigaddset(&one, sig);
  raise(sig);
  pthread_sigmask(SIG_UNBLOCK, &one, nullptr);
  _exit(128 + sig);
}

}  // namespace

void HandleInterrupts() {
  // Before any thread starts, so every later thread (the library's too) inherits the mask;
  // children get a clean mask from the spawn helper.
  const sigset_t set = Interrupts();
  if (pthread_sigmask(SIG_BLOCK, &set, nullptr) != 0) return;
  std::thread(Watch).detach();
}

void HoldIfInterrupted() {
  while (g_interrupted.load()) pause();
}

Undo::Undo(std::string what, std::function<void()> action) {
  std::lock_guard<std::mutex> lock(Mutex());
  id_ = g_next_id++;
  Entries().push_back({id_, std::move(what), std::move(action)});
}

Undo::~Undo() {
  std::lock_guard<std::mutex> lock(Mutex());
  std::vector<Entry>& entries = Entries();
  for (auto it = entries.begin(); it != entries.end(); ++it) {
    if (it->id == id_) {
      entries.erase(it);
      break;
    }
  }
}

InterruptStops::InterruptStops() {
  std::lock_guard<std::mutex> lock(Mutex());
  ++g_stop_holders;
  g_stop_requested = false;
}

InterruptStops::~InterruptStops() {
  std::lock_guard<std::mutex> lock(Mutex());
  --g_stop_holders;
}

bool InterruptStops::Wait(std::chrono::milliseconds timeout) {
  std::unique_lock<std::mutex> lock(Mutex());
  return StopWoken().wait_for(lock, timeout, [] { return g_stop_requested; });
}

}  // namespace orba::cli
