#ifndef ORBA_TOOLS_COMMANDS_INTERRUPT_H
#define ORBA_TOOLS_COMMANDS_INTERRUPT_H

// What an interrupted step puts back. A step that changes the device for its own duration (a
// motor it starts, a refresh rate it switches, a child it leaves running on the device) holds an
// Undo while the change is in force; SIGINT or SIGTERM then runs every Undo held, newest first,
// says so on stderr, and ends the process by the same signal, so the caller's shell sees what
// ended it.
//
//   orba::cli::Undo stop("stop the rotary motor", [] { stop_motor_rotate(); });
//
// The undo runs on a thread of its own while the step's thread may still be inside the library:
// it must be safe to run beside the step (writing a stop, sending a message), and it is the last
// thing the process does.

#include <chrono>
#include <functional>
#include <string>

namespace orba::cli {

// Takes SIGINT and SIGTERM on a watcher thread of their own; main calls it once, before any other
// thread starts.
void HandleInterrupts();

// A step whose device calls return while an interrupt is being handled (the undo ended its
// remote child, stopped its motor) would report that as its own failure: it waits here instead
// for the process to end by the signal. Returns at once otherwise.
void HoldIfInterrupted();

class Undo {
 public:
  Undo(std::string what, std::function<void()> action);
  ~Undo();
  Undo(const Undo&) = delete;
  Undo& operator=(const Undo&) = delete;

 private:
  unsigned long id_;
};

// A step that runs until interrupted (a capture stopped with Ctrl-C): while one is held, SIGINT or
// SIGTERM ends Wait() instead of the process, and the step finishes as it would after its time.
class InterruptStops {
 public:
  InterruptStops();
  ~InterruptStops();
  InterruptStops(const InterruptStops&) = delete;
  InterruptStops& operator=(const InterruptStops&) = delete;

  // True when an interrupt came, false after `timeout` without one.
  bool Wait(std::chrono::milliseconds timeout);
};

}  // namespace orba::cli

#endif
