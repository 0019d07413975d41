// --version: the version and the git commit the tools were built from.

#include <gtest/gtest.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include "support/subprocess.h"

namespace {

using orba::test::RunProgram;

TEST(VersionTest, NamesTheVersionAndACommitOfThisTree) {
  auto r = RunProgram({orba::test::BinPath("orbafactory-sim"), "--version"});
  ASSERT_EQ(r.status, 0) << r.err;
  // Whether the tree is a checkout decides what the line must say; git is asked the same way
  // the build asked it.
  auto top = RunProgram({"/usr/bin/env", "git", "-C", ORBA_SOURCE_DIR, "rev-parse", "--show-toplevel"});
  char real_top[PATH_MAX] = {}, real_src[PATH_MAX] = {};
  top.out.erase(top.out.find_last_not_of('\n') + 1);
  bool checkout = top.status == 0 && realpath(top.out.c_str(), real_top) != nullptr &&
                  realpath(ORBA_SOURCE_DIR, real_src) != nullptr &&
                  std::string(real_top) == real_src;
  if (!checkout) {
    EXPECT_EQ(r.out, "orbafactory-sim " ORBA_PROJECT_VERSION " (not built from a git checkout)\n");
    return;
  }
  std::smatch m;
  ASSERT_TRUE(std::regex_match(r.out, m,
                               std::regex("orbafactory-sim ([0-9.]+) \\(git ([0-9a-f]{7,})(-dirty)?\\)\n")))
      << r.out;
  EXPECT_EQ(m[1], ORBA_PROJECT_VERSION);
  // The id is a commit of the tree the sim was built from.
  auto commit = RunProgram({"/usr/bin/env", "git", "-C", ORBA_SOURCE_DIR, "cat-file", "-e",
                            m[2].str() + "^{commit}"});
  EXPECT_EQ(commit.status, 0) << m[2] << " is no commit of " << ORBA_SOURCE_DIR << "\n" << commit.err;
}

TEST(VersionTest, ABuildOutsideACheckoutHasNoId) {
  char dir[] = "/tmp/orba-export-XXXXXX";
  ASSERT_NE(mkdtemp(dir), nullptr);
  const std::string header = std::string(dir) + "/values.h";
  auto r = RunProgram({CMAKE_COMMAND_PATH, "-DSOURCE_DIR=" + std::string(dir), "-DVERSION=1.2.3",
                       "-DOUTPUT=" + header, "-P",
                       ORBA_SOURCE_DIR "/tools/version/write_build_version.cmake"});
  EXPECT_EQ(r.status, 0) << r.err;
  std::ifstream in(header);
  std::stringstream text;
  text << in.rdbuf();
  EXPECT_NE(text.str().find("#define ORBA_BUILD_VERSION \"1.2.3\""), std::string::npos) << text.str();
  EXPECT_NE(text.str().find("#define ORBA_BUILD_GIT_ID \"\""), std::string::npos) << text.str();
  ASSERT_EQ(system(("rm -rf '" + std::string(dir) + "'").c_str()), 0);
}

}  // namespace
