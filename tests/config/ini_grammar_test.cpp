// The line grammar through both loaders, and where the two loaders deliberately differ.

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include <orbafactory/config.h>
#include "config/ini_test_util.h"
#include "support/device_root.h"

namespace {

using orba::test::Dict;
using orba::test::Entries;
using orba::test::ErrorCapture;
using orba::test::LoadText;
using Pairs = std::vector<std::pair<std::string, std::string>>;
using Messages = std::vector<std::string>;

class IniGrammar : public orba::test::DeviceRootTest {
 protected:
  Dict LoadFile(const std::string& text) {
    WriteDeviceFile("/data/t.ini", text);
    return Dict(iniparser_load("/data/t.ini"));
  }
};

struct GrammarCase {
  const char* name;
  const char* text;
  Pairs entries;  // in slot order; empty means the load must fail
};

const GrammarCase kSameInBothLoaders[] = {
    {"case is kept", "[Sec]\nKey=1\n", {{"Sec", "<null>"}, {"Sec:Key", "1"}}},
    {"comment characters inside a value", "[s]\nkey = a ; b # c\n",
     {{"s", "<null>"}, {"s:key", "a ; b # c"}}},
    {"double quotes keep inner spaces", "[s]\nk = \"  two  \"\n",
     {{"s", "<null>"}, {"s:k", "  two  "}}},
    {"single quotes keep inner spaces", "[s]\nk = '  x  '\n", {{"s", "<null>"}, {"s:k", "  x  "}}},
    {"empty single quotes", "[s]\nk = ''\n", {{"s", "<null>"}, {"s:k", ""}}},
    {"empty double quotes", "[s]\nk = \"\"\n", {{"s", "<null>"}, {"s:k", ""}}},
    {"nothing after the equals sign", "[s]\nk =\n", {{"s", "<null>"}, {"s:k", ""}}},
    {"backtick ends a value", "[s]\nk = a b`c d\n", {{"s", "<null>"}, {"s:k", "a b"}}},
    {"value starting with a backtick is empty", "[s]\nk = `cmd`\n", {{"s", "<null>"}, {"s:k", ""}}},
    {"lone semicolon is a value", "[s]\nk = ;\n", {{"s", "<null>"}, {"s:k", ";"}}},
    {"text after a closing quote is dropped", "[s]\nk = \"q\" tail\n",
     {{"s", "<null>"}, {"s:k", "q"}}},
    {"unclosed quote keeps the text", "[s]\nk = \"open\n", {{"s", "<null>"}, {"s:k", "open"}}},
    {"equals sign inside a value", "[s]\nk = x = y\n", {{"s", "<null>"}, {"s:k", "x = y"}}},
    {"colon inside a key", "[s]\na:b = c\n", {{"s", "<null>"}, {"s:a:b", "c"}}},
    {"white space around everything", "  [  Spaced Name ]  \n\t A  =  B \t\r\n",
     {{"Spaced Name", "<null>"}, {"Spaced Name:A", "B"}}},
    {"key before any section", "k = v\n", {{":k", "v"}}},
    {"empty section name", "[]\nk = v\n", {{"", "<null>"}, {":k", "v"}}},
    {"comments and blank lines", "# one\n; two\n\n   \n[s]\n#k = v\n", {{"s", "<null>"}}},
    {"repeated key keeps one slot", "[s]\nk = 1\nk = 2\n", {{"s", "<null>"}, {"s:k", "2"}}},
    {"section reopened", "[s]\na = 1\n[t]\n[s]\nb = 2\n",
     {{"s", "<null>"}, {"s:a", "1"}, {"t", "<null>"}, {"s:b", "2"}}},
    {"last line without newline", "[s]\nk = end", {{"s", "<null>"}, {"s:k", "end"}}},
    {"line without equals sign", "[s]\nk = 1\nnot a pair\n", {}},
    {"missing key", "[s]\n= v\n", {}},
    {"unclosed section", "[s\nk = v\n", {}},
};

TEST_F(IniGrammar, SameInBothLoaders) {
  for (const GrammarCase& c : kSameInBothLoaders) {
    SCOPED_TRACE(c.name);
    Dict from_buffer = LoadText(c.text);
    Dict from_file = LoadFile(c.text);
    if (c.entries.empty()) {
      EXPECT_EQ(from_buffer, nullptr);
      EXPECT_EQ(from_file, nullptr);
      continue;
    }
    ASSERT_NE(from_buffer, nullptr);
    ASSERT_NE(from_file, nullptr);
    EXPECT_EQ(Entries(from_buffer.get()), c.entries);
    EXPECT_EQ(Entries(from_file.get()), c.entries);
  }
}

TEST_F(IniGrammar, LoadersDifferOnContinuationAndShortLines) {
  struct Case {
    const char* name;
    const char* text;
    Pairs file, buffer;  // empty: that loader fails
  };
  const Case cases[] = {
      {"backslash joins lines in files only", "[s]\nk = one \\\nx = two\n",
       {{"s", "<null>"}, {"s:k", "one x = two"}},
       {{"s", "<null>"}, {"s:k", "one \\"}, {"s:x", "two"}}},
      {"continuation over several lines", "[s]\nk = a\\\nb\\\nc\n",
       {{"s", "<null>"}, {"s:k", "abc"}},
       {}},
      {"dangling continuation at end of file", "[s]\nk = 1\nj = 2\\\n",
       {{"s", "<null>"}, {"s:k", "1"}},
       {{"s", "<null>"}, {"s:k", "1"}, {"s:j", "2\\"}}},
      {"one-character line", "[s]\nk = v\nx\n", {}, {{"s", "<null>"}, {"s:k", "v"}}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    Dict from_file = LoadFile(c.text);
    Dict from_buffer = LoadText(c.text);
    if (c.file.empty()) {
      EXPECT_EQ(from_file, nullptr);
    } else {
      ASSERT_NE(from_file, nullptr);
      EXPECT_EQ(Entries(from_file.get()), c.file);
    }
    if (c.buffer.empty()) {
      EXPECT_EQ(from_buffer, nullptr);
    } else {
      ASSERT_NE(from_buffer, nullptr);
      EXPECT_EQ(Entries(from_buffer.get()), c.buffer);
    }
  }
}

TEST_F(IniGrammar, BufferIsCutInPlace) {
  char text[] = "[s]\n\n\nk = v  \n";
  Dict d(iniparser_load_buffer(text));
  ASSERT_NE(d, nullptr);
  EXPECT_STREQ(text, "[s]");
  EXPECT_STREQ(text + 6, "k = v");
  EXPECT_EQ(iniparser_load_buffer(nullptr), nullptr);
}

TEST_F(IniGrammar, FileErrorsAreReported) {
  {
    ErrorCapture errors;
    EXPECT_EQ(LoadFile("[s]\n\nbad line  \nk = 1\nworse\n"), nullptr);
    EXPECT_EQ(errors.messages(),
              (Messages{"iniparser: syntax error in /data/t.ini (3):\n-> bad line\n",
                        "iniparser: syntax error in /data/t.ini (5):\n-> worse\n"}));
  }
  ErrorCapture errors;
  EXPECT_EQ(iniparser_load("/data/missing.ini"), nullptr);
  EXPECT_EQ(errors.messages(), (Messages{"iniparser: cannot open /data/missing.ini\n"}));
}

TEST_F(IniGrammar, BufferSyntaxErrorsAreSilent) {
  ErrorCapture errors;
  EXPECT_EQ(LoadText("[s]\nbad line\n"), nullptr);
  EXPECT_TRUE(errors.messages().empty());
}

TEST_F(IniGrammar, FileLineLengthLimit) {
  // The line buffer holds 1023 characters, the newline included.
  std::string fits = "k = " + std::string(1018, 'v') + "\n";
  std::string too_long = "k = " + std::string(1019, 'v') + "\n";
  ASSERT_EQ(fits.size(), 1023u);

  Dict d = LoadFile("[s]\n" + fits);
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(std::string(iniparser_getstring(d.get(), "s:k", "")), std::string(1018, 'v'));

  {
    ErrorCapture errors;
    EXPECT_EQ(LoadFile("[s]\n" + too_long + "j = 1\n"), nullptr);
    EXPECT_EQ(errors.messages(), (Messages{"iniparser: input line too long in /data/t.ini (2)\n"}));
  }
  // A continuation that outgrows the buffer is just as long.
  ErrorCapture errors;
  std::string joined = "k = " + std::string(600, 'a') + "\\\n" + std::string(600, 'b') + "\n";
  EXPECT_EQ(LoadFile("[s]\n" + joined), nullptr);
  EXPECT_EQ(errors.messages(), (Messages{"iniparser: input line too long in /data/t.ini (3)\n"}));
}

TEST_F(IniGrammar, BufferRefusesOverlongLines) {
  std::string fits = "k = " + std::string(1019, 'v');  // 1023 characters
  Dict d = LoadText("[s]\n" + fits + "   \n");
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(std::string(iniparser_getstring(d.get(), "s:k", "")), std::string(1019, 'v'));

  for (size_t extra : {1u, 5000u}) {
    SCOPED_TRACE(extra);
    ErrorCapture errors;
    EXPECT_EQ(LoadText("[s]\n\nok = 1\n" + fits + std::string(extra, 'v') + "\n"), nullptr);
    EXPECT_EQ(errors.messages(), (Messages{"iniparser: input line too long in buffer (4)\n"}));
  }
}

TEST_F(IniGrammar, ErrorCallbackCanBeRestored) {
  {
    ErrorCapture errors;
    EXPECT_EQ(iniparser_load("/data/none.ini"), nullptr);
    EXPECT_EQ(errors.messages().size(), 1u);
  }
  // The default reporter writes to standard error.
  testing::internal::CaptureStderr();
  EXPECT_EQ(iniparser_load("/data/none.ini"), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "iniparser: cannot open /data/none.ini\n");
}

}  // namespace
