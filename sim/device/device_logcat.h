#ifndef ORBA_SIM_DEVICE_DEVICE_LOGCAT_H
#define ORBA_SIM_DEVICE_DEVICE_LOGCAT_H

// The device's logcat: reads the log its services write (/data/sim/logcat, one record a line as
// liblog writes them to stderr: "TAG P MM-DD HH:MM:SS PID TID message") and takes the flags
// scripts use on the phone, in any order:
//
//   -d          print the log and exit (without it: print, then follow the log)
//   -c          clear the log and exit
//   -v FORMAT   brief, process, tag, thread, raw, time, threadtime (the default) or long
//   -s          silence every tag not named by a filter: `logcat -s TAG` shows TAG only
//   -t N        print the last N records and exit
//   -f FILE     write to FILE (a device path) instead of stdout
//   TAG[:P]     show TAG from priority P (V D I W E F S) up; `*` names every tag
//
// An unknown flag, a missing value or a bad value is refused at once with the usage line and
// exit status 2, so a script never waits on a follow it did not ask for. Text in the log that
// is not a record (what a service printed itself) is shown as it is.

#include <string>
#include <vector>

namespace orba::sim {

constexpr char kLogcatUsage[] =
    "usage: logcat [-d] [-c] [-v FORMAT] [-s] [-t N] [-f FILE] [TAG[:PRIORITY]...]\n";

// Runs logcat with its arguments on the device the process's root names; the exit status.
int Logcat(const std::vector<std::string>& args);

}  // namespace orba::sim

#endif
