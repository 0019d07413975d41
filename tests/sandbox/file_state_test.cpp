// File states another process of the device can bring about under a root service: an archive
// truncated while it is extracted, a disk that fills during a write. Neither may kill the
// service (these cases run its methods in this process) or leave a file half old, half new.

#include <fcntl.h>
#include <sched.h>
#include <stdlib.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "atcmd_methods.h"
#include "minzip/zip_builder.h"
#include "zip_extract.h"
#include <platform/host/device_root.h>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

std::string g_archive;  // host path of the archive the hook truncates

void TruncateArchive() { ASSERT_EQ(truncate(g_archive.c_str(), 64), 0); }

class FileStateTest : public DeviceRootTest {
 protected:
  void TearDown() override {
    sim::SetZipMappedHook(nullptr);
    DeviceRootTest::TearDown();
  }
};

TEST_F(FileStateTest, AnArchiveTruncatedDuringExtractionNeverKillsTheService) {
  // Stored members spread over many pages, so the reader touches pages past the new end.
  BuiltZip zip = BuildZip({Member("big.bin", std::string(3 << 20, 'b')), Member("small.txt", "small")});
  WriteDeviceFile("/data/pack.zip", zip.bytes);
  g_archive = HostPath("/data/pack.zip");

  sim::SetZipMappedHook(&TruncateArchive);
  EXPECT_EQ(sim::UzipFile("/data/pack.zip", "/data/out", ""), 0);
  EXPECT_EQ(ReadDeviceFile("/data/out/small.txt"), "small");
  EXPECT_EQ(ReadDeviceFile("/data/out/big.bin").size(), size_t{3} << 20);

  // What is left of the archive now is no archive: an error, and the service goes on.
  sim::SetZipMappedHook(nullptr);
  EXPECT_EQ(sim::UzipFile("/data/pack.zip", "/data/again", ""), -1);
  EXPECT_EQ(sim::ReadSystemFile("/data/out/small.txt"), "small");
}

int FillAllButOnePage(const std::string& dir) {
  const std::string filler = dir + "/filler";
  int fd = open(filler.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  if (fd < 0) return -1;
  static const char block[4096] = {};
  while (write(fd, block, sizeof(block)) > 0) {
  }
  struct stat st;
  int rc = errno == ENOSPC && fstat(fd, &st) == 0 && ftruncate(fd, st.st_size - 4096) == 0 ? 0 : -1;
  close(fd);
  return rc;
}

TEST_F(FileStateTest, AWriteOnAFullDiskLeavesTheOldFile) {
  if (geteuid() != 0) GTEST_SKIP() << "needs root to mount a small tmpfs; running as uid " << geteuid();
  const std::string dir = HostPath("/fs");
  ASSERT_EQ(mkdir(dir.c_str(), 0700), 0);
  pid_t child = StartChild([&] {
    if (unshare(CLONE_NEWNS) != 0 || mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        mount("tmpfs", dir.c_str(), "tmpfs", 0, "size=2m,mode=0700") != 0) {
      return 100;
    }
    setenv("ORBA_DEVICE_ROOT", dir.c_str(), 1);
    orba_device_root_reset();
    const std::string old(100, 'o');
    const std::string fresh(9000, 'n');
    if (sim::WriteSystemFile("/replaced", O_WRONLY | O_CREAT | O_TRUNC, old) != 0 ||
        sim::WriteSystemFile("/appended", O_WRONLY | O_CREAT | O_TRUNC, old) != 0) {
      return 101;
    }
    if (FillAllButOnePage(dir) != 0) return 102;
    if (sim::WriteSystemFile("/replaced", O_WRONLY | O_CREAT | O_TRUNC, fresh) >= 0) return 103;
    if (sim::ReadSystemFile("/replaced") != old) return 104;
    if (sim::WriteSystemFile("/appended", O_WRONLY | O_APPEND, fresh) >= 0) return 105;
    if (sim::ReadSystemFile("/appended") != old) return 106;
    return 0;
  });
  EXPECT_EQ(WaitChild(child), 0);
}

}  // namespace
}  // namespace orba::test
