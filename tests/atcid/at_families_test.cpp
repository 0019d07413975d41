// orbafactory's command table over the AT line, without a device: how an AtReply writes each
// kind of answer and verdict, and how a family command line is taken apart, refused or sent on.
// Running the steps themselves is the daemon test's business.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "at_engine.h"
#include "at_reply.h"
#include "command.h"
#include "family_commands.h"

namespace orba::at {
namespace {

using orba::cli::Value;

class Lines : public Sink {
 public:
  void Info(std::string_view line) override { lines.emplace_back(line); }
  std::vector<std::string> lines;
};

TEST(AtReply, WritesValuesAs27007Does) {
  struct Case {
    Value value;
    const char* at;
  } cases[] = {
      {Value("gsensor_cali"), "\"gsensor_cali\""},
      {Value(""), "\"\""},
      {Value("0x1f"), "\"0x1f\""},  // text that looks like a number stays a string
      {Value(31), "31"},
      {Value(-4L), "-4"},
      {Value(true), "1"},
      {Value(false), "0"},
      {Value::Real(36.456, 1), "36.5"},
      {Value::Real(2, 0), "2"},
      {Value("say \"hi\"\\"), "\"say \\22hi\\22\\5C\""},
      {Value("a\r\nb\t"), "\"a\\0D\\0Ab\\09\""},
  };
  for (const Case& c : cases) EXPECT_EQ(AtReply::AtValue(c.value), c.at) << c.at;
}

TEST(AtReply, AnswersRecordsAndStreamsAreInformationLinesOfTheFamily) {
  Lines sink;
  AtReply reply("+CALI", &sink);
  reply.Answer({{"item", "gsensor_cali"}, {"state", 1}});
  reply.Record({{"sn", "ORBA24A0000123X"}, {"boot_times", 7}});
  // A streamed line that reads as a final result code keeps the prefix, so it ends nothing;
  // CR LF line ends go, and a last line without its end still comes out at the end.
  reply.Stream("OK\r\nERROR\n\nha");
  reply.Stream("lf");
  reply.Note("a hint for a person");
  reply.End(orba::cli::kOk);
  EXPECT_EQ(sink.lines, (std::vector<std::string>{
                            "+CALI: \"gsensor_cali\",1",
                            "+CALI: \"sn\",\"ORBA24A0000123X\"",
                            "+CALI: \"boot_times\",7",
                            "+CALI: OK",
                            "+CALI: ERROR",
                            "+CALI: ",
                            "+CALI: half",
                        }));
  EXPECT_TRUE(reply.verdict().ok());
}

TEST(AtReply, TheExitCodeIsTheVerdict) {
  struct Case {
    const char* name;
    int failure;  // -1: the command reported none
    const char* message;
    int exit;
    Verdict::Kind kind;
    CmeError code;
    const char* text;
  } cases[] = {
      {"usage", orba::cli::kUsage, "sn set: 'x' is not 15 characters", orba::cli::kUsage,
       Verdict::Kind::kCme, CmeError::kIncorrectParameters, "sn set: 'x' is not 15 characters"},
      {"library report", orba::cli::kFailed, "nv get: all verify fail", orba::cli::kFailed,
       Verdict::Kind::kCme, CmeError::kUnknown, "nv get: all verify fail"},
      {"no device", orba::cli::kNoDevice, "no device", orba::cli::kNoDevice,
       Verdict::Kind::kCme, CmeError::kPhoneFailure, "no device"},
      {"silent failure", -1, "", orba::cli::kFailed, Verdict::Kind::kCme, CmeError::kUnknown,
       "+TOUCH: exit status 1"},
      {"failure then success", orba::cli::kFailed, "first try", orba::cli::kOk,
       Verdict::Kind::kOk, CmeError::kUnknown, ""},
      {"returned code wins", orba::cli::kFailed, "bad value", orba::cli::kUsage,
       Verdict::Kind::kCme, CmeError::kIncorrectParameters, "bad value"},
  };
  for (const Case& c : cases) {
    Lines sink;
    AtReply reply("+TOUCH", &sink);
    if (c.failure >= 0) {
      EXPECT_EQ(reply.Failure(c.failure, c.message, "a hint"), c.failure) << c.name;
      reply.Failure(orba::cli::kFailed, "a later failure", "");  // the first one is the verdict
    }
    reply.End(c.exit);
    EXPECT_EQ(reply.verdict().kind, c.kind) << c.name;
    if (c.kind == Verdict::Kind::kCme) {
      EXPECT_EQ(reply.verdict().code, c.code) << c.name;
      EXPECT_EQ(reply.verdict().text, c.text) << c.name;
    }
    EXPECT_TRUE(sink.lines.empty()) << c.name;  // a failure is no information line
  }
}

TEST(FamilyCommands, TheLinesOwnCommandsKeepTheirNames) {
  EXPECT_EQ(FamilyCommandName("nv"), "+NV");
  EXPECT_EQ(FamilyCommandName("em-flag"), "+EM-FLAG");
  for (const char* taken : {"cmee", "cgsn", "CGMI", "cgmm", "cgmr", "tq_ccm_single"}) {
    EXPECT_EQ(FamilyCommandName(taken), "") << taken;
  }
}

class FamilyLine : public ::testing::Test {
 protected:
  FamilyLine() {
    AddFamilyCommands(&engine_);
    engine_.Execute("ATE0");
  }
  std::string Ask(const std::string& line, const char* cmee = "AT+CMEE=2") {
    engine_.Execute(cmee);
    return engine_.Execute(line);
  }
  AtEngine engine_;
};

// Every family of the table answers its test form with one line per command, in the table's
// order, each naming the command as the set form takes it.
TEST_F(FamilyLine, EveryFamilyListsItsCommands) {
  ASSERT_FALSE(orba::cli::Families().empty());
  for (const orba::cli::Family* family : orba::cli::Families()) {
    const std::string name = FamilyCommandName(family->name);
    ASSERT_FALSE(name.empty()) << family->name << " clashes with a command of the line";
    std::string got = Ask("AT" + name + "=?");
    ASSERT_EQ(got.substr(got.size() - 6), "\r\nOK\r\n") << name;
    // The lines' starts, in order: the rest (usage, summary) is the table's own text.
    size_t at = 0;
    for (const orba::cli::Command& command : family->commands) {
      std::string upper = command.name;
      for (char& c : upper) c = static_cast<char>(toupper(static_cast<unsigned char>(c)));
      const std::string start = "\r\n" + name + ": \"" + upper + "\",";
      at = got.find(start, at);
      ASSERT_NE(at, std::string::npos) << name << " lists no " << upper << ":\n" << got;
      ++at;
    }
  }
}

// What the line refuses or cannot parse never reaches a step: none of these needs a device.
TEST_F(FamilyLine, RefusesWhatTheLineCannotServe) {
  struct Case {
    const char* line;
    const char* numeric;  // under +CMEE=1
    const char* says;     // in the +CMEE=2 text
  } cases[] = {
      {"AT+NV=GET,\"sn\",\"--image\",\"/home/me/backup.img\"", "3", "--image"},
      {"AT+NV=DUMP,--write-back", "3", "engineer's host"},
      {"AT+FILE=WRITE,\"/data/local/tmp/a\",\"-\"", "3", "standard input"},
      {"AT+LOG=START,5", "3", "Ctrl-C"},
      {"AT+EXEC=\"ls\"", "3", "shell"},
      {"AT+EXEC", "3", "shell"},
      {"AT+NV", "50", "AT+NV=? lists"},
      {"AT+NV=FROB", "50", "no command 'FROB'"},
      {"AT+NV=", "50", "no command"},
      {"AT+SN=SET", "50", "usage: AT+SN=SET,SERIAL"},
      {"AT+SN=GET,extra", "50", "usage: AT+SN=GET"},
      {"AT+NV?", "4", "AT+NV=? lists"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(Ask(c.line, "AT+CMEE=1"), std::string("\r\n+CME ERROR: ") + c.numeric + "\r\n")
        << c.line;
    std::string verbose = Ask(c.line);
    EXPECT_EQ(verbose.rfind("\r\n+CME ERROR: ", 0), 0u) << c.line << ": " << verbose;
    EXPECT_NE(verbose.find(c.says), std::string::npos) << c.line << ": " << verbose;
  }
}

}  // namespace
}  // namespace orba::at
