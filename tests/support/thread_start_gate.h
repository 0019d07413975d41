#ifndef ORBA_TESTS_SUPPORT_THREAD_START_GATE_H
#define ORBA_TESTS_SUPPORT_THREAD_START_GATE_H

// A test binary linked with thread_start_gate.cpp (and its exports on, so the library binds to
// it) starts every thread through its own pthread_create, which forwards to the real one. While
// a ThreadStartGate lives it can force the interleavings a race needs, without any sleep:
//  - hold threads running a given exported function at their start until the test opens the
//    gate (a close thread that starts late);
//  - refuse the thread starts the arming thread asks for after the first few (a system out of
//    threads halfway through a step).
// Threads it holds or lets through under a refusal rule are watched: the gate counts how many
// were started and how many have returned, so a test can wait for exactly those.

namespace orba::test {

class ThreadStartGate {
 public:
  ThreadStartGate();
  // Opens the gate and forgets every rule; threads still watched run on.
  ~ThreadStartGate();
  ThreadStartGate(const ThreadStartGate&) = delete;
  ThreadStartGate& operator=(const ThreadStartGate&) = delete;

  // Threads whose start routine is the exported function `routine` wait at their start.
  void Hold(const char* routine);
  // Lets every held thread, and every later one, run.
  void Open();
  // Of the starts this thread asks for from now on, the first `allowed` go ahead (watched) and
  // every later one fails with EAGAIN.
  void RefuseStartsAfter(int allowed);

  // Wait until `n` watched threads were started / have returned; false when `limit_ms` passed.
  bool WaitStarted(int n, int limit_ms);
  bool WaitFinished(int n, int limit_ms);
  int started() const;
  int finished() const;
};

}  // namespace orba::test

#endif
