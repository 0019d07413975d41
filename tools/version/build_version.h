#ifndef ORBA_TOOLS_VERSION_BUILD_VERSION_H
#define ORBA_TOOLS_VERSION_BUILD_VERSION_H

// The version every tool of this tree reports (orbafactory-sim --version, and the CLI's), taken
// from the build: the project version and the git commit of the tree it was built from.

#include <string>

namespace orba::tools {

// The project's version, as "MAJOR.MINOR.PATCH".
const char* BuildVersion();
// `git describe --always --dirty` of the source tree at build time ("-dirty": uncommitted
// edits were built in), or "" when the tree was not a git checkout.
const char* BuildGitId();
// The --version line: "PROGRAM VERSION (git ID)", or "(not built from a git checkout)".
std::string VersionLine(const char* program);

}  // namespace orba::tools

#endif
