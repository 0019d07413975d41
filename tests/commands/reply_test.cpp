// The two shell replies: what a script splitting plain text reads, and whether every JSON line
// parses as the value it carries.

#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

#include "command.h"
#include "support/recording_reply.h"
#include "reply.h"

namespace {

using orba::cli::Fields;
using orba::cli::Value;

struct QuoteCase {
  const char* text;
  const char* shown;
};

TEST(ReplyTest, PlainValuesAreQuotedOnlyWhereASplitWouldMisreadThem) {
  const QuoteCase cases[] = {
      {"gsensor_cali", "gsensor_cali"},
      {"0x1f", "0x1f"},
      {"", "\"\""},
      {"a b", "\"a b\""},
      {"k=v", "\"k=v\""},
      {"say \"hi\"", "\"say \\\"hi\\\"\""},
      {"back\\slash", "\"back\\\\slash\""},
      {"two\nlines", "\"two\\nlines\""},
      {"OK\r\n", "\"OK\\r\\n\""},
      {"\x01", "\"\\x01\""},
  };
  for (const QuoteCase& c : cases) {
    EXPECT_EQ(orba::cli::QuotedIfNeeded(c.text), c.shown) << c.text;
  }
}

struct JsonCase {
  std::string text;
  const char* literal;
};

TEST(ReplyTest, JsonStringsEscapeWhatJsonForbidsAndKeepValidUtf8) {
  const JsonCase cases[] = {
      {"plain", "\"plain\""},
      {"q\"b\\", "\"q\\\"b\\\\\""},
      {"\n\r\t", "\"\\n\\r\\t\""},
      {std::string("\x00\x1f\x7f", 3), "\"\\u0000\\u001f\\u007f\""},
      {"\xc2\xb0", "\"\xc2\xb0\""},            // a degree sign stays itself
      {"\xff", "\"\\u00ff\""},                 // a stray byte is a code point
      {"\xe2\x82", "\"\\u00e2\\u0082\""},      // a cut sequence is bytes again
  };
  for (const JsonCase& c : cases) EXPECT_EQ(orba::cli::JsonString(c.text), c.literal);
}

struct PlainCase {
  Value value;
  const char* plain;
};

TEST(ReplyTest, EachKindOfValueHasOnePlainForm) {
  const PlainCase cases[] = {
      {Value("text"), "text"},
      {Value(-3), "-3"},
      {Value(4294967295UL), "4294967295"},
      {Value(true), "true"},
      {Value(false), "false"},
      {Value::Real(12.345, 2), "12.35"},
      {Value::Real(-0.5, 0), "-0"},
  };
  for (const PlainCase& c : cases) EXPECT_EQ(c.value.Plain(), c.plain);
}

// Runs `body` with stdout and stderr taken into strings.
template <typename Body>
void Capture(Body body, std::string* out, std::string* err) {
  char out_name[] = "/tmp/orba-reply-out-XXXXXX";
  char err_name[] = "/tmp/orba-reply-err-XXXXXX";
  int out_fd = mkstemp(out_name), err_fd = mkstemp(err_name);
  ASSERT_GE(out_fd, 0);
  ASSERT_GE(err_fd, 0);
  fflush(stdout);
  fflush(stderr);
  int saved_out = dup(1), saved_err = dup(2);
  dup2(out_fd, 1);
  dup2(err_fd, 2);
  body();
  fflush(stdout);
  fflush(stderr);
  dup2(saved_out, 1);
  dup2(saved_err, 2);
  close(saved_out);
  close(saved_err);
  auto slurp = [](int fd) {
    std::string text;
    char buf[512];
    lseek(fd, 0, SEEK_SET);
    for (ssize_t n; (n = read(fd, buf, sizeof(buf))) > 0;) text.append(buf, n);
    close(fd);
    return text;
  };
  *out = slurp(out_fd);
  *err = slurp(err_fd);
  unlink(out_name);
  unlink(err_name);
}

TEST(ReplyTest, TextShowsALoneFieldBareAndSeveralAsPairs) {
  std::string out, err;
  Capture(
      [] {
        orba::cli::TextReply reply;
        reply.Answer({{"serial", "ABC123"}});
        reply.Answer({{"item", "gsensor_cali"}, {"state", 1}, {"note", "not run"}});
        reply.Record({{"mtk_nv_checksum", "0x0"}, {"name", "a b"}});
        reply.Stream("raw bytes\n");
        reply.Note("a hint");
        EXPECT_EQ(reply.Failure(1, "nv get: no record", "  note: see -v\n"), 1);
      },
      &out, &err);
  EXPECT_EQ(out,
            "ABC123\n"
            "item=gsensor_cali state=1 note=\"not run\"\n"
            "mtk_nv_checksum=0x0\nname=a b\n"
            "raw bytes\n");
  EXPECT_EQ(err, "a hint\norbafactory: nv get: no record\n  note: see -v\n");
}

TEST(ReplyTest, JsonGivesOneObjectPerAnswerAndTheFailureOnStderr) {
  std::string out, err;
  Capture(
      [] {
        orba::cli::JsonReply reply;
        reply.Answer({{"item", "gsensor_cali"}, {"state", 1}, {"done", true}});
        reply.Answer({{"angle", Value::Real(210.004, 2)}, {"nan", Value::Real(0.0 / 0.0, 2)}});
        reply.Stream("line 1\n");
        reply.Stream("line 2\n");
        reply.Note("not on stdout");
        reply.Failure(2, "cali get: no item 'x'", "  see orbafactory cali items\n");
        reply.End(2);
      },
      &out, &err);
  EXPECT_EQ(out,
            "{\"item\":\"gsensor_cali\",\"state\":1,\"done\":true}\n"
            "{\"angle\":210.00,\"nan\":null}\n"
            "{\"text\":\"line 1\\nline 2\\n\"}\n");
  EXPECT_EQ(err,
            "not on stdout\n"
            "{\"exit\":2,\"message\":\"cali get: no item 'x'\","
            "\"details\":[\"see orbafactory cali items\"]}\n");
}

TEST(ReplyTest, ParseErrorsReachTheReplyAsUsageFailures) {
  orba::testing::RecordingReply reply;
  long value = 0;
  EXPECT_FALSE(orba::cli::ParseIntIn(reply, "12", "count", 0, 9, &value));
  EXPECT_FALSE(orba::cli::ParseInt(reply, "twelve", "count", &value));
  EXPECT_TRUE(orba::cli::ParseIntIn(reply, "0x9", "count", 0, 9, &value));
  EXPECT_EQ(value, 9);
  ASSERT_EQ(reply.failures.size(), 2u);
  EXPECT_EQ(reply.failures[0].code, orba::cli::kUsage);
  EXPECT_EQ(reply.failures[0].message, "count: 12 is outside 0..9");
  EXPECT_EQ(reply.failures[1].message, "count: 'twelve' is not a number");
}

}  // namespace
