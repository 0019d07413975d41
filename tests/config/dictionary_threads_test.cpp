// Dictionaries on several threads at once.

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

#include <orbafactory/config.h>
#include "config/ini_test_util.h"

namespace {

using orba::test::Dict;

std::string Key(int i) { return "key" + std::to_string(i); }

// Each thread owns its dictionaries, while records are made and freed all around it: what one
// thread frees must never make another's lookups wrong.
TEST(Dictionary, ThreadsWithTheirOwnDictionaries) {
  std::vector<std::thread> threads;
  std::vector<int> failures(4, 0);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &failures] {
      for (int round = 0; round < 300; ++round) {
        std::string value = std::to_string(t * 1000 + round);
        Dict d(dictionary_new(0));
        for (int i = 0; i < 20; ++i) dictionary_set(d.get(), Key(i).c_str(), value.c_str());
        for (int i = 0; i < 20; ++i) {
          const char* got = dictionary_get(d.get(), Key(i).c_str(), nullptr);
          if (got == nullptr || value != got) ++failures[t];
        }
      }
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(failures, std::vector<int>(4, 0));
}

}  // namespace
