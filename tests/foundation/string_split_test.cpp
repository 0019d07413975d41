#include <gtest/gtest.h>

#include <string>

#include <orbafactory/foundation.h>
#include "support/log_capture.h"

namespace {

using orba::test::LogCapture;

TEST(StringSplit, NineFieldsAtMost) {
  LogCapture log;
  factory_split_result_t* r = factory_string_split("a,b,c,d,e,f,g,h,i", ",");
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->count, 9);
  EXPECT_STREQ(r->item[0], "a");
  EXPECT_STREQ(r->item[8], "i");
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "split count:9"));
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "input str:a,b,c,d,e,f,g,h,i split str:,"));

  EXPECT_EQ(factory_string_split("a,b,c,d,e,f,g,h,i,j", ","), nullptr);
  EXPECT_EQ(r->count, 0);  // the record is cleared
  EXPECT_STREQ(r->item[0], "");
}

TEST(StringSplit, DelimiterRunsAndEmptyInput) {
  factory_split_result_t* r = factory_string_split(",,1;;22,", ",;");
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->count, 2);
  EXPECT_STREQ(r->item[0], "1");
  EXPECT_STREQ(r->item[1], "22");
  r = factory_string_split("", ",");
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->count, 0);
}

TEST(StringSplit, NullArgumentsAreRefused) {
  LogCapture log;
  EXPECT_EQ(factory_string_split(nullptr, ","), nullptr);
  EXPECT_EQ(factory_string_split("a", nullptr), nullptr);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "str or token is NULL"));
}

TEST(StringSplit, LongTokenRunsIntoTheNextFieldButNotPastTheRecord) {
  factory_split_result_t* r = factory_string_split("0123456789AB,x", ",");
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->count, 2);
  EXPECT_EQ(std::string(r->item[0], 10), "0123456789");
  EXPECT_STREQ(r->item[1], "x");

  std::string huge(300, 'q');
  r = factory_string_split(huge.c_str(), ",");
  ASSERT_NE(r, nullptr);
  EXPECT_EQ(r->count, 1);
  EXPECT_EQ(strlen(r->item[0]), sizeof(r->item) - 1);
}

}  // namespace
