// The slot table: hashing, where entries land, growth, removal and the slot walk.

#include <gtest/gtest.h>
#include <errno.h>
#include <string.h>

#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include <orbafactory/config.h>
#include "config/ini_test_util.h"

namespace {

using orba::test::Dict;

std::string Key(int i) { return "key" + std::to_string(i); }

int SlotOf(const dictionary* d, const std::string& key) {
  for (int64_t i = 0; i < d->size; ++i) {
    if (d->key[i] != nullptr && key == d->key[i]) return static_cast<int>(i);
  }
  return -1;
}

TEST(Dictionary, HashIsOneAtATime) {
  struct Case {
    const char* key;
    unsigned hash;
  };
  const Case cases[] = {
      {nullptr, 0},
      {"", 0},
      {"a", 0xca2e9442u},
      {"The quick brown fox jumps over the lazy dog", 0x519e91f5u},
      {"Sec:Key", 0x23d976b1u},
      {"\xff", 0xc7b20f1du},  // bytes are unsigned
  };
  for (const Case& c : cases) {
    EXPECT_EQ(dictionary_hash(c.key), c.hash) << (c.key != nullptr ? c.key : "null");
  }
}

TEST(Dictionary, NewHasAtLeastMinimumSlots) {
  for (auto [asked, expected] : {std::pair<size_t, int64_t>{0, 128}, {127, 128}, {300, 300}}) {
    Dict d(dictionary_new(asked));
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(d->size, expected);
    EXPECT_EQ(d->n, 0);
    for (int64_t i = 0; i < d->size; ++i) {
      ASSERT_EQ(d->key[i], nullptr);
      ASSERT_EQ(d->val[i], nullptr);
      ASSERT_EQ(d->hash[i], 0u);
    }
  }
}

TEST(Dictionary, SetGetUnset) {
  Dict d(dictionary_new(0));
  EXPECT_EQ(dictionary_set(d.get(), nullptr, "v"), -1);

  ASSERT_EQ(dictionary_set(d.get(), "k", "v"), 0);
  ASSERT_EQ(dictionary_set(d.get(), "sec", nullptr), 0);
  ASSERT_EQ(dictionary_set(d.get(), "", "empty key"), 0);
  EXPECT_EQ(d->n, 3);
  EXPECT_STREQ(dictionary_get(d.get(), "k", "def"), "v");
  EXPECT_EQ(dictionary_get(d.get(), "sec", "def"), nullptr);  // present, null value
  EXPECT_STREQ(dictionary_get(d.get(), "", "def"), "empty key");
  EXPECT_STREQ(dictionary_get(d.get(), "K", "def"), "def");
  EXPECT_EQ(d->hash[SlotOf(d.get(), "k")], dictionary_hash("k"));

  // Replacing keeps the slot and the count.
  ASSERT_EQ(dictionary_set(d.get(), "k", "w"), 0);
  ASSERT_EQ(dictionary_set(d.get(), "sec", "now set"), 0);
  EXPECT_EQ(d->n, 3);
  EXPECT_EQ(SlotOf(d.get(), "k"), 0);
  EXPECT_STREQ(dictionary_get(d.get(), "k", nullptr), "w");
  EXPECT_STREQ(dictionary_get(d.get(), "sec", nullptr), "now set");

  dictionary_unset(d.get(), "absent");
  EXPECT_EQ(d->n, 3);
  dictionary_unset(d.get(), "k");
  EXPECT_EQ(d->n, 2);
  EXPECT_EQ(d->key[0], nullptr);
  EXPECT_EQ(d->hash[0], 0u);
  EXPECT_STREQ(dictionary_get(d.get(), "k", "gone"), "gone");
}

TEST(Dictionary, GrowsPastMinimumKeepingSlotOrder) {
  Dict d(dictionary_new(0));
  for (int i = 0; i < 128; ++i) ASSERT_EQ(dictionary_set(d.get(), Key(i).c_str(), "v"), 0);
  EXPECT_EQ(d->size, 128);
  ASSERT_EQ(dictionary_set(d.get(), Key(128).c_str(), "v"), 0);
  EXPECT_EQ(d->size, 256);
  for (int i = 129; i < 300; ++i) ASSERT_EQ(dictionary_set(d.get(), Key(i).c_str(), "v"), 0);
  EXPECT_EQ(d->size, 512);
  EXPECT_EQ(d->n, 300);
  for (int i = 0; i < 300; ++i) {
    ASSERT_STREQ(d->key[i], Key(i).c_str());
    ASSERT_STREQ(dictionary_get(d.get(), Key(i).c_str(), nullptr), "v");
  }
}

TEST(Dictionary, FreeSlotSearchStartsAtCountAndWraps) {
  Dict d(dictionary_new(0));
  for (int i = 0; i < 128; ++i) ASSERT_EQ(dictionary_set(d.get(), Key(i).c_str(), "v"), 0);
  dictionary_unset(d.get(), Key(10).c_str());
  dictionary_unset(d.get(), Key(20).c_str());
  dictionary_unset(d.get(), Key(127).c_str());
  ASSERT_EQ(d->n, 125);
  // From slot 125 upward: 127 is free.
  ASSERT_EQ(dictionary_set(d.get(), "a", "1"), 0);
  EXPECT_EQ(SlotOf(d.get(), "a"), 127);
  // From slot 126 upward nothing is free: wraps to the first hole.
  ASSERT_EQ(dictionary_set(d.get(), "b", "2"), 0);
  EXPECT_EQ(SlotOf(d.get(), "b"), 10);
  ASSERT_EQ(dictionary_set(d.get(), "c", "3"), 0);
  EXPECT_EQ(SlotOf(d.get(), "c"), 20);
  // Full: the table doubles and the search starts at the old size.
  ASSERT_EQ(dictionary_set(d.get(), "d", "4"), 0);
  EXPECT_EQ(d->size, 256);
  EXPECT_EQ(SlotOf(d.get(), "d"), 128);
  EXPECT_STREQ(dictionary_get(d.get(), Key(126).c_str(), nullptr), "v");
}

// Random sets and unsets against a plain model of the slot rules: every slot must hold what
// the model says, whatever lookup structure the dictionary keeps beside its arrays.
TEST(Dictionary, MatchesSlotModelUnderChurn) {
  Dict d(dictionary_new(0));
  std::vector<std::optional<std::string>> slots(128);
  std::map<std::string, std::string> values;
  int n = 0;
  std::mt19937 rng(1234);
  for (int step = 0; step < 20000; ++step) {
    std::string key = Key(static_cast<int>(rng() % 700));
    if (rng() % 3 != 0) {
      std::string val = std::to_string(step);
      ASSERT_EQ(dictionary_set(d.get(), key.c_str(), val.c_str()), 0);
      if (values.count(key) == 0) {
        if (n == static_cast<int>(slots.size())) slots.resize(slots.size() * 2);
        size_t i = static_cast<size_t>(n);
        while (slots[i]) i = (i + 1) % slots.size();
        slots[i] = key;
        ++n;
      }
      values[key] = val;
    } else {
      dictionary_unset(d.get(), key.c_str());
      if (values.erase(key) != 0) {
        for (auto& s : slots) {
          if (s == key) s.reset();
        }
        --n;
      }
    }
    ASSERT_EQ(d->n, n) << "step " << step;
    ASSERT_EQ(d->size, static_cast<int64_t>(slots.size())) << "step " << step;
  }
  for (size_t i = 0; i < slots.size(); ++i) {
    if (slots[i]) {
      ASSERT_STREQ(d->key[i], slots[i]->c_str()) << "slot " << i;
      ASSERT_STREQ(dictionary_get(d.get(), slots[i]->c_str(), nullptr), values[*slots[i]].c_str());
    } else {
      ASSERT_EQ(d->key[i], nullptr) << "slot " << i;
    }
  }
  for (int i = 0; i < 700; ++i) {
    const char* got = dictionary_get(d.get(), Key(i).c_str(), "absent");
    EXPECT_STREQ(got, values.count(Key(i)) != 0 ? values[Key(i)].c_str() : "absent");
  }
}

TEST(Dictionary, SlotWalk) {
  Dict d(dictionary_new(0));
  dictionary_set(d.get(), "section", nullptr);
  dictionary_set(d.get(), "section:name", "value");
  dictionary_set(d.get(), "long:key", "long value");
  dictionary_set(d.get(), "gone", "x");
  dictionary_unset(d.get(), "gone");

  struct Case {
    int index, key_len, val_len, rc;
    const char* key;
    const char* val;
  };
  const Case cases[] = {
      {0, 32, 32, -ESRCH, "", ""},  // a section: null value
      {1, 32, 32, 0, "section:name", "value"},
      {2, 32, 32, 0, "long:key", "long value"},
      {2, 4, 3, 0, "long", "lon"},  // cut at the lengths, terminated after them
      {3, 32, 32, -ESRCH, "", ""},  // freed slot
      {127, 32, 32, -ESRCH, "", ""},
      {128, 32, 32, -ENOENT, "", ""},
      {5000, 32, 32, -ENOENT, "", ""},
      {-1, 32, 32, -ENOENT, "", ""},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.index);
    char key[40];
    char val[40];
    memset(key, 0, sizeof(key));
    memset(val, 0, sizeof(val));
    key[c.key_len + 1] = '#';
    val[c.val_len + 1] = '#';
    ASSERT_EQ(dictionary_getstring_andkey(d.get(), key, c.key_len, val, c.val_len, c.index), c.rc);
    EXPECT_STREQ(key, c.key);
    EXPECT_STREQ(val, c.val);
    EXPECT_EQ(key[c.key_len + 1], '#');  // nothing written past length + 1
    EXPECT_EQ(val[c.val_len + 1], '#');
  }
  char key[8], val[8];
  EXPECT_EQ(dictionary_getstring_andkey(nullptr, key, 7, val, 7, 0), -1);
  EXPECT_EQ(dictionary_getstring_andkey(d.get(), key, -1, val, 7, 1), -1);

