#include "support/thread_start_gate.h"

#include <dlfcn.h>
#include <errno.h>
#include <pthread.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>

namespace orba::test {
namespace {

using StartRoutine = void* (*)(void*);
using CreateFn = int (*)(pthread_t*, const pthread_attr_t*, StartRoutine, void*);

struct Rules {
  std::mutex mutex;
  std::condition_variable changed;
  std::string hold_routine;  // empty: nothing is held
  bool open = true;
  bool refusing = false;
  pthread_t refusing_thread{};
  int allowed = 0;
  int started = 0;
  int finished = 0;
};

Rules& State() {
  static Rules* rules = new Rules;  // never destroyed: watched threads may outlive main
  return *rules;
}

CreateFn RealCreate() {
  static CreateFn real = reinterpret_cast<CreateFn>(dlsym(RTLD_NEXT, "pthread_create"));
  return real;
}

struct Watched {
  StartRoutine routine;
  void* arg;
  bool held;
};

void* RunWatched(void* p) {
  Watched w = *static_cast<Watched*>(p);
  delete static_cast<Watched*>(p);
  Rules& s = State();
  if (w.held) {
    std::unique_lock<std::mutex> lock(s.mutex);
    s.changed.wait(lock, [&] { return s.open; });
  }
  void* result = w.routine(w.arg);
  {
    std::lock_guard<std::mutex> lock(s.mutex);
    ++s.finished;
  }
  s.changed.notify_all();
  return result;
}

bool IsExported(StartRoutine routine, const std::string& name) {
  Dl_info info{};
  return dladdr(reinterpret_cast<void*>(routine), &info) != 0 && info.dli_sname != nullptr &&
         info.dli_saddr == reinterpret_cast<void*>(routine) && name == info.dli_sname;
}

int GatedCreate(pthread_t* thread, const pthread_attr_t* attr, StartRoutine routine, void* arg) {
  Rules& s = State();
  bool watched = false;
  bool held = false;
  {
    std::lock_guard<std::mutex> lock(s.mutex);
    if (s.refusing && pthread_equal(s.refusing_thread, pthread_self())) {
      if (s.allowed == 0) return EAGAIN;
      --s.allowed;
      watched = true;
    }
    if (!s.hold_routine.empty() && IsExported(routine, s.hold_routine)) {
      watched = true;
      held = true;
    }
  }
  if (!watched) return RealCreate()(thread, attr, routine, arg);
  auto* w = new Watched{routine, arg, held};
  int rc = RealCreate()(thread, attr, RunWatched, w);
  if (rc != 0) {
    delete w;
    return rc;
  }
  {
    std::lock_guard<std::mutex> lock(s.mutex);
    ++s.started;
  }
  s.changed.notify_all();
  return 0;
}

bool WaitCount(const int Rules::*count, int n, int limit_ms) {
  Rules& s = State();
  std::unique_lock<std::mutex> lock(s.mutex);
  return s.changed.wait_for(lock, std::chrono::milliseconds(limit_ms),
                            [&] { return s.*count >= n; });
}

}  // namespace

ThreadStartGate::ThreadStartGate() {
  Rules& s = State();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.hold_routine.clear();
  s.open = true;
  s.refusing = false;
  s.started = 0;
  s.finished = 0;
}

ThreadStartGate::~ThreadStartGate() {
  Rules& s = State();
  {
    std::lock_guard<std::mutex> lock(s.mutex);
    s.hold_routine.clear();
    s.open = true;
    s.refusing = false;
  }
  s.changed.notify_all();
}

void ThreadStartGate::Hold(const char* routine) {
  Rules& s = State();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.hold_routine = routine;
  s.open = false;
}

void ThreadStartGate::Open() {
  Rules& s = State();
  {
    std::lock_guard<std::mutex> lock(s.mutex);
    s.open = true;
  }
  s.changed.notify_all();
}

void ThreadStartGate::RefuseStartsAfter(int allowed) {
  Rules& s = State();
  std::lock_guard<std::mutex> lock(s.mutex);
  s.refusing = true;
  s.refusing_thread = pthread_self();
  s.allowed = allowed;
}

bool ThreadStartGate::WaitStarted(int n, int limit_ms) { return WaitCount(&Rules::started, n, limit_ms); }
bool ThreadStartGate::WaitFinished(int n, int limit_ms) {
  return WaitCount(&Rules::finished, n, limit_ms);
}

int ThreadStartGate::started() const {
  Rules& s = State();
  std::lock_guard<std::mutex> lock(s.mutex);
  return s.started;
}

int ThreadStartGate::finished() const {
  Rules& s = State();
  std::lock_guard<std::mutex> lock(s.mutex);
  return s.finished;
}

}  // namespace orba::test

// Every thread of the test binary starts here; without a rule it is the C library's own start.
extern "C" __attribute__((visibility("default"))) int pthread_create(
    pthread_t* thread, const pthread_attr_t* attr, void* (*routine)(void*), void* arg) {
  return orba::test::GatedCreate(thread, attr, routine, arg);
}
