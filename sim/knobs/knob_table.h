#ifndef ORBA_SIM_KNOBS_KNOB_TABLE_H
#define ORBA_SIM_KNOBS_KNOB_TABLE_H

// Every sim.* property that steers the simulated device, in one place: the models, the doubles
// and the services take their defaults from here, and the README's knob table is printed from
// here (`orbafactory-sim knobs`), so the documentation and the behaviour cannot disagree.
//
// A name may hold one placeholder in angle brackets, standing for one dot-free word:
// "sim.uwb.<function>.ret" is the knob of every function of the UWB test library.

#include <string>
#include <string_view>
#include <vector>

namespace orba::sim {

struct KnobSpec {
  const char* name;      // the property name, or a pattern with one <placeholder>
  const char* fallback;  // the value when the property is unset ("" for unset)
  const char* steers;    // what it steers, one sentence for the README
};

// A view of the table, for range-for.
struct KnobRange {
  const KnobSpec* first;
  const KnobSpec* last;
  const KnobSpec* begin() const { return first; }
  const KnobSpec* end() const { return last; }
};

// The whole table, grouped by what reads it, in the order the README shows it.
KnobRange Knobs();

// The knob a property name belongs to (patterns included), or null.
const KnobSpec* FindKnob(std::string_view name);

// The default of a knob. A name the table does not know has no default: "".
const char* KnobDefault(std::string_view name);

// The README table: a Markdown table, one row per knob.
std::string KnobMarkdownTable();

}  // namespace orba::sim

#endif
