#ifndef ORBA_TOOLS_ORBAFACTORY_COMMAND_LOOKUP_H
#define ORBA_TOOLS_ORBAFACTORY_COMMAND_LOOKUP_H

// Finding what a command line names in the command table, and the nearest name when it names
// nothing, so a typo costs one more try rather than a trip through the help.

#include <string>
#include <vector>

#include "command.h"

namespace orba::cli {

const Family* FindFamily(const std::string& name);
const Command* FindCommand(const Family& family, const std::string& name);

// A family of one unnamed command takes its arguments directly ("orbafactory md5 FILE...").
bool IsDirect(const Family& family);

// The families sorted by name, as help and completion list them.
std::vector<const Family*> SortedFamilies();

// Edit distance between two names: letters inserted, removed, changed, or two neighbours
// swapped, one each.
size_t EditDistance(const std::string& a, const std::string& b);

// The candidate nearest to `typed`, or "" when none is near enough to be what was meant: a
// candidate `typed` begins, or one within about a third of its letters.
std::string ClosestName(const std::string& typed, const std::vector<std::string>& candidates);

// As FindFamily and FindCommand, a name that is none given to `reply` as a usage failure that
// suggests the nearest one; nullptr then.
const Family* RequireFamily(Reply& reply, const std::string& name);
const Command* RequireCommand(Reply& reply, const Family& family, const std::string& name);

}  // namespace orba::cli

#endif
