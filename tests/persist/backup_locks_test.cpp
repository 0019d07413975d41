// Record locks and the locked block I/O, against a lock held by a real second process.

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>

#include <orbafactory/persist.h>

#include "backup_fixture.h"
#include "support/log_capture.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

class BackupLocksTest : public BackupPartitionTest {
 protected:
  void TearDown() override {
    if (holder_ > 0) {
      kill(holder_, SIGKILL);
      WaitChild(holder_);
    }
    BackupPartitionTest::TearDown();
  }

  // A child that takes a lock of `type` on [start, start+len) and keeps it until killed.
  void HoldLockInChild(short type, off_t start, int len) {
    int ready[2];
    ASSERT_EQ(pipe(ready), 0);
    const std::string path = ImagePath();
    holder_ = StartChild([&]() {
      int fd = open(path.c_str(), O_RDWR);
      const int ok = type == F_RDLCK ? trylock_fd_read(fd, start, len) : trylock_fd_write(fd, start, len);
      char c = ok ? '1' : '0';
      if (write(ready[1], &c, 1) != 1) return 2;
      pause();
      return 0;
    });
    close(ready[1]);
    char c = 0;
    ASSERT_EQ(read(ready[0], &c, 1), 1);
    close(ready[0]);
    ASSERT_EQ(c, '1');
  }

  int Open() { return open(ImagePath().c_str(), O_RDWR); }
  pid_t holder_ = -1;
};

TEST_F(BackupLocksTest, WriteLockHeldElsewhereBlocksOnlyItsRange) {
  HoldLockInChild(F_WRLCK, 100, 50);
  int fd = Open();
  struct Case {
    off_t start;
    int len;
    int expected;
  } cases[] = {{120, 10, 0}, {90, 11, 0}, {149, 1, 0}, {150, 10, 1}, {0, 100, 1}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.start);
    EXPECT_EQ(trylock_fd_write(fd, c.start, c.len), c.expected);
    if (c.expected) {
      EXPECT_EQ(unlock_fd(fd, c.start, c.len), 1);
    }
  }
  LogCapture log;
  checklock_fd_write(fd, 0, 1000);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "write lock already set by " + std::to_string(holder_) + "\n"))
      << log.Dump();
  close(fd);
}

TEST_F(BackupLocksTest, ReadLocksShareAndAreReported) {
  HoldLockInChild(F_RDLCK, 0, 4096);
  int fd = Open();
  EXPECT_EQ(trylock_fd_read(fd, 0, 4096), 1) << "readers share";
  EXPECT_EQ(unlock_fd(fd, 0, 4096), 1);
  EXPECT_EQ(trylock_fd_write(fd, 0, 4096), 0);
  LogCapture log;
  checklock_fd_write(fd, 0, 4096);
  checklock_fd_write(fd, 8192, 10);
  // F_GETLK with a read probe: another reader does not conflict, so nothing is reported held.
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "no file lock\n")) << log.Dump();
  close(fd);
}

TEST_F(BackupLocksTest, CheckLockFailureIsLogged) {
  LogCapture log;
  checklock_fd_write(-1, 0, 10);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "failed to check file lock. detail: Bad file descriptor(9)\n"))
      << log.Dump();
}

TEST_F(BackupLocksTest, ReadAndWriteBackupRoundTrip) {
  int fd = Open();
  const std::string data = "otp-item-payload";
  EXPECT_EQ(write_backup(fd, 30000, static_cast<int>(data.size()), data.data()), 0);
  char out[32] = {};
  EXPECT_EQ(read_backup(fd, 30000, static_cast<int>(data.size()), out), 0);
  EXPECT_EQ(std::string(out), data);
  EXPECT_NE(fcntl(fd, F_GETFD), -1) << "success leaves the descriptor open";
  // Nothing of the range stays locked after either call.
  HoldLockInChild(F_WRLCK, 30000, static_cast<int>(data.size()));
  close(fd);
}

TEST_F(BackupLocksTest, FailuresCloseTheDescriptor) {
  int fd = Open();
  char out[64] = {'x'};
  LogCapture log;
  EXPECT_EQ(read_backup(fd, 32 * 1024 - 10, 64, out), -1);
  EXPECT_EQ(out[0], 'x') << "nothing copied from a short read";
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "can't read size=64 from the backup partition ret=10\n")) << log.Dump();
  EXPECT_EQ(fcntl(fd, F_GETFD), -1);
  EXPECT_EQ(errno, EBADF);

  int ro = open(ImagePath().c_str(), O_RDONLY);
  EXPECT_EQ(write_backup(ro, 0, 4, "abcd"), -1);
  EXPECT_EQ(fcntl(ro, F_GETFD), -1);
}

}  // namespace
}  // namespace orba::test
