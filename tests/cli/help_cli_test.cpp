// The front end as a new user meets it: help in every form it is asked for, options anywhere,
// names it does not know, --version, and a usage error read by a script.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "cli/json_check.h"
#include "command.h"
#include "support/device_root.h"
#include "support/sim_device.h"
#include "support/subprocess.h"

namespace {

using orba::cli::Command;
using orba::cli::Families;
using orba::cli::Family;
using orba::test::BinPath;
using orba::test::ProgramResult;
using orba::test::RunProgram;

ProgramResult Tool(std::vector<std::string> args) {
  args.insert(args.begin(), BinPath("orbafactory"));
  return RunProgram(args);
}

bool Direct(const Family& f) { return f.commands.size() == 1 && f.commands[0].name[0] == '\0'; }

std::string Joined(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& w : words) line += (line.empty() ? "" : " ") + w;
  return line;
}

std::vector<std::string> Lines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream in(text);
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::vector<std::string> Words(const std::string& text) {
  std::vector<std::string> words;
  std::istringstream in(text);
  for (std::string w; in >> w;) words.push_back(w);
  return words;
}

// Help needs no device: every test here but the last runs without one.
class HelpTest : public orba::test::NoDeviceRootTest {};

TEST_F(HelpTest, EveryFamilysHelpNamesEveryCommand) {
  ASSERT_FALSE(Families().empty());
  for (const Family* f : Families()) {
    for (const std::vector<std::string>& form : std::vector<std::vector<std::string>>{
             {"help", f->name}, {f->name, "--help"}, {f->name, "-h"}, {f->name, "help"},
             {"--help", f->name}}) {
      auto r = Tool(form);
      EXPECT_EQ(r.status, 0) << Joined(form) << ": " << r.err;
      EXPECT_EQ(r.err, "") << Joined(form);
      ASSERT_NE(r.out, "") << Joined(form);
      for (const Command& c : f->commands) {
        const std::string usage = std::string(f->name) + (Direct(*f) ? "" : " ") + c.name;
        EXPECT_NE(r.out.find(usage), std::string::npos) << Joined(form) << " lacks " << usage;
      }
    }
  }
}

TEST_F(HelpTest, EveryFormOfCommandHelpAnswersOnStdout) {
  for (const Family* f : Families()) {
    for (const Command& c : f->commands) {
      std::vector<std::vector<std::string>> forms;
      if (Direct(*f)) {
        forms = {{"help", f->name}, {f->name, "--help"}, {f->name, "-h"}, {f->name, "help"}};
      } else {
        forms = {{"help", f->name, c.name},     {f->name, c.name, "--help"},
                 {f->name, c.name, "-h"},       {f->name, "help", c.name},
                 {"-h", f->name, c.name},       {f->name, c.name, "ARG", "--help"}};
      }
      const std::string usage = std::string("usage: orbafactory ") + f->name +
                                (Direct(*f) ? "" : " ") + c.name;
      for (const auto& form : forms) {
        auto r = Tool(form);
        EXPECT_EQ(r.status, 0) << Joined(form) << ": " << r.err;
        EXPECT_EQ(r.out.rfind(usage, 0), 0u) << Joined(form) << ":\n" << r.out;
        if (c.example != nullptr) {
          EXPECT_NE(r.out.find(std::string("orbafactory ") + c.example), std::string::npos)
              << Joined(form);
        }
      }
    }
  }
  for (const auto& form : std::vector<std::vector<std::string>>{{"help"}, {"--help"}, {"-h"}}) {
    auto r = Tool(form);
    EXPECT_EQ(r.status, 0) << Joined(form);
    EXPECT_NE(r.out.find("families:"), std::string::npos) << Joined(form);
  }
  // A line that stops short is a usage error, not a request for help: the same text on stderr.
  for (const auto& form : std::vector<std::vector<std::string>>{{}, {"nv"}}) {
    auto r = Tool(form);
    EXPECT_EQ(r.status, 2) << Joined(form);
    EXPECT_EQ(r.out, "") << Joined(form);
    EXPECT_NE(r.err.find(form.empty() ? "families:" : "nv get FIELD"), std::string::npos) << r.err;
  }
}

