#ifndef ORBA_SIM_ATCMD_CHILD_PROCESS_H
#define ORBA_SIM_ATCMD_CHILD_PROCESS_H

#include <stddef.h>

#include <string>
#include <vector>

namespace orba::sim {

// Runs a program as the device would: working directory at the device's "/", the device's
// tools first on PATH. Collects at most `max_output` bytes of its standard output (the rest is
// read and dropped so the program never blocks). Returns the exit status, or -1 when it could
// not be run or did not exit normally.
//
// With `client_fd` (the connection of the caller it runs for) the program and everything it
// started end as soon as that caller hangs up, and with `time_limit_ms` once that much time has
// passed; either way the status is -1.
int RunInDevice(const std::vector<std::string>& argv, std::string* output, size_t max_output,
                int client_fd = -1, int time_limit_ms = -1);

}  // namespace orba::sim

#endif
