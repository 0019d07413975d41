// The bash completion scripts the build writes, run by a real bash the way it completes a line.

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "command.h"
#include "support/subprocess.h"

namespace {

using orba::test::RunProgram;

const std::string kDir = ORBA_COMPLETION_DIR;

std::string Quoted(const std::string& word) {
  std::string q = "'";
  for (char c : word) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return q + "'";
}

// What bash offers for the last of `words` (the word being completed, maybe empty).
std::vector<std::string> Complete(const std::string& script, const std::string& function,
                                  const std::vector<std::string>& words) {
  std::string array;
  for (const std::string& w : words) array += Quoted(w) + " ";
  const std::string program = "source " + Quoted(kDir + "/" + script) + " && COMP_WORDS=(" + array +
                              ") && COMP_CWORD=" + std::to_string(words.size() - 1) + " && " +
                              function + " && printf '%s\\n' \"${COMPREPLY[@]}\"";
  auto r = RunProgram({"/bin/bash", "--norc", "--noprofile", "-c", program});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  std::vector<std::string> offered;
  std::istringstream in(r.out);
  for (std::string line; std::getline(in, line);) {
    if (!line.empty()) offered.push_back(line);
  }
  std::sort(offered.begin(), offered.end());
  return offered;
}

std::vector<std::string> Orbafactory(const std::vector<std::string>& words) {
  return Complete("orbafactory", "_orbafactory", words);
}

TEST(CompletionTest, CompletesFamiliesCommandsAndOptions) {
  struct Case {
    std::vector<std::string> words;
    std::vector<std::string> offered;
  };
  const std::vector<Case> cases = {
      {{"orbafactory", "ca"}, {"cali", "camera"}},
      {{"orbafactory", "nv", "g"}, {"get"}},
      {{"orbafactory", "-v", "--root", "/tmp", "nv", "d"}, {"dump"}},
      {{"orbafactory", "nv", "--json", "s"}, {"set"}},
      {{"orbafactory", "help", "sha"}, {"sha256"}},
      {{"orbafactory", "help", "zip", "e"}, {"extract"}},
      {{"orbafactory", "--js"}, {"--json"}},
      {{"orbafactory", "completion", ""}, {"bash"}},
      {{"orbafactory", "nosuch", "x"}, {}},
  };
  for (const Case& c : cases) {
    std::vector<std::string> want = c.offered;
    std::sort(want.begin(), want.end());
    EXPECT_EQ(Orbafactory(c.words), want) << c.words.back();
  }
}

// Field names and calibration items come from the command table: a command that names the
// values of its first argument completes them there, by prefix.
TEST(CompletionTest, CompletesTheValuesACommandNames) {
  size_t checked = 0;
  for (const orba::cli::Family* f : orba::cli::Families()) {
    for (const orba::cli::Command& c : f->commands) {
      if (c.values == nullptr || c.values(0).empty()) continue;
      const std::vector<std::string> values = c.values(0);
      const std::string& value = values[values.size() / 2];
      const std::string prefix = value.substr(0, std::max<size_t>(1, value.size() / 2));
      std::vector<std::string> words = {"orbafactory", f->name};
      if (c.name[0] != '\0') words.push_back(c.name);
      words.push_back(prefix);
      const std::vector<std::string> offered = Orbafactory(words);
      EXPECT_NE(std::find(offered.begin(), offered.end(), value), offered.end())
          << f->name << " " << c.name << " " << prefix << " does not offer " << value;
      for (const std::string& o : offered) EXPECT_EQ(o.rfind(prefix, 0), 0u) << o;
      ++checked;
    }
  }
  if (checked == 0) GTEST_SKIP() << "no command names its argument values yet";
}

TEST(CompletionTest, SimCompletesCommandsAndProfiles) {
  EXPECT_EQ(Complete("orbafactory-sim", "_orbafactory_sim", {"orbafactory-sim", "st"}),
            (std::vector<std::string>{"start", "status", "stop"}));
  const auto profiles =
      Complete("orbafactory-sim", "_orbafactory_sim", {"orbafactory-sim", "init", "--profile", ""});
  EXPECT_NE(std::find(profiles.begin(), profiles.end(), "default"), profiles.end());
  EXPECT_NE(std::find(profiles.begin(), profiles.end(), "rotary"), profiles.end());
}

}  // namespace
