// Cutting bracketed sections out of policy buffers.

#include <android/log.h>
#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include <orbafactory/config.h>

#include "support/log_capture.h"

namespace orba::test {
namespace {

using Getter = int (*)(char*, char*, int, const char*, const char*);

TEST(PolicySectionTest, GetInnerData) {
  struct Case {
    const char* name;
    Getter get;
    const char* buffer;
    const char* start;
    const char* end;
    int dst_size;
    int ret;
    std::string inner;  // the dst_size bytes of dst
  };
  const Getter plain = get_inner_data_between_flag;
  const Getter no_start = get_inner_data_between_flag_no_start;
  const std::vector<Case> cases = {
      {"plain section", plain, "x[front:12,34]y", "[front:", "]", 16, 0, "12,34"},
      {"no_start section", no_start, "x[front:12,34]y", "[front:", "]", 16, 0, "12,34"},
      {"cut to dst_size", plain, "[front:12,34]", "[front:", "]", 3, 0, "12,"},
      {"missing start", plain, "[rear:1]", "[front:", "]", 16, -1, ""},
      {"missing end", plain, "[front:1", "[front:", "]", 16, -1, ""},
      // The plain search takes the first end flag in the buffer, even one before the start.
      {"end before start", plain, "a][k:]5]", "[k:", "]", 16, -1, ""},
      // The no_start search begins one past the start flag, skipping an end flag right after it.
      {"end right after start", no_start, "a][k:]5]", "[k:", "]", 16, 0, "]5"},
      {"empty one-char section", plain, "[]", "[", "]", 16, -1, ""},
      {"start flag at the very end", no_start, "abc[k:", "[k:", "]", 16, -1, ""},
      {"end flag only after start", no_start, "[k:]", "[k:", "]", 16, -1, ""},
  };
  for (const Case& c : cases) {
    std::string buffer = c.buffer;
    char dst[32];
    memset(dst, 'Z', sizeof(dst));
    EXPECT_EQ(c.get(buffer.data(), dst, c.dst_size, c.start, c.end), c.ret) << c.name;
    if (c.ret == 0) {
      std::string got(dst, strnlen(dst, c.dst_size));
      EXPECT_EQ(got, c.inner) << c.name;
    }
    // Nothing past dst_size is ever written, terminator included.
    EXPECT_EQ(dst[c.dst_size], 'Z') << c.name;
  }
}

TEST(PolicySectionTest, MissingFlagsAreNamedInTheLog) {
  LogCapture log;
  char buffer[] = "[rear:1]";
  char dst[8] = {};
  EXPECT_EQ(get_inner_data_between_flag(buffer, dst, 7, "[front:", "]"), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "[front: not found ")) << log.Dump();
  char open_only[] = "[rear:1";
  EXPECT_EQ(get_inner_data_between_flag_no_start(open_only, dst, 7, "[rear:", "]"), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "(null) not found ")) << log.Dump();
}

TEST(PolicySectionTest, DeleteInnerData) {
  struct Case {
    const char* name;
    std::string buffer;
    const char* start;
    const char* end;
    unsigned n;
    int ret;
    std::string dst;  // what dst holds afterwards ("ZZZZ..." untouched)
    const char* log;
  };
  const std::string untouched(8, 'Z');
  const std::vector<Case> cases = {
      {"middle section", "[a:1][b:2][c:3]", "[b:", "]", 1023, 1, "[a:1][c:3]",
       "deleted result = [a:1][c:3]"},
      {"first section", "[b:2]tail", "[b:", "]", 1023, 1, "tail", nullptr},
      {"only the first end character goes", "[b:2]]x", "[b:", "]]", 1023, 1, "]x", nullptr},
      {"no start", "[a:1]", "[b:", "]", 1023, 0, untouched, "[b:: not found "},
      {"no end", "[b:1", "[b:", "]", 1023, 0, untouched, "]: not found "},
      {"empty buffer", "", "[b:", "]", 1023, 0, untouched, "buffer is null: "},
      {"n above 1024", "[b:1]", "[b:", "]", 1025, -1, untouched, "out of scope!!"},
      {"buffer of 1024", std::string(1020, 'a') + "[b:]", "[b:", "]", 1023, -1, untouched,
       "out of scope!!"},
  };
  for (const Case& c : cases) {
    char dst[1100];
    memset(dst, 'Z', sizeof(dst));
    LogCapture log;
    EXPECT_EQ(delete_inner_data_between_flag(c.buffer.c_str(), dst, c.n, c.start, c.end), c.ret)
        << c.name;
    EXPECT_EQ(std::string(dst, c.dst.size()), c.dst) << c.name;
    if (c.ret == 1) {
      EXPECT_EQ(dst[c.dst.size()], '\0') << c.name;
    }
    if (c.log != nullptr) {
      EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, c.log)) << c.name << log.Dump();
    }
  }
}

TEST(PolicySectionTest, DeleteCopiesAtMostN) {
  char dst[16];
  memset(dst, 'Z', sizeof(dst));
  EXPECT_EQ(delete_inner_data_between_flag("abcdef[x]", dst, 4, "[x", "]"), 1);
  EXPECT_EQ(std::string(dst, 5), "abcdZ");
  EXPECT_EQ(delete_inner_data_between_flag(nullptr, dst, 4, "[x", "]"), 0);
}

}  // namespace
}  // namespace orba::test
