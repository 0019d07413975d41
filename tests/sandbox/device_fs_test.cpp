// Path resolution inside a device root: links, "..", and names planted to lead outside it, under
// the kernel's resolver and under the component walk that stands in for it.

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <set>
#include <string>

#include "device_fs.h"
#include "support/device_root.h"

namespace orba::test {
namespace {

using sim::Resolver;
using sim::unique_fd;

class DeviceFsTest : public DeviceRootTest, public ::testing::WithParamInterface<Resolver> {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    outside_ = root() + "-outside";
    ASSERT_EQ(mkdir(outside_.c_str(), 0755), 0);
    { std::ofstream(outside_ + "/secret") << "host"; }
    WriteDeviceFile("/data/media/0/f", "inside");
    Link(outside_, "/abs");                                         // a host path
    Link("../" + outside_.substr(outside_.rfind('/') + 1), "/rel");  // climbs out
    Link("data/media/0", "/sdcard");                                 // inside, relative
    Link("/data/media/0", "/devlink");                               // inside, a device path
    Link(outside_ + "/new", "/dangle");
    Link("/loop", "/loop");
    root_fd_.reset(open(root().c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    ASSERT_GE(root_fd_.get(), 0);
  }
  void TearDown() override {
    std::string cmd = "rm -rf '" + outside_ + "'";
    ASSERT_EQ(system(cmd.c_str()), 0);
    DeviceRootTest::TearDown();
  }

  void Link(const std::string& target, const std::string& device_path) {
    ASSERT_EQ(symlink(target.c_str(), HostPath(device_path).c_str()), 0) << device_path;
  }
  std::string Read(int fd) {
    std::string s;
    EXPECT_TRUE(sim::ReadAll(fd, &s, 1024));
    return s;
  }
  // Outside the root, only what SetUp put there, as it was.
  void ExpectOutsideUntouched() {
    EXPECT_EQ(ReadHost(outside_ + "/secret"), "host");
    struct stat st;
    EXPECT_EQ(stat((outside_ + "/secret").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 07777, 0644u);
    EXPECT_NE(access((outside_ + "/new").c_str(), F_OK), 0);
    EXPECT_NE(access((outside_ + "/sub").c_str(), F_OK), 0);
  }
  static std::string ReadHost(const std::string& path) {
    std::ifstream in(path);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }

  std::string outside_;
  unique_fd root_fd_;
};

TEST_P(DeviceFsTest, LinksResolveInsideTheRoot) {
  struct Case {
    const char* path;
    int flags;
    int error;             // 0: opens
    const char* content;   // what it reads, when it opens for reading
  } cases[] = {
      {"/sdcard/f", O_RDONLY, 0, "inside"},
      {"/devlink/f", O_RDONLY, 0, "inside"},
      {"/data/media/0/../0/f", O_RDONLY, 0, "inside"},
      {"data/media/0/f", O_RDONLY, 0, "inside"},  // relative to the root all the same
      {"/abs/secret", O_RDONLY, ENOENT, nullptr},
      {"/rel/secret", O_RDONLY, ENOENT, nullptr},
      {"/../../../../../../../../secret", O_RDONLY, ENOENT, nullptr},
      // The link's target, read on the device, has no directory there.
      {"/dangle", O_WRONLY | O_CREAT, ENOENT, nullptr},
      {"/loop", O_RDONLY, ELOOP, nullptr},
      {"/data/media/0/f/x", O_RDONLY, ENOTDIR, nullptr},
      {"/abs", O_PATH | O_NOFOLLOW, 0, nullptr},  // the link itself
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    errno = 0;
    unique_fd fd = sim::OpenBeneath(root_fd_.get(), c.path, c.flags, 0644, GetParam());
    if (c.error == 0) {
      ASSERT_GE(fd.get(), 0) << strerror(errno);
      if (c.content != nullptr) {
        EXPECT_EQ(Read(fd.get()), c.content);
      }
    } else {
      EXPECT_LT(fd.get(), 0);
      EXPECT_EQ(errno, c.error) << strerror(errno);
    }
  }
  ExpectOutsideUntouched();
}

TEST_P(DeviceFsTest, CreatingThroughAnAbsoluteLinkStaysOnTheDevice) {
  // The link's target, read as a device path, exists on the device: the file lands there.
  ASSERT_EQ(system(("mkdir -p '" + HostPath(outside_) + "'").c_str()), 0);
  unique_fd fd = sim::OpenBeneath(root_fd_.get(), "/dangle", O_WRONLY | O_CREAT, 0644, GetParam());
  ASSERT_GE(fd.get(), 0) << strerror(errno);
  EXPECT_EQ(access(HostPath(outside_ + "/new").c_str(), F_OK), 0);
  ExpectOutsideUntouched();
}

TEST_P(DeviceFsTest, ParentsAndLeaves) {
  struct Case {
    const char* path;
    bool ok;
    const char* leaf;
  } cases[] = {
      {"/data/media/0/f", true, "f"}, {"/sdcard/new", true, "new"}, {"/data/", true, "data"},
      {"/", false, ""},               {"/data/..", false, ""},      {"/data/.", false, ""},
      {"/abs/secret", false, ""},  // the parent, read as a device path, is not there
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.path);
    unique_fd dir;
    std::string leaf;
    bool ok = sim::OpenParentBeneath(root_fd_.get(), c.path, &dir, &leaf);
    EXPECT_EQ(ok, c.ok);
    if (ok) {
      EXPECT_EQ(leaf, c.leaf);
    }
  }
}

TEST_P(DeviceFsTest, DirectoriesAreMadeOnTheDevice) {
  EXPECT_TRUE(sim::MakeDirsBeneath(root_fd_.get(), "/sdcard/a/b", 0755));
  struct stat st;
  EXPECT_EQ(stat(HostPath("/data/media/0/a/b").c_str(), &st), 0);
  EXPECT_TRUE(S_ISDIR(st.st_mode));
  // Through a link to the host: made on the device's side of the name, if anywhere.
  sim::MakeDirsBeneath(root_fd_.get(), "/abs/sub", 0755);
  ExpectOutsideUntouched();
}

INSTANTIATE_TEST_SUITE_P(Resolvers, DeviceFsTest,
                         ::testing::Values(Resolver::kBest, Resolver::kWalk),
                         [](const ::testing::TestParamInfo<Resolver>& info) {
                           return info.param == Resolver::kBest ? "Kernel" : "Walk";
                         });

TEST(DeviceFsTempTest, TempNamesAreFreshAndNeverFollowed) {
  char dir_template[] = "/tmp/orba-temp-XXXXXX";
  ASSERT_NE(mkdtemp(dir_template), nullptr);
  unique_fd dir(open(dir_template, O_PATH | O_DIRECTORY | O_CLOEXEC));
  std::set<std::string> names;
  for (int i = 0; i < 20; ++i) {
    std::string name;
    unique_fd fd = sim::CreateTempFile(dir.get(), "target", 0600, &name);
    ASSERT_GE(fd.get(), 0);
    EXPECT_EQ(name.rfind(".target.", 0), 0u) << name;
    names.insert(name);
  }
  EXPECT_EQ(names.size(), 20u);
  ASSERT_EQ(system((std::string("rm -rf ") + dir_template).c_str()), 0);
}

}  // namespace
}  // namespace orba::test
