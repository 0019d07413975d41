// A device root belongs to one user: init takes only a root nobody else could have prepared,
// and the tools and the library refuse one whose owner or mode has changed since.

#include <fcntl.h>
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include <platform/devpath.h>
#include <platform/host/device_owner.h>
#include <platform/host/device_root.h>

#include "support/device_root.h"
#include "support/log_capture.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

constexpr uid_t kNobody = 65534;

class RootOwnerTest : public DeviceRootTest {
 protected:
  std::string Scratch(const std::string& name) const { return root() + "/" + name; }

  ProgramResult Sim(const std::vector<std::string>& args) const {
    std::vector<std::string> argv = {BinPath("orbafactory-sim")};
    argv.insert(argv.end(), args.begin(), args.end());
    return RunProgram(argv);
  }
};

TEST_F(RootOwnerTest, InitTakesOnlyARootNobodyElseCouldPrepare) {
  ASSERT_EQ(mkdir(Scratch("empty").c_str(), 0700), 0);
  ASSERT_EQ(mkdir(Scratch("open").c_str(), 0777), 0);
  ASSERT_EQ(chmod(Scratch("open").c_str(), 0777), 0);
  ASSERT_EQ(mkdir(Scratch("full").c_str(), 0700), 0);
  { std::ofstream(Scratch("full/x")) << "x"; }
  ASSERT_EQ(symlink(Scratch("empty").c_str(), Scratch("link").c_str()), 0);
  ASSERT_EQ(mkdir(Scratch("shared").c_str(), 0777), 0);
  ASSERT_EQ(chmod(Scratch("shared").c_str(), 0777), 0);
  ASSERT_EQ(mkdir(Scratch("sticky").c_str(), 01777), 0);
  ASSERT_EQ(chmod(Scratch("sticky").c_str(), 01777), 0);

  struct Case {
    const char* root;
    const char* refusal;  // "" when the root is taken
  } cases[] = {
      {"new", ""},
      {"empty", ""},
      {"sticky/new", ""},  // as in /tmp or /dev/shm
      {"open", "another user can write"},
      {"full", "is not empty"},
      {"link", "is a link"},
      {"shared/new", "above the device root"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.root);
    std::string why;
    EXPECT_EQ(platform::MayTakeRoot(Scratch(c.root), &why), c.refusal[0] == '\0') << why;
    EXPECT_NE(why.find(c.refusal), std::string::npos) << why;
  }
  // A root that is made is its user's alone.
  ProgramResult made = Sim({"init", "--root", Scratch("new")});
  ASSERT_EQ(made.status, 0) << made.err;
  struct stat st;
  ASSERT_EQ(stat(Scratch("new").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0700u);
  EXPECT_EQ(st.st_uid, geteuid());
}

TEST_F(RootOwnerTest, AnotherUsersDirectoryIsNeverTaken) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "needs root to run a second user (uid " << kNobody << "); running as uid "
                 << geteuid();
  }
  // A shared scratch directory, as /tmp is: the other user gets there first.
  ASSERT_EQ(mkdir(Scratch("tmp").c_str(), 01777), 0);
  ASSERT_EQ(chmod(Scratch("tmp").c_str(), 01777), 0);
  ASSERT_EQ(chmod(root().c_str(), 0755), 0);
  const std::string theirs = Scratch("tmp/phone");
  const std::string their_link = Scratch("tmp/phone2");
  pid_t child = StartChild([&] {
    if (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0) return 100;
    if (mkdir(theirs.c_str(), 0777) != 0 || chmod(theirs.c_str(), 0700) != 0) return 101;
    return symlink(theirs.c_str(), their_link.c_str()) == 0 ? 0 : 102;
  });
  ASSERT_EQ(WaitChild(child), 0) << "could not act as uid " << kNobody;

  ProgramResult plain = Sim({"init", "--root", theirs});
  EXPECT_NE(plain.status, 0);
  EXPECT_NE(plain.err.find("belongs to uid 65534"), std::string::npos) << plain.err;
  ProgramResult linked = Sim({"init", "--root", their_link});
  EXPECT_NE(linked.status, 0);
  EXPECT_NE(linked.err.find("is a link"), std::string::npos) << linked.err;
  struct stat st;
  EXPECT_NE(stat((theirs + "/system").c_str(), &st), 0) << "init laid out a root of another user";
}

TEST_F(RootOwnerTest, AChangedRootIsRefusedWithTheFix) {
  const std::string dev = Scratch("dev");
  ASSERT_EQ(Sim({"init", "--root", dev}).status, 0);
  ASSERT_EQ(chmod(dev.c_str(), 0777), 0);

  ProgramResult cli = RunProgram({BinPath("orbafactory"), "--root", dev, "prop", "get", "ro.x"});
  EXPECT_NE(cli.status, 0);
  EXPECT_NE(cli.err.find("chmod 700 " + dev), std::string::npos) << cli.err;
  ProgramResult start = Sim({"start", "--root", dev});
  EXPECT_NE(start.status, 0);
  EXPECT_NE(start.err.find("chmod 700 " + dev), std::string::npos) << start.err;
  EXPECT_EQ(start.out.find("running"), std::string::npos) << start.out;

  // The library, in this process, on the same root.
  WriteDeviceFile("/data/file", "x");
  {
    LogCapture log;
    ASSERT_EQ(chmod(root().c_str(), 0777), 0);
    orba_device_root_reset();
    EXPECT_LT(open(DevPath("/data/file"), O_RDONLY | O_CLOEXEC), 0);
    EXPECT_NE(log.Dump().find("restore it with chmod 700 " + root()), std::string::npos)
        << log.Dump();
  }
  ASSERT_EQ(chmod(root().c_str(), 0700), 0);
  int fd = open(DevPath("/data/file"), O_RDONLY | O_CLOEXEC);
  EXPECT_GE(fd, 0);
  if (fd >= 0) close(fd);

  if (geteuid() == 0) {
    ASSERT_EQ(chmod(dev.c_str(), 0700), 0);
    ASSERT_EQ(chown(dev.c_str(), kNobody, kNobody), 0);
    ProgramResult given = Sim({"status", "--root", dev});
    EXPECT_NE(given.status, 0);
    EXPECT_NE(given.err.find("chown 0 " + dev), std::string::npos) << given.err;
  }
}

}  // namespace
}  // namespace orba::test
