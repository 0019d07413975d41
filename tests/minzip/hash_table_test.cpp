#include <gtest/gtest.h>
#include <orbafactory/minzip.h>
#include <stdio.h>
#include <sys/resource.h>

#include <string>
#include <vector>

namespace {

int CompareInts(const void* a, const void* b) {
  return *static_cast<const int*>(a) == *static_cast<const int*>(b) ? 0 : 1;
}
// Items of the probing tests hash to a tenth of their value.
unsigned int IntHash(const void* item) {
  return static_cast<unsigned int>(*static_cast<const int*>(item) / 10);
}

struct Table {
  explicit Table(size_t size, HashFreeFunc f = nullptr) : t(mzHashTableCreate(size, f)) {}
  ~Table() { mzHashTableFree(t); }
  void* Add(unsigned hash, int* item) {
    return mzHashTableLookup(t, hash, item, CompareInts, true);
  }
  void* Find(unsigned hash, int* item) {
    return mzHashTableLookup(t, hash, item, CompareInts, false);
  }
  void* Slot(size_t i) const { return t->entries[i].data; }
  HashTable* t;
};

TEST(HashTable, SizeArithmetic) {
  const struct {
    unsigned in, out;
  } pow2[] = {{0, 0},          {1, 1},       {2, 2},       {3, 4},
              {5, 8},          {1024, 1024}, {1025, 2048}, {0x80000000u, 0x80000000u},
              {0x80000001u, 0}};
  for (const auto& c : pow2) EXPECT_EQ(roundUpPower2(c.in), c.out) << c.in;
  const struct { size_t in, out; } sizes[] = {{0, 1}, {1, 2}, {5, 9}, {10, 17}, {65535, 104857}};
  for (const auto& c : sizes) EXPECT_EQ(mzHashSize(c.in), c.out) << c.in;

  const struct {
    size_t requested, size;
  } created[] = {{0, 1}, {1, 1}, {5, 8}, {9, 16}, {104857, 131072}};
  for (const auto& c : created) {
    Table t(c.requested);
    ASSERT_NE(t.t, nullptr);
    EXPECT_EQ(t.t->size, c.size) << c.requested;
    EXPECT_EQ(t.t->entry_count, 0u);
  }
}

TEST(HashTable, GrowsOnlyAboveFiveEighthsLoad) {
  Table t(8);
  std::vector<int> items(6);
  for (int i = 0; i < 5; ++i) {
    items[i] = i;
    ASSERT_EQ(t.Add(i, &items[i]), &items[i]);
  }
  EXPECT_EQ(t.t->size, 8u) << "5 of 8 is exactly 62.5% and must not grow";
  items[5] = 5;
  ASSERT_EQ(t.Add(5, &items[5]), &items[5]);
  EXPECT_EQ(t.t->size, 16u);
  EXPECT_EQ(t.t->entry_count, 6u);
  for (int i = 0; i < 6; ++i) {
    int key = i;
    EXPECT_EQ(t.Find(i, &key), &items[i]);
    EXPECT_EQ(t.Slot(i), &items[i]) << "re-inserted by stored hash";
  }

  // A one-slot table can hold nothing at its limit: the first addition doubles it.
  Table one(1);
  int key = 7;
  EXPECT_EQ(one.Find(7, &key), nullptr);
  EXPECT_EQ(one.Add(7, &key), &key);
  EXPECT_EQ(one.t->size, 2u);
  EXPECT_EQ(one.Find(7, &key), &key);
}

TEST(HashTable, LinearProbingWithTombstones) {
  Table t(16);
  int a = 30, b = 31, c = 190, d = 32, x = 150, y = 151;
  // Three items sharing home slot 3 line up behind each other.
  t.Add(3, &a);
  t.Add(3, &b);
  t.Add(3 + 16, &c);  // same slot, different hash
  EXPECT_EQ(t.Slot(3), &a);
  EXPECT_EQ(t.Slot(4), &b);
  EXPECT_EQ(t.Slot(5), &c);
  EXPECT_EQ(countProbes(t.t, 3 + 16, &c, CompareInts), 3);

  int twin_of_b = 31;
  EXPECT_FALSE(mzHashTableRemove(t.t, 3, &twin_of_b)) << "removal is by identity, not equality";
  ASSERT_TRUE(mzHashTableRemove(t.t, 3, &b));
  EXPECT_EQ(t.Slot(4), HASH_TOMBSTONE);
  EXPECT_EQ(t.t->entry_count, 2u);
  EXPECT_EQ(t.t->dead_count, 1u);
  EXPECT_FALSE(mzHashTableRemove(t.t, 3, &b));
  int key_c = 190;
  EXPECT_EQ(t.Find(3 + 16, &key_c), &c) << "the chain continues past a tombstone";
  EXPECT_EQ(countProbes(t.t, 3 + 16, &c, CompareInts), 3);
  EXPECT_EQ(countProbes(t.t, 3, &b, CompareInts), -1);

  // A new item goes to the empty slot that ended the probe, not into the tombstone.
  t.Add(3, &d);
  EXPECT_EQ(t.Slot(6), &d);
  EXPECT_EQ(t.Slot(4), HASH_TOMBSTONE);

  // Probes wrap from the last slot to slot 0.
  t.Add(15, &x);
  t.Add(15, &y);
  EXPECT_EQ(t.Slot(15), &x);
  EXPECT_EQ(t.Slot(0), &y);
  int key_y = 151;
  EXPECT_EQ(t.Find(15, &key_y), &y);
  EXPECT_EQ(t.t->size, 16u);
  EXPECT_EQ(mzHashTableProbeCount(t.t, IntHash, CompareInts), 1 + 3 + 4 + 1 + 2);
}

TEST(HashTable, GrowthDropsTombstones) {
  Table t(8);
  int items[5] = {0, 1, 2, 3, 4};
  for (int i = 0; i < 4; ++i) t.Add(i, &items[i]);
  ASSERT_TRUE(mzHashTableRemove(t.t, 0, &items[0]));
  ASSERT_TRUE(mzHashTableRemove(t.t, 1, &items[1]));
  // 3 live + 2 dead is 5 of 8: no growth yet; tombstones count towards the load.
  t.Add(4, &items[4]);
  EXPECT_EQ(t.t->size, 8u);
  int extra = 9;
  t.Add(9, &extra);  // 4 live + 2 dead = 6 of 8: grows
  EXPECT_EQ(t.t->size, 16u);
  EXPECT_EQ(t.t->dead_count, 0u);
  EXPECT_EQ(t.t->entry_count, 4u);
  for (int i = 0; i < 16; ++i) EXPECT_NE(t.Slot(i), HASH_TOMBSTONE);
}

int freed_sum = 0;
void SumFree(void* item) { freed_sum += *static_cast<int*>(item); }

int Collect(void* item, void* arg) {
  auto* seen = static_cast<std::vector<int>*>(arg);
  seen->push_back(*static_cast<int*>(item));
  return *static_cast<int*>(item) == 30 ? 77 : 0;
}

TEST(HashTable, ForeachClearAndFreeVisitLiveItemsOnly) {
  int a = 10, b = 20, c = 30, d = 40;
  Table t(16, SumFree);
  t.Add(5, &a);
  t.Add(1, &b);
  t.Add(9, &c);
  t.Add(12, &d);
  ASSERT_TRUE(mzHashTableRemove(t.t, 12, &d));

  std::vector<int> seen;
  EXPECT_EQ(mzHashForeach(t.t, Collect, &seen), 77) << "the first nonzero result stops the walk";
  EXPECT_EQ(seen, (std::vector<int>{20, 10, 30})) << "slot order";

  freed_sum = 0;
  mzHashTableClear(t.t);
  EXPECT_EQ(freed_sum, 60) << "removed items are not freed again";
  EXPECT_EQ(t.t->entry_count, 0u);
  EXPECT_EQ(t.t->dead_count, 0u);
  seen.clear();
  EXPECT_EQ(mzHashForeach(t.t, Collect, &seen), 0);
  EXPECT_TRUE(seen.empty());

  HashTable* other = mzHashTableCreate(4, SumFree);
  mzHashTableLookup(other, 1, &a, CompareInts, true);
  freed_sum = 0;
  mzHashTableFree(other);
  EXPECT_EQ(freed_sum, 10);
  mzHashTableFree(nullptr);
}

// The sanitizers' allocators need address space beyond the cap, and die of it themselves.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORBA_NO_ADDRESS_LIMIT 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ORBA_NO_ADDRESS_LIMIT 1
#endif
#endif

// Growth that cannot get memory ends the process instead of leaving a table that silently
// stopped indexing. The child caps its address space just above what it uses, so doubling a
// 16 MiB table cannot be satisfied.
TEST(HashTableDeathTest, FailedGrowthAborts) {
#ifdef ORBA_NO_ADDRESS_LIMIT
  GTEST_SKIP() << "the sanitizer needs more address space than the cap leaves";
#else
  auto fill_past_limit = [] {
    const size_t slots = 1u << 20;
    HashTable* t = mzHashTableCreate(slots, nullptr);
    static int item;
    auto never_equal = [](const void*, const void*) { return 1; };
    for (size_t i = 0; i < slots * 5 / 8; ++i) {
      mzHashTableLookup(t, static_cast<unsigned>(i), &item, never_equal, true);
    }
    long vm_kib = 0;
    FILE* f = fopen("/proc/self/status", "r");
    char line[256];
    while (f != nullptr && fgets(line, sizeof(line), f) != nullptr) {
      sscanf(line, "VmSize: %ld", &vm_kib);
    }
    if (f != nullptr) fclose(f);
    const rlim_t cap = static_cast<rlim_t>(vm_kib + 8 * 1024) * 1024;
    const struct rlimit lim = {cap, cap};
    setrlimit(RLIMIT_AS, &lim);
    ASSERT_EQ(t->size, slots) << "exactly at the limit, not grown yet";
    mzHashTableLookup(t, 0xfffff, &item, never_equal, true);
  };
  EXPECT_DEATH(fill_past_limit(), "Mabaig hash resize failure");
#endif
}

}  // namespace
