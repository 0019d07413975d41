#ifndef ORBA_TESTS_SUPPORT_SUBPROCESS_H
#define ORBA_TESTS_SUPPORT_SUBPROCESS_H

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

namespace orba::test {

// Runs `body` in a forked child; its return value is the child's exit status.
pid_t StartChild(const std::function<int()>& body);
// Waits for a child and returns its exit status, or -1 if it did not exit normally.
int WaitChild(pid_t pid);

struct ProgramResult {
  int status = -1;  // exit status, -1 if the program did not exit normally
  std::string out;
  std::string err;
};

// Runs a program with arguments (argv[0] is the path) and collects its output.
ProgramResult RunProgram(const std::vector<std::string>& argv);

// Runs a program with its stdout on a pseudo-terminal `columns` wide (stderr to a pipe), as an
// engineer's shell would; `out` is everything the terminal received, control characters and all.
ProgramResult RunOnTerminal(const std::vector<std::string>& argv, unsigned short columns);

// build/bin/<name> of the tree under test.
std::string BinPath(const std::string& name);

}  // namespace orba::test

#endif
