#include <gtest/gtest.h>
#include <string.h>

#include <string>

#include <orbafactory/foundation.h>
#include "support/device_root.h"
#include "support/log_capture.h"

#include <platform/host/device_init.h>

namespace {

using orba::test::LogCapture;

TEST(TextEdit, GetTrimStringTrimsSpacesOnly) {
  struct Case {
    const char* in;
    const char* out;
    int len;
  };
  const Case cases[] = {
      {"  ab  ", "ab", 2}, {"ab", "ab", 2}, {"   ", "", 0}, {"", "", 0}, {"\tab ", "\tab", 3},
  };
  for (const Case& c : cases) {
    char buf[32];
    strcpy(buf, c.in);
    char* p = buf;
    EXPECT_EQ(get_trim_string(&p), c.len) << c.in;
    EXPECT_STREQ(p, c.out) << c.in;
  }
  char spaces[] = "   ";
  char* p = spaces;
  get_trim_string(&p);
  EXPECT_EQ(p, spaces + 3);  // an all-space string leaves the pointer at its end
}

TEST(TextEdit, TrimEmptyLeavesTabs) {
  struct Case {
    const char* in;
    const char* out;
  };
  const Case cases[] = {
      {" \tab\r\n", "\tab"}, {"\r\n x \n", "x"}, {"  \n", ""}, {"plain", "plain"},
  };
  for (const Case& c : cases) {
    char buf[32];
    strcpy(buf, c.in);
    EXPECT_STREQ(trim_empty(buf), c.out) << c.in;
  }
  EXPECT_EQ(trim_empty(nullptr), nullptr);
}

TEST(TextEdit, RemoveSpecialTagKeepsTheSecondOfAPair) {
  struct Case {
    const char* in;
    char tag;
    const char* out;
    int ret;
  };
  const Case cases[] = {
      {"a,,b", ',', "a,b", 4}, {"a,b,c", ',', "abc", 5}, {"ab,", ',', "ab", 3},
      {",,,,", ',', ",,", 4},  {"abc", 'x', "abc", 3},
  };
  for (const Case& c : cases) {
    char buf[32];
    strcpy(buf, c.in);
    EXPECT_EQ(remove_special_tag(buf, c.tag), c.ret) << c.in;
    EXPECT_STREQ(buf, c.out) << c.in;
  }
}

TEST(TextEdit, DeleteCharAndReplaceAll) {
  char quoted[] = "\"a\"b\"";
  delete_char(quoted, '"');
  EXPECT_STREQ(quoted, "ab");

  struct Case {
    const char* in;
    const char* from;
    const char* to;
    const char* out;
  };
  const Case cases[] = {
      {"a-b-c", "-", "--", "a--b--c"},
      {"aaaa", "aa", "b", "bb"},
      {"x.y", "z", "q", "x.y"},
      {"abcabc", "abc", "", ""},
      {"ab", "", "x", "ab"},  // an empty pattern changes nothing
  };
  for (const Case& c : cases) {
    char buf[64];
    strcpy(buf, c.in);
    strreplace(buf, c.from, c.to);
    EXPECT_STREQ(buf, c.out) << c.in << " " << c.from << "->" << c.to;
  }
}

TEST(TextEdit, ReplaceSubStrReplacesFirstAndStaysInBounds) {
  LogCapture log;
  char dst[16];
  EXPECT_STREQ(replace_sub_str("a.b.c", ".", "::", dst, sizeof(dst)), "a::b.c");
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "input = a.b.c, srcSubStr = ., dstSubStr = ::"));

  replace_sub_str("abc", "x", "y", dst, sizeof(dst));
  EXPECT_STREQ(dst, "abc");
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "not exist: x")) << log.Dump();

  // Output longer than dst_len is cut at dst_len and the bytes after it are untouched.
  char guarded[12];
  memset(guarded, '#', sizeof(guarded));
  replace_sub_str("0123456789", "5", "XXXXXX", guarded, 8);
  EXPECT_EQ(std::string(guarded, 8), "01234XXX");
  EXPECT_EQ(std::string(guarded + 8, 4), "####");
}

TEST(TextEdit, CaseAndAbsoluteValue) {
  char mixed[] = "AbC-xY";
  EXPECT_STREQ(uppercase_to_lowcase(mixed, 3), "abc-xY");
  EXPECT_STREQ(lowcase_to_uppercase(mixed, 0), "abc-xY");
  EXPECT_STREQ(lowcase_to_uppercase(mixed, 6), "ABC-XY");
  char up[] = "sn123z";
  EXPECT_EQ(char_toupper(up), 6);
  EXPECT_STREQ(up, "SN123Z");
  EXPECT_EQ(char_toupper(nullptr), 0);

  char neg[] = "-42";
  EXPECT_EQ(str_abs(neg), 2);
  EXPECT_STREQ(neg, "42");
  char fixed[] = "ABCDEFGHIJ";
  terminate_end_char(fixed);
  EXPECT_STREQ(fixed, "ABCDEFG");
}

class SubstringTest : public orba::test::DeviceRootTest {};

TEST_F(SubstringTest, TracesOnlyInFactoryMode) {
  {
    LogCapture log;
    char text[] = "\"quoted\"";
    EXPECT_STREQ(substring(text), "quoted");
    EXPECT_TRUE(log.Lines().empty()) << log.Dump();
  }
  ASSERT_EQ(orba_init_property_set("persist.sys.factory.mode", "yes"), 0);
  LogCapture log;
  char text[] = "\"quoted\"";
  EXPECT_STREQ(substring(text), "quoted");
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "before: \"quoted\", strlen: 8")) << log.Dump();
  // The second trace repeats the word "before:" on purpose.
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "before: quoted, strlen: 6")) << log.Dump();
}

}  // namespace
