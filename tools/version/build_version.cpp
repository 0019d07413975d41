#include "build_version.h"

#include "build_version_values.h"

namespace orba::tools {

const char* BuildVersion() { return ORBA_BUILD_VERSION; }

const char* BuildGitId() { return ORBA_BUILD_GIT_ID; }

std::string VersionLine(const char* program) {
  std::string id = BuildGitId();
  return std::string(program) + " " + BuildVersion() +
         (id.empty() ? " (not built from a git checkout)" : " (git " + id + ")");
}

}  // namespace orba::tools
