// Typed getters, case-sensitive lookups, the key buffer, and the section walks.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <orbafactory/config.h>
#include "config/ini_test_util.h"

namespace {

using orba::test::Dict;
using orba::test::LoadText;

const char kNumbers[] =
    "[Num]\n"
    "Dec = 42\n"
    "Hex = 0x1F\n"
    "Oct = 017\n"
    "Neg = -5\n"
    "Big = 9000000000\n"
    "Float = 2.5e1\n"
    "Text = abc\n"
    "Empty = ''\n"
    "[Bool]\n"
    "a = yes\nb = True\nc = 1\nd = no\ne = False\nf = 0\ng = maybe\nh = \"\"\n";

TEST(IniGetters, TypedValues) {
  Dict d = LoadText(kNumbers);
  ASSERT_NE(d, nullptr);
  struct IntCase {
    const char* key;
    long value;  // -99 is the default passed in
  };
  const IntCase ints[] = {
      {"Num:Dec", 42},   {"Num:Hex", 31},       {"Num:Oct", 15},   {"Num:Neg", -5},
      {"Num:Text", 0},   {"Num:Empty", 0},      {"num:dec", -99},  {"Num:Missing", -99},
      {"Num", -99},      // a section: present, but without a value
      {"Num:Big", 9000000000L},
  };
  for (const IntCase& c : ints) {
    SCOPED_TRACE(c.key);
    EXPECT_EQ(iniparser_getlongint(d.get(), c.key, -99), c.value);
    if (c.value == static_cast<int>(c.value)) {
      EXPECT_EQ(iniparser_getint(d.get(), c.key, -99), c.value);
    }
  }

  EXPECT_DOUBLE_EQ(iniparser_getdouble(d.get(), "Num:Float", -1.0), 25.0);
  EXPECT_DOUBLE_EQ(iniparser_getdouble(d.get(), "Num:Dec", -1.0), 42.0);
  EXPECT_DOUBLE_EQ(iniparser_getdouble(d.get(), "Num:Text", -1.0), 0.0);
  EXPECT_DOUBLE_EQ(iniparser_getdouble(d.get(), "Num", -1.0), -1.0);
  EXPECT_DOUBLE_EQ(iniparser_getdouble(d.get(), "Num:None", -1.0), -1.0);

  struct BoolCase {
    const char* key;
    int value;  // 7 is the default passed in
  };
  const BoolCase bools[] = {{"Bool:a", 1}, {"Bool:b", 1}, {"Bool:c", 1}, {"Bool:d", 0},
                            {"Bool:e", 0}, {"Bool:f", 0}, {"Bool:g", 7}, {"Bool:h", 7},
                            {"Bool", 7},   {"Bool:z", 7}, {"bool:a", 7}};
  for (const BoolCase& c : bools) {
    EXPECT_EQ(iniparser_getboolean(d.get(), c.key, 7), c.value) << c.key;
  }

  // A section key or a missing dictionary gives the default, never a crash.
  EXPECT_EQ(iniparser_getint(nullptr, "Num:Dec", -3), -3);
  EXPECT_STREQ(iniparser_getstring(d.get(), nullptr, "def"), "def");
}

TEST(IniGetters, StringsAndEntries) {
  Dict d = LoadText("[Sec]\nKey = 1\n");
  ASSERT_NE(d, nullptr);
  EXPECT_STREQ(iniparser_getstring(d.get(), "Sec:Key", "def"), "1");
  EXPECT_STREQ(iniparser_getstring(d.get(), "sec:key", "def"), "def");
  EXPECT_EQ(iniparser_getstring(d.get(), "Sec", "def"), nullptr);  // the section's own value
  EXPECT_EQ(iniparser_getint(d.get(), "Sec:Key", 0), 1);
  EXPECT_EQ(iniparser_getint(d.get(), "sec:key", 0), 0);
  EXPECT_EQ(iniparser_find_entry(d.get(), "Sec"), 1);
  EXPECT_EQ(iniparser_find_entry(d.get(), "Sec:Key"), 1);
  EXPECT_EQ(iniparser_find_entry(d.get(), "SEC"), 0);

  EXPECT_EQ(iniparser_set(d.get(), "New", nullptr), 0);
  EXPECT_EQ(iniparser_set(d.get(), "New:Val", "x"), 0);
  EXPECT_EQ(iniparser_getnsec(d.get()), 2);
  EXPECT_STREQ(iniparser_getstring(d.get(), "New:Val", nullptr), "x");
  iniparser_unset(d.get(), "New:val");
  EXPECT_EQ(iniparser_find_entry(d.get(), "New:Val"), 1);
  iniparser_unset(d.get(), "New:Val");
  EXPECT_EQ(iniparser_find_entry(d.get(), "New:Val"), 0);
}

TEST(IniGetters, KeysAreCutAtBufferSize) {
  Dict d(dictionary_new(0));
  std::string head(1024, 'k');
  std::string longer = head + "tail";
  ASSERT_EQ(iniparser_set(d.get(), longer.c_str(), "v"), 0);
  ASSERT_STREQ(d->key[0], head.c_str());  // stored as the first 1024 characters
  EXPECT_STREQ(iniparser_getstring(d.get(), head.c_str(), nullptr), "v");
  EXPECT_STREQ(iniparser_getstring(d.get(), (head + "other").c_str(), nullptr), "v");
  EXPECT_EQ(iniparser_find_entry(d.get(), head.substr(1).c_str()), 0);
  // The dictionary layer itself takes keys whole.
  EXPECT_EQ(dictionary_get(d.get(), longer.c_str(), nullptr), nullptr);
  iniparser_unset(d.get(), (head + "x").c_str());
  EXPECT_EQ(d->n, 0);
}

TEST(IniGetters, SectionWalks) {
  Dict d = LoadText(
      "top = 0\n"
      "[S]\na = 1\nb = 2\n"
      "[S2]\nc = 3\n"
      "[Empty]\n"
      "[S]\nd = 4\n");
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(iniparser_getnsec(d.get()), 3);
  EXPECT_EQ(iniparser_getnsec(nullptr), -1);
  std::vector<std::string> names;
  for (int i = 0; i < 3; ++i) names.push_back(iniparser_getsecname(d.get(), i));
  EXPECT_EQ(names, (std::vector<std::string>{"S", "S2", "Empty"}));
  EXPECT_EQ(iniparser_getsecname(d.get(), 3), nullptr);
  EXPECT_EQ(iniparser_getsecname(d.get(), -1), nullptr);

  struct Case {
    const char* section;
    std::vector<std::string> keys;
    bool found;
  };
  const Case cases[] = {
      {"S", {"S:a", "S:b", "S:d"}, true},  // not S2's keys
      {"S2", {"S2:c"}, true},
      {"Empty", {}, true},
      {"s", {}, false},
      {"", {}, false},  // keys before any section have no section entry
      {"Missing", {}, false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.section);
    EXPECT_EQ(iniparser_getsecnkeys(d.get(), c.section), static_cast<int>(c.keys.size()));
    const char* keys[8] = {};
    const char** got = iniparser_getseckeys(d.get(), c.section, keys);
    if (!c.found) {
      EXPECT_EQ(got, nullptr);
      continue;
    }
    ASSERT_EQ(got, keys);
    std::vector<std::string> listed;
    for (size_t i = 0; i < c.keys.size(); ++i) listed.push_back(keys[i]);
    EXPECT_EQ(listed, c.keys);
    EXPECT_EQ(keys[c.keys.size()], nullptr);
  }
  EXPECT_EQ(iniparser_getseckeys(d.get(), "S", nullptr), nullptr);
}

}  // namespace
