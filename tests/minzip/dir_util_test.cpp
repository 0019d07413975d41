#include <errno.h>
#include <gtest/gtest.h>
#include <orbafactory/minzip.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <string>

#include "support/device_root.h"

namespace orba::test {
namespace {

class DirUtil : public DeviceRootTest {
 protected:
  bool IsDir(const std::string& p) {
    struct stat st;
    return stat(HostPath(p).c_str(), &st) == 0 && S_ISDIR(st.st_mode);
  }
  bool Exists(const std::string& p) {
    struct stat st;
    return lstat(HostPath(p).c_str(), &st) == 0;
  }
};

TEST_F(DirUtil, CreateHierarchy) {
  const mode_t old_mask = umask(022);
  const struct {
    const char* path;
    bool strip;
    int rc;
    int err;
    const char* made;      // a directory that must exist afterwards
    const char* not_made;  // a path that must not
  } cases[] = {
      {"/data/a/b/c", false, 0, 0, "/data/a/b/c", nullptr},
      {"/data/x//y/file.txt", true, 0, 0, "/data/x/y", "/data/x/y/file.txt"},
      {"/data/t/", false, 0, 0, "/data/t", nullptr},
      {"/data/a/b/c", false, 0, 0, "/data/a/b/c", nullptr},  // all there already
      {"file.txt", true, -1, ENOENT, nullptr, nullptr},
      {"", false, -1, ENOENT, nullptr, nullptr},
      {"/data/plain/sub", false, -1, ENOTDIR, nullptr, "/data/plain/sub"},
  };
  WriteDeviceFile("/data/plain", "a file, not a directory");
  for (const auto& c : cases) {
    SCOPED_TRACE(c.path);
    errno = 0;
    EXPECT_EQ(dirCreateHierarchy(c.path, 0750, nullptr, c.strip, nullptr), c.rc);
    if (c.rc != 0) {
      EXPECT_EQ(errno, c.err);
    }
    if (c.made != nullptr) {
      EXPECT_TRUE(IsDir(c.made));
    }
    if (c.not_made != nullptr) {
      EXPECT_FALSE(Exists(c.not_made));
    }
  }
  struct stat st;
  ASSERT_EQ(stat(HostPath("/data/a/b").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0750u);
  umask(old_mask);
}

TEST_F(DirUtil, TimestampGoesOnlyOnDirectoriesItMakes) {
  WriteDeviceFile("/data/old/keep", "");
  const struct utimbuf stamp = {1500000000, 1600000000};
  ASSERT_EQ(dirCreateHierarchy("/data/old/new/newer/f", 0755, &stamp, true, nullptr), 0);
  // Each directory is stamped as it is made; making the next one inside it then moves its
  // modification time on, so only the deepest keeps the whole stamp.
  struct stat st;
  ASSERT_EQ(stat(HostPath("/data/old/new").c_str(), &st), 0);
  EXPECT_EQ(st.st_atime, 1500000000);
  ASSERT_EQ(stat(HostPath("/data/old/new/newer").c_str(), &st), 0);
  EXPECT_EQ(st.st_mtime, 1600000000);
  EXPECT_EQ(st.st_atime, 1500000000);
  ASSERT_EQ(stat(HostPath("/data/old").c_str(), &st), 0);
  EXPECT_NE(st.st_atime, 1500000000) << "existing directories are left alone";
}

TEST_F(DirUtil, UnlinkHierarchyRemovesTreesButNotWhatLinksPointTo) {
  WriteDeviceFile("/data/tree/a/b/c.txt", "c");
  WriteDeviceFile("/data/tree/top.txt", "t");
  WriteDeviceFile("/data/outside/precious.txt", "keep");
  ASSERT_EQ(mkdir(HostPath("/data/tree/empty").c_str(), 0755), 0);
  ASSERT_EQ(symlink("/data/outside", HostPath("/data/tree/a/link").c_str()), 0);

  EXPECT_EQ(dirUnlinkHierarchy("/data/tree"), 0);
  EXPECT_FALSE(Exists("/data/tree"));
  EXPECT_EQ(ReadDeviceFile("/data/outside/precious.txt"), "keep");

  EXPECT_EQ(dirUnlinkHierarchy("/data/outside/precious.txt"), 0) << "a plain file is unlinked";
  EXPECT_FALSE(Exists("/data/outside/precious.txt"));
  EXPECT_EQ(dirUnlinkHierarchy("/data/tree"), -1);
  EXPECT_EQ(errno, ENOENT);
}

}  // namespace
}  // namespace orba::test
