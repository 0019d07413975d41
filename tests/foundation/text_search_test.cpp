#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include <orbafactory/foundation.h>
#include "support/log_capture.h"

namespace {

using orba::test::LogCapture;

const unsigned char* Bytes(const char* s) { return reinterpret_cast<const unsigned char*>(s); }

TEST(TextSearch, FindSubStrLooksOnlyAtTheFirstPositions) {
  struct Case {
    const char* hay;
    int n;
    const char* needle;
    int found;
  };
  const Case cases[] = {
      {"hello world", 7, "world", 1}, {"hello world", 6, "world", 0}, {"abc", 1, "abc", 1},
      {"abc", 0, "a", 0},             {"abc", 10, "abcd", 0},         {"abc", 3, "c", 1},
  };
  for (const Case& c : cases) EXPECT_EQ(find_sub_str(c.hay, c.n, c.needle), c.found) << c.hay;
  EXPECT_EQ(find_sub_str(nullptr, 3, "a"), 0);
}

TEST(TextSearch, CharCountsAndAllSameHaveTheirLengthRules) {
  LogCapture log;
  EXPECT_EQ(get_char_nums("a,b,,c", ','), 3);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "num = 3"));
  std::string long_text(1023, ',');
  EXPECT_EQ(get_char_nums(long_text.c_str(), ','), -1);
  EXPECT_EQ(get_char_nums(long_text.substr(0, 1022).c_str(), ','), 1022);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "out of scope!!"));

  EXPECT_EQ(isall_str("000\n0", '0'), 1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "buffer = 000\n0"));
  EXPECT_EQ(isall_str("0010", '0'), 0);
  // Too long to check counts as a match.
  std::string long_mixed(1100, 'x');
  EXPECT_EQ(isall_str(long_mixed.c_str(), '0'), 1);
}

TEST(TextSearch, AmountFindMissesOverlappingStarts) {
  struct Case {
    const char* pat;
    const char* data;
    std::vector<unsigned> positions;
  };
  const std::vector<Case> cases = {
      {"aab", "aaab", {}},  // the retry inside a failed partial match is not made
      {"ab", "abxab", {2, 5}},
      {"aa", "aaaa", {2, 4}},
      {"ab", "", {}},
      {"OK", "OK\r\nOK\r\nERROR", {2, 6}},
  };
  for (const Case& c : cases) {
    int n = StrAmountFind(Bytes(c.pat), static_cast<unsigned>(strlen(c.pat)), Bytes(c.data),
                          static_cast<unsigned>(strlen(c.data)));
    ASSERT_EQ(n, static_cast<int>(c.positions.size())) << c.pat << " in " << c.data;
    for (size_t i = 0; i < c.positions.size(); ++i) EXPECT_EQ(GetStrPosition(int(i)), c.positions[i]);
  }
}

TEST(TextSearch, AmountFindNeverWritesPastItsTable) {
  std::string data(200, 'z');
  EXPECT_EQ(StrAmountFind(Bytes("z"), 1, Bytes(data.c_str()), 200), 200);
  EXPECT_EQ(GetStrPosition(63), 64u);
  EXPECT_EQ(GetStrPosition(64), 0u);
  EXPECT_EQ(GetStrPosition(-1), 0u);
}

TEST(TextSearch, TwoWayFindReportsTheByteAfterAnInnerMatch) {
  struct Case {
    const char* pat;
    const char* data;
    int index;
  };
  const Case cases[] = {
      {"key=", "key=value", 4},
      {"key=", "xx key=", 0},   // a match at the very end is not reported
      {"aab", "aaab+", 0},      // missed by the matcher
      {"ab", "abab!", 2},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(twoway_strfind(Bytes(c.pat), static_cast<unsigned>(strlen(c.pat)), Bytes(c.data),
                             static_cast<unsigned>(strlen(c.data))),
              c.index)
        << c.pat << " in " << c.data;
  }
}

TEST(TextSearch, MatchRegexIsExtendedAndLogged) {
  LogCapture log;
  EXPECT_EQ(matchRegex("^[0-9]{3}-[a-z]+$", "123-abc"), 1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "pattern:^[0-9]{3}-[a-z]+$, userString:123-abc, result:1"));
  EXPECT_EQ(matchRegex("^(a|b)+$", "abc"), 0);
  EXPECT_EQ(matchRegex("([", "x"), 0);  // does not compile
}

}  // namespace
