// The AT layer without a terminal: how command lines split, how verdicts read on the line under
// each +CMEE mode, and how the byte stream becomes lines (echo, backspace, CR/LF, overflow).

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "at_command_line.h"
#include "at_engine.h"
#include "at_session.h"

namespace orba::at {
namespace {

TEST(AtCommandLine, SplitsIntoRequests) {
  struct Case {
    const char* line;
    std::vector<std::string> names;
    std::vector<Form> forms;
    std::vector<std::vector<std::string>> args;
  } cases[] = {
      {"AT", {}, {}, {}},
      {"at+cmee=2", {"+CMEE"}, {Form::kSet}, {{"2"}}},
      {"ATE0", {"E"}, {Form::kSet}, {{"0"}}},
      {"ATI", {"I"}, {Form::kAction}, {{}}},
      {"AT+CGSN=?", {"+CGSN"}, {Form::kTest}, {{}}},
      {"AT+CMEE?", {"+CMEE"}, {Form::kRead}, {{}}},
      {"AT+CMEE=", {"+CMEE"}, {Form::kSet}, {{""}}},
      {"AT+X=1,\"a,b\", y ", {"+X"}, {Form::kSet}, {{"1", "a,b", "y"}}},
      {"ATE1+CMEE=1;+CGMI", {"E", "+CMEE", "+CGMI"},
       {Form::kSet, Form::kSet, Form::kAction}, {{"1"}, {"1"}, {}}},
      {"  AT +CGMM ", {"+CGMM"}, {Form::kAction}, {{}}},
  };
  for (const Case& c : cases) {
    CommandLine parsed = ParseCommandLine(c.line);
    ASSERT_TRUE(parsed.valid) << c.line;
    ASSERT_EQ(parsed.requests.size(), c.names.size()) << c.line;
    for (size_t i = 0; i < c.names.size(); ++i) {
      EXPECT_EQ(parsed.requests[i].name, c.names[i]) << c.line;
      EXPECT_EQ(parsed.requests[i].form, c.forms[i]) << c.line;
      EXPECT_EQ(parsed.requests[i].args, c.args[i]) << c.line;
    }
  }
}

TEST(AtCommandLine, RefusesWhatIsNotACommandLine) {
  for (const char* line : {"hello", "A", "AT+", "AT+X=\"open", "AT+X?junk", "AT#"}) {
    CommandLine parsed = ParseCommandLine(line);
    EXPECT_FALSE(parsed.valid) << line;
    EXPECT_FALSE(parsed.empty) << line;
  }
  EXPECT_TRUE(ParseCommandLine(" \t ").empty);
}

TEST(AtCommandLine, KeepsTheCommandTextForTranslators) {
  // Blanks inside a value and the case of values survive: the camera translator matches them.
  for (const char* line : {"AT+TQ_CCM_SINGLE=3,F,MAIN,TELE,1 2", "AT+TQ_CCM_RAW=10,R,MAIN",
                           "AT+CGSN=?", "AT+CMEE?", "ATE1"}) {
    CommandLine parsed = ParseCommandLine(line);
    ASSERT_EQ(parsed.requests.size(), 1u) << line;
    EXPECT_EQ(parsed.requests[0].Text(), line);
  }
  EXPECT_EQ(ParseCommandLine("at+tq_ccm_ntc=1").requests[0].Text(), "AT+TQ_CCM_NTC=1");
}

// A table with one command per kind of outcome.
AtEngine TestEngine() {
  AtEngine engine;
  engine.Add("+GOOD", [](const Request&, Sink& sink) {
    sink.Info("+GOOD: 1");
    sink.Info("+GOOD: 2");
    return Verdict::Ok();
  });
  engine.Add("+REPORT", [](const Request&, Sink& sink) {
    sink.Info("+REPORT: partial");
    return Verdict::Cme(CmeError::kPhoneFailure, "CAMERA error. open /x. reason:gone\r\n");
  });
  engine.Add("+PARAM", [](const Request&, Sink&) {
    return Verdict::Cme(CmeError::kIncorrectParameters);
  });
  engine.AddFamily("+FAM_", [](const Request& req, Sink& sink) {
    sink.Info(req.Text());
    return Verdict::Ok();
  });
  return engine;
}

TEST(AtEngine, AnswersPerCmeeMode) {
  struct Case {
    const char* line;
    const char* off;
    const char* numeric;
    const char* verbose;
  } cases[] = {
      {"AT", "\r\nOK\r\n", "\r\nOK\r\n", "\r\nOK\r\n"},
      {"AT+GOOD", "\r\n+GOOD: 1\r\n\r\n+GOOD: 2\r\n\r\nOK\r\n",
       "\r\n+GOOD: 1\r\n\r\n+GOOD: 2\r\n\r\nOK\r\n", "\r\n+GOOD: 1\r\n\r\n+GOOD: 2\r\n\r\nOK\r\n"},
      {"AT+REPORT", "\r\n+REPORT: partial\r\n\r\nERROR\r\n",
       "\r\n+REPORT: partial\r\n\r\n+CME ERROR: 0\r\n",
       "\r\n+REPORT: partial\r\n\r\n+CME ERROR: CAMERA error. open /x. reason:gone\r\n"},
      {"AT+PARAM", "\r\nERROR\r\n", "\r\n+CME ERROR: 50\r\n",
       "\r\n+CME ERROR: incorrect parameters\r\n"},
      // An unknown command or bad syntax is the line's fault: plain ERROR in every mode.
      {"AT+NOPE", "\r\nERROR\r\n", "\r\nERROR\r\n", "\r\nERROR\r\n"},
      {"hello", "\r\nERROR\r\n", "\r\nERROR\r\n", "\r\nERROR\r\n"},
      {"ATE7", "\r\nERROR\r\n", "\r\nERROR\r\n", "\r\nERROR\r\n"},
      // The family takes its members, not its bare prefix.
      {"AT+FAM_X=1,a", "\r\nAT+FAM_X=1,a\r\n\r\nOK\r\n", "\r\nAT+FAM_X=1,a\r\n\r\nOK\r\n",
       "\r\nAT+FAM_X=1,a\r\n\r\nOK\r\n"},
      {"AT+FAM_", "\r\nERROR\r\n", "\r\nERROR\r\n", "\r\nERROR\r\n"},
      // The first failure ends the line: +GOOD after it does not run.
      {"AT+PARAM;+GOOD", "\r\nERROR\r\n", "\r\n+CME ERROR: 50\r\n",
       "\r\n+CME ERROR: incorrect parameters\r\n"},
      {"AT+CMEE=?", "\r\n+CMEE: (0-2)\r\n\r\nOK\r\n", "\r\n+CMEE: (0-2)\r\n\r\nOK\r\n",
       "\r\n+CMEE: (0-2)\r\n\r\nOK\r\n"},
      {"AT+CMEE=3", "\r\nERROR\r\n", "\r\n+CME ERROR: 50\r\n",
       "\r\n+CME ERROR: incorrect parameters\r\n"},
  };
  const char* modes[] = {"AT+CMEE=0", "AT+CMEE=1", "AT+CMEE=2"};
  for (const Case& c : cases) {
    const char* expected[] = {c.off, c.numeric, c.verbose};
    for (int m = 0; m < 3; ++m) {
      AtEngine engine = TestEngine();
      ASSERT_EQ(engine.Execute(modes[m]), "\r\nOK\r\n");
      EXPECT_EQ(engine.Execute(c.line), expected[m]) << c.line << " under " << modes[m];
    }
  }
}

TEST(AtEngine, CmeeReadsBackAndDefaults) {
  AtEngine engine;
  EXPECT_EQ(engine.Execute("AT+CMEE?"), "\r\n+CMEE: 0\r\n\r\nOK\r\n");
  EXPECT_EQ(engine.Execute("AT+CMEE=2"), "\r\nOK\r\n");
  EXPECT_EQ(engine.Execute("AT+CMEE?"), "\r\n+CMEE: 2\r\n\r\nOK\r\n");
  EXPECT_EQ(engine.Execute("AT+CMEE="), "\r\nOK\r\n");  // the empty value is the default, 0
  EXPECT_EQ(engine.cmee(), CmeeMode::kOff);
}

std::string Feed(AtSession* session, const std::string& bytes) {
  return session->Receive(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

TEST(AtSession, TakesLineNoise) {
  struct Case {
    const char* name;
    bool echo;
    std::string input;
    std::string output;
  } cases[] = {
      {"CR ends a line", false, "AT\r", "\r\nOK\r\n"},
      {"LF ends a line", false, "AT\n", "\r\nOK\r\n"},
      {"CR LF is one end", false, "AT\r\nAT\r\n", "\r\nOK\r\n\r\nOK\r\n"},
      {"LF CR is two ends, the second a blank line", false, "AT\n\rAT\r", "\r\nOK\r\n\r\nOK\r\n"},
      {"blank lines get no answer", false, "\r\r\n\n", ""},
      {"backspace takes back a character", false, "ATX\bE1\r", "\r\nOK\r\n"},
      {"DEL too", false, "AT+CMEX\x7f" "E=1\r", "\r\nOK\r\n"},
      {"backspace on an empty line is nothing", false, "\b\bAT\r", "\r\nOK\r\n"},
      {"a line split across reads", false, "A", ""},
      {"echo on: the line comes back before its answer", true, "AT\r", "AT\r\r\nOK\r\n"},
      // The answer goes out at the CR; the LF's echo follows it.
      {"echo of CR LF", true, "AT\r\n", "AT\r\r\nOK\r\n\n"},
      {"echo of a backspace erases on the terminal", true, "ATX\bE\r", "ATX\b \bE\r\r\nOK\r\n"},
      {"ATE0's own line is echoed, its answer is not", true, "ATE0\rAT\r",
       "ATE0\r\r\nOK\r\n\r\nOK\r\n"},
  };
  for (const Case& c : cases) {
    AtEngine engine;
    if (!c.echo) {
      ASSERT_EQ(engine.Execute("ATE0"), "\r\nOK\r\n");
    }
    AtSession session(&engine);
    EXPECT_EQ(Feed(&session, c.input), c.output) << c.name;
  }
}

TEST(AtSession, RefusesAnOverlongLineAndCarriesOn) {
  AtEngine engine;
  ASSERT_EQ(engine.Execute("AT+CMEE=2"), "\r\nOK\r\n");
  AtSession session(&engine);
  std::string longest = "AT" + std::string(AtSession::kMaxLine - 2, ' ');
  EXPECT_EQ(Feed(&session, longest + "\r"), longest + "\r\r\nOK\r\n") << "the limit itself";
  std::string too_long = "AT" + std::string(AtSession::kMaxLine * 4, 'X');
  std::string out = Feed(&session, too_long + "\r");
  // The echo stops at the limit; the answer is the error, not an answer to a cut-off command.
  EXPECT_EQ(out, too_long.substr(0, AtSession::kMaxLine) + "\r\r\n+CME ERROR: text string too long\r\n");
  EXPECT_EQ(Feed(&session, "AT\r"), "AT\r\r\nOK\r\n");
}

TEST(AtSession, HangupDropsTheHalfTypedLine) {
  AtEngine engine;
  AtSession session(&engine);
  EXPECT_EQ(Feed(&session, "ATE0+CMEE=1\r"), "ATE0+CMEE=1\r\r\nOK\r\n");
  EXPECT_EQ(Feed(&session, "AT+CG"), "");
  session.Hangup();
  EXPECT_EQ(Feed(&session, "AT\r"), "\r\nOK\r\n") << "settings stay, the half line does not";
  EXPECT_EQ(engine.cmee(), CmeeMode::kNumeric);
}

}  // namespace
}  // namespace orba::at
