// Cut a put short at every byte it writes, then get: the record read back is always the old one
// or the new one, never the defaults and never a blend of the two.

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <orbafactory/persist.h>

#include "backup_fixture.h"
#include "fault_injection.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

class BackupCrashTest : public BackupPartitionTest {
 protected:
  // Thousands of synchronous puts: on tmpfs, where there is one, they take seconds, not minutes.
  // The power cuts are made by the test, so the file system underneath does not change them.
  void SetUp() override {
    const char* tmp = getenv("TMPDIR");
    saved_tmpdir_ = tmp != nullptr ? tmp : "";
    had_tmpdir_ = tmp != nullptr;
    if (access("/dev/shm", W_OK) == 0) setenv("TMPDIR", "/dev/shm", 1);
    BackupPartitionTest::SetUp();
  }
  void TearDown() override {
    ResetWriteCounter();
    BackupPartitionTest::TearDown();
    if (had_tmpdir_) {
      setenv("TMPDIR", saved_tmpdir_.c_str(), 1);
    } else {
      unsetenv("TMPDIR");
    }
  }

  // How many bytes `put` writes to the partition when nothing goes wrong.
  long BytesOfWholePut(const std::function<int()>& put) {
    const Bytes image = ReadImage(0, 32 * 1024);
    ResetWriteCounter();
    pid_t child = StartChild([&]() {
      ArmWriteCut(ImagePath(), 1L << 40);
      return put();
    });
    EXPECT_EQ(WaitChild(child), 0);
    const long total = BytesWrittenToArmedFile();
    WriteImage(0, image);
    return total;
  }

  // Runs `put` in a child that loses power after `cut` bytes.
  void CutPut(const std::function<int()>& put, long cut) {
    pid_t child = StartChild([&]() {
      ArmWriteCut(ImagePath(), cut);
      put();
      return 0;
    });
    ASSERT_EQ(WaitChild(child), kCutExitStatus) << "the put finished before byte " << cut;
  }

 private:
  std::string saved_tmpdir_;
  bool had_tmpdir_ = false;
};

TEST_F(BackupCrashTest, XoleNvPutCutAtEveryByte) {
  Bytes old_record(kRecordSize, 0);
  ASSERT_EQ(get_XOLE_NV_item(old_record.data()), 0);
  SetInt32(old_record, 76, 1111);
  SetText(old_record, 1084, "SN0000000000001");
  ASSERT_EQ(put_XOLE_NV_item(old_record.data()), 0);
  const Bytes old_image = ReadImage(0, 32 * 1024);

  // The new record differs in digested bytes, in the extension and in reserved areas alike.
  Bytes new_record = old_record;
  SetInt32(new_record, 76, 2222);
  SetInt32(new_record, 264, 99);
  SetText(new_record, 1084, "SN0000000000002");
  SetInt32(new_record, 1532, 80);
  new_record[1300] = 0x42;
  Bytes sealed_new = new_record;
  SealRecord(sealed_new);

  auto put = [&]() {
    Bytes r = new_record;
    return put_XOLE_NV_item(r.data());
  };
  const long total = BytesOfWholePut(put);
  ASSERT_GE(total, 2 * 2048);

  int saw_old = 0, saw_new = 0;
  for (long cut = 0; cut < total; ++cut) {
    WriteImage(0, old_image);
    CutPut(put, cut);
    Bytes got(kRecordSize, 0);
    ASSERT_EQ(get_XOLE_NV_item(got.data()), 0) << "cut at " << cut;
    if (got == old_record) {
      ++saw_old;
    } else if (got == sealed_new) {
      ++saw_new;
    } else {
      FAIL() << "cut at byte " << cut << " of " << total << " read back neither record";
    }
    // The get leaves a consistent pair behind, and nothing went to quarantine.
    ASSERT_EQ(Slot(0), Slot(1)) << "cut at " << cut;
    ASSERT_EQ(ReadImage(2 * 4096, 16), Bytes(16, 0xFF)) << "cut at " << cut;
  }
  EXPECT_GT(saw_old, 0);
  EXPECT_GT(saw_new, 0);
}

TEST_F(BackupCrashTest, BackNvPutCutAtEveryByte) {
  Bytes old_record(152, 0);
  SetInt32(old_record, 16, 1000);
  ASSERT_EQ(put_back_nv_item(old_record.data()), 0);
  ASSERT_EQ(get_back_nv_item(old_record.data()), 0);  // as stored, digest included
  const Bytes old_image = ReadImage(0, 32 * 1024);

  Bytes new_record = old_record;
  SetInt32(new_record, 16, 2000);
  SetInt32(new_record, 148, 1);
  new_record[120] = 0x33;
  auto put = [&]() {
    Bytes r = new_record;
    return put_back_nv_item(r.data());
  };
  const long total = BytesOfWholePut(put);
  ASSERT_GE(total, 2 * 2048);

  int saw_old = 0, saw_new = 0;
  for (long cut = 0; cut < total; ++cut) {
    WriteImage(0, old_image);
    CutPut(put, cut);
    Bytes got(152, 0);
    ASSERT_EQ(get_back_nv_item(got.data()), 0) << "cut at " << cut;
    const Bytes body(got.begin() + 16, got.end());
    if (body == Bytes(old_record.begin() + 16, old_record.end())) {
      ++saw_old;
    } else if (body == Bytes(new_record.begin() + 16, new_record.end())) {
      ++saw_new;
    } else {
      FAIL() << "cut at byte " << cut << " of " << total << " read back neither record";
    }
  }
  EXPECT_GT(saw_old, 0);
  EXPECT_GT(saw_new, 0);
}

}  // namespace
}  // namespace orba::test
