// Processes getting and putting on one partition at once. One writer commits records numbered
// 1, 2, 3, ...; readers get all the while. A get repairs what it finds inconsistent, so a reader
// that saw a put half done would write old bytes back over new ones. Every record read must be
// whole (its two tag fields, one digested and one in the extension, agree), no reader may ever
// see the numbers go backwards, and the last committed record must be the one left at the end.

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include <orbafactory/persist.h>

#include "backup_fixture.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

constexpr size_t kTagDigested = 76;    // gs_cali_dataX
constexpr size_t kTagExtension = 600;  // ccm_hall1_push_cali_data
constexpr int kPuts = 120;
constexpr int kReaders = 3;

struct Shared {
  std::atomic<int> committed;  // highest tag whose put has returned
  std::atomic<int> writer_done;
};

class BackupConcurrencyTest : public BackupPartitionTest {};

// Returns a failure description, or "" when the record is whole.
std::string CheckWhole(const Bytes& r, int* tag) {
  *tag = Int32At(r, kTagDigested);
  if (Int32At(r, kTagExtension) != *tag) {
    return "torn record: " + std::to_string(*tag) + " vs " + std::to_string(Int32At(r, kTagExtension));
  }
  if (*tag < 1) return "the defaults came back";
  return "";
}

TEST_F(BackupConcurrencyTest, NoCommittedRecordIsLostOrTorn) {
  auto* shared = static_cast<Shared*>(
      mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(shared, MAP_FAILED);
  new (shared) Shared{};

  Bytes r(kRecordSize, 0);
  ASSERT_EQ(get_XOLE_NV_item(r.data()), 0);
  SetInt32(r, kTagDigested, 1);
  SetInt32(r, kTagExtension, 1);
  ASSERT_EQ(put_XOLE_NV_item(r.data()), 0);
  shared->committed = 1;

  std::vector<pid_t> children;
  for (int i = 0; i < kReaders; ++i) {
    children.push_back(StartChild([shared]() {
      int last = 0, gets = 0;
      while (!shared->writer_done || gets < 20) {
        const int floor = shared->committed;  // committed before this get began
        Bytes rec(kRecordSize, 0);
        if (get_XOLE_NV_item(rec.data()) != 0) return 10;
        int tag = 0;
        if (!CheckWhole(rec, &tag).empty()) return 11;
        if (tag < last) return 12;  // went backwards: a newer commit was lost
        if (tag < floor) return 13;
        last = tag;
        ++gets;
      }
      return 0;
    }));
  }
  const pid_t writer = StartChild([shared]() {
    int status = 0;
    for (int tag = 2; tag <= kPuts && status == 0; ++tag) {
      Bytes rec(kRecordSize, 0);
      if (get_XOLE_NV_item(rec.data()) != 0) {
        status = 20;
      } else if (Int32At(rec, kTagDigested) != tag - 1) {
        status = 21;  // our own last commit is gone
      } else {
        SetInt32(rec, kTagDigested, tag);
        SetInt32(rec, kTagExtension, tag);
        if (put_XOLE_NV_item(rec.data()) != 0) status = 22;
        shared->committed = tag;
      }
    }
    shared->writer_done = 1;  // on failure too, so the readers stop
    return status;
  });

  EXPECT_EQ(WaitChild(writer), 0);
  for (pid_t c : children) EXPECT_EQ(WaitChild(c), 0) << "reader " << c;

  ASSERT_EQ(get_XOLE_NV_item(r.data()), 0);
  int tag = 0;
  EXPECT_EQ(CheckWhole(r, &tag), "");
  EXPECT_EQ(tag, kPuts);
  EXPECT_EQ(Slot(0), Slot(1));
  EXPECT_EQ(ReadImage(2 * 4096, 16), Bytes(16, 0xFF)) << "no get ever fell back to the defaults";
  munmap(shared, sizeof(Shared));
}

}  // namespace
}  // namespace orba::test