TEST_F(HelpTest, CommandHelpListsTheValuesOfItsArguments) {
  size_t with_values = 0;
  for (const Family* f : Families()) {
    for (const Command& c : f->commands) {
      if (c.values == nullptr) continue;
      const std::vector<std::string> values = c.values(0);
      if (values.empty()) continue;
      ++with_values;
      auto r = Tool({"help", f->name, c.name});
      ASSERT_EQ(r.status, 0) << f->name << " " << c.name;
      const std::vector<std::string> shown = Words(r.out);
      for (const std::string& v : values) {
        EXPECT_NE(std::find(shown.begin(), shown.end(), v), shown.end())
            << f->name << " " << c.name << " lacks " << v << ":\n" << r.out;
      }
    }
  }
  if (with_values == 0) GTEST_SKIP() << "no command names its argument values yet";
}

TEST_F(HelpTest, EveryCommandHasAnExampleOfItself) {
  for (const Family* f : Families()) {
    for (const Command& c : f->commands) {
      const std::string name = std::string(f->name) + (Direct(*f) ? "" : " ") + c.name;
      ASSERT_NE(c.example, nullptr) << name << " has no example";
      const std::string example = c.example;
      EXPECT_EQ((example + " ").rfind(name + " ", 0), 0u) << name << ": " << example;
    }
  }
}

// The summary column of a family and a command's help fit the width asked for, and wrapping
// only moved words between lines: the text is the same word for word.
TEST_F(HelpTest, HelpWrapsToTheWidthAtWordBoundaries) {
  const std::vector<std::vector<std::string>> forms = {
      {"help"}, {"help", "camera"}, {"help", "cali", "set"}, {"help", "nv", "dump"}};
  for (const auto& form : forms) {
    setenv("COLUMNS", "200", 1);
    const std::string wide = Tool(form).out;
    setenv("COLUMNS", "50", 1);
    const std::string narrow = Tool(form).out;
    unsetenv("COLUMNS");
    EXPECT_EQ(Words(narrow), Words(wide)) << Joined(form);
    EXPECT_LT(Lines(wide).size(), Lines(narrow).size()) << Joined(form);
    for (const std::string& line : Lines(narrow)) {
      // Only a word wider than the line may pass its end, alone on its line.
      if (Words(line).size() > 1) {
        EXPECT_LE(line.size(), 50u) << Joined(form) << ": " << line;
      }
    }
  }
  // The terminal's own width wins over $COLUMNS.
  setenv("COLUMNS", "200", 1);
  auto tty = orba::test::RunOnTerminal({BinPath("orbafactory"), "help", "camera"}, 60);
  unsetenv("COLUMNS");
  EXPECT_EQ(tty.status, 0);
  size_t longest = 0;
  for (std::string line : Lines(tty.out)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (Words(line).size() > 1) longest = std::max(longest, line.size());
  }
  EXPECT_LE(longest, 60u) << tty.out;
  EXPECT_GT(longest, 50u) << tty.out;
}

TEST_F(HelpTest, UnknownNamesExitTwoWithTheNearestName) {
  struct Case {
    std::vector<std::string> args;
    const char* says;
  };
  const std::vector<Case> cases = {
      {{"calli", "list"}, "no family 'calli': did you mean 'cali'?"},
      {{"sotrage", "maker"}, "did you mean 'storage'?"},
      {{"nv", "gte", "xole_sv"}, "no command 'nv gte': did you mean 'nv get'?"},
      {{"help", "camra"}, "did you mean 'camera'?"},
      {{"camera", "popp", "--help"}, "did you mean 'camera pop'?"},
      {{"help", "nv", "dmup"}, "did you mean 'nv dump'?"},
      {{"xyzzy"}, "no family 'xyzzy' (see orbafactory help)"},
  };
  for (const Case& c : cases) {
    auto r = Tool(c.args);
    EXPECT_EQ(r.status, 2) << Joined(c.args);
    EXPECT_EQ(r.out, "") << Joined(c.args);
    EXPECT_NE(r.err.find(c.says), std::string::npos) << Joined(c.args) << ": " << r.err;
  }
}

