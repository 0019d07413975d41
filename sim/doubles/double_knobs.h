#ifndef ORBA_SIM_DOUBLES_DOUBLE_KNOBS_H
#define ORBA_SIM_DOUBLES_DOUBLE_KNOBS_H

// What every vendor-library double shares: its behaviour comes from sim.* properties read at the
// moment of each call (so a test steers a loaded library without rebuilding or reloading it), and
// each call is appended to a log under /data/sim/ in the device root for the test to inspect.

#include <string>

namespace orba::sim {

// A knob as a number (decimal or 0x), or its default from the knob table when unset or not one.
long KnobInt(const char* name);
// A knob's text, or its default from the knob table when unset.
std::string KnobString(const char* name);
// Appends one line (a newline is added) to a device file; the device root decides where.
void AppendCall(const char* device_path, const std::string& line);

}  // namespace orba::sim

#endif
