#include "interrupt.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
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

// The handler only writes the signal number; everything else happens on the watcher thread,
// where taking a lock and talking to the device are allowed.
int g_pipe[2] = {-1, -1};

void OnSignal(int sig) {
  const int saved = errno;
  unsigned char byte = static_cast<unsigned char>(sig);
  ssize_t ignored = write(g_pipe[1], &byte, 1);
  (void)ignored;
  errno = saved;
}

[[noreturn]] void Watch() {
  unsigned char byte = 0;
  while (read(g_pipe[0], &byte, 1) != 1) {
  }
  const int sig = byte;
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
  signal(sig, SIG_DFL);
  sigset_t set;
  sigemptyset(&set);
  sigaddset(&set, sig);
  pthread_sigmask(SIG_UNBLOCK, &set, nullptr);
  raise(sig);
  _exit(128 + sig);
}

}  // namespace

void HandleInterrupts() {
  if (pipe2(g_pipe, O_CLOEXEC) != 0) return;  // without it the signals keep their defaults
  // The watcher never takes the signals itself: a step that blocks them to wait for them
  // (log start) must get them, not the watcher.
  sigset_t both, old;
  sigemptyset(&both);
  sigaddset(&both, SIGINT);
  sigaddset(&both, SIGTERM);
  pthread_sigmask(SIG_BLOCK, &both, &old);
  std::thread(Watch).detach();
  pthread_sigmask(SIG_SETMASK, &old, nullptr);
  struct sigaction sa = {};
  sa.sa_handler = OnSignal;
  sa.sa_flags = SA_RESTART;
  sigemptyset(&sa.sa_mask);
  sigaction(SIGINT, &sa, nullptr);
  sigaction(SIGTERM, &sa, nullptr);
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

}  // namespace orba::cli