TEST_F(HelpTest, VersionNamesTheBuildAndItsCommit) {
  for (const auto& form : std::vector<std::vector<std::string>>{
           {"--version"}, {"nv", "--version"}, {"--version", "-v"}}) {
    auto r = Tool(form);
    EXPECT_EQ(r.status, 0) << Joined(form);
    // The tree under test is a git checkout, so the id is there.
    EXPECT_TRUE(std::regex_match(r.out, std::regex("orbafactory [0-9]+\\.[0-9]+\\.[0-9]+ "
                                                   "\\(git [0-9a-f]{7,}(-dirty)?\\)\n")))
        << r.out;
  }
  auto json = Tool({"--version", "--json"});
  std::map<std::string, std::string> members;
  std::string why;
  ASSERT_TRUE(orba::test::ParseJsonObject(json.out, &members, &why)) << why << ": " << json.out;
  EXPECT_EQ(members["program"], "\"orbafactory\"");
  EXPECT_EQ(members.count("git"), 1u);
}

// What main itself refuses, under --json, is one object on stderr that gives the exit code,
// and nothing on stdout.
TEST_F(HelpTest, FailuresOfTheLineItselfAreJsonUnderJson) {
  struct Case {
    std::vector<std::string> args;
    const char* exit;
  };
  const std::vector<Case> cases = {
      {{"--json"}, "2"},
      {{"--json", "--bogus", "nv", "dump"}, "2"},
      {{"nosuch", "--json"}, "2"},
      {{"nv", "--json"}, "2"},
      {{"nv", "get", "--json"}, "2"},
      {{"zip", "list", "--json"}, "2"},
      {{"--root", "--json"}, "2"},
      {{"completion", "zsh", "--json"}, "2"},
      {{"identity", "--json"}, "3"},  // no device
      {{"--json", "--root", "/dev/shm/no-such-device-here", "identity"}, "3"},
  };
  for (const Case& c : cases) {
    auto r = Tool(c.args);
    EXPECT_EQ(std::to_string(r.status), c.exit) << Joined(c.args);
    EXPECT_EQ(r.out, "") << Joined(c.args);
    std::map<std::string, std::string> members;
    std::string why;
    EXPECT_TRUE(orba::test::ParseJsonObject(r.err, &members, &why))
        << Joined(c.args) << ": " << why << ": " << r.err;
    EXPECT_EQ(members["exit"], c.exit) << Joined(c.args);
    EXPECT_EQ(members["message"].front(), '"') << Joined(c.args);
  }
}

// Options are the tool's wherever they stand, and a command line for the device is the
// device's from its first word on.
class OptionsTest : public orba::test::SimDeviceTest {};

TEST_F(OptionsTest, OptionsMeanTheSameAnywhereOnTheLine) {
  const std::vector<std::vector<std::string>> forms = {
      {"cali", "list", "-v"}, {"-v", "cali", "list"}, {"cali", "-v", "list"}};
  auto first = Cli(forms[0]);
  for (const auto& form : forms) {
    auto r = Cli(form);
    EXPECT_EQ(r.status, first.status) << Joined(form) << ": " << r.err;
    EXPECT_EQ(r.out, first.out) << Joined(form);
  }
  ASSERT_EQ(first.status, 0) << first.err;
  // --json and --root=DIR the same.
  auto json_first = Cli({"--json", "cali", "list"});
  auto json_last = RunProgram({BinPath("orbafactory"), "cali", "list", "--root=" + root(), "--json"});
  EXPECT_EQ(json_first.status, 0) << json_first.err;
  EXPECT_EQ(json_last.out, json_first.out);
  EXPECT_NE(json_first.out, first.out);
}

TEST_F(OptionsTest, ADeviceCommandLineKeepsItsOwnOptions) {
  struct Case {
    std::vector<std::string> args;
    const char* out;
  };
  const std::vector<Case> cases = {
      {{"exec", "echo", "-v", "--json", "-h"}, "-v --json -h\n"},
      {{"-v", "exec", "echo", "hi"}, "hi\n"},
      {{"exec", "--timeout", "5", "echo", "--help"}, "--help\n"},
      {{"exec", "--", "echo", "--version"}, "--version\n"},
  };
  for (const Case& c : cases) {
    auto r = Cli(c.args);
    EXPECT_EQ(r.status, 0) << Joined(c.args) << ": " << r.err;
    EXPECT_EQ(r.out, c.out) << Joined(c.args);
  }
}

}  // namespace