  // The walk callers do: every slot, skipping the empty ones, until the end.
  std::vector<std::string> walked;
  for (int i = 0;; ++i) {
    char k[64] = {}, v[64] = {};
    int rc = dictionary_getstring_andkey(d.get(), k, 63, v, 63, i);
    if (rc == -ENOENT) break;
    if (rc == -ESRCH) continue;
    ASSERT_EQ(rc, 0);
    walked.push_back(std::string(k) + "=" + v);
  }
  EXPECT_EQ(walked, (std::vector<std::string>{"section:name=value", "long:key=long value"}));
}

}  // namespace

namespace {

// A dictionary as another iniparser library in the process would allocate it: the shared
// fields and nothing after them.
dictionary* ForeignDictionary() {
  auto* d = static_cast<dictionary*>(calloc(1, sizeof(dictionary)));
  d->size = 128;
  d->val = static_cast<char**>(calloc(128, sizeof(char*)));
  d->key = static_cast<char**>(calloc(128, sizeof(char*)));
  d->hash = static_cast<unsigned*>(calloc(128, sizeof(unsigned)));
  const char* entries[][2] = {{"sec", nullptr}, {"sec:key", "value"}};
  for (const auto& e : entries) {
    d->key[d->n] = strdup(e[0]);
    d->val[d->n] = e[1] != nullptr ? strdup(e[1]) : nullptr;
    d->hash[d->n] = dictionary_hash(e[0]);
    ++d->n;
  }
  return d;
}

TEST(Dictionary, AcceptsForeignDictionaries) {
  dictionary* d = ForeignDictionary();
  EXPECT_STREQ(iniparser_getstring(d, "sec:key", nullptr), "value");
  EXPECT_EQ(iniparser_getsecnkeys(d, "sec"), 1);
  for (int i = 0; i < 200; ++i) ASSERT_EQ(dictionary_set(d, Key(i).c_str(), "v"), 0);
  EXPECT_EQ(d->size, 256);
  EXPECT_EQ(SlotOf(d, Key(199)), 201);
  dictionary_unset(d, "sec:key");
  EXPECT_EQ(iniparser_find_entry(d, "sec:key"), 0);
  char key[16], val[16];
  EXPECT_EQ(dictionary_getstring_andkey(d, key, 15, val, 15, 2), 0);
  EXPECT_STREQ(key, "key0");
  iniparser_freedict(d);
}

}  // namespace
