// A process whose argv[0] holds a newline and a line of its own, made to look like a process of
// the device: the device's ps prints it on one line, and killprocess, which reads that ps as
// root, signals nothing that is not the device's.

#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <android-base/strings.h>
#include <orbafactory/sysaccess.h>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

constexpr uid_t kNobody = 65534;

// Starts `sleep` as argv[0] `name`, in the device's environment or not, as `uid`.
pid_t StartNamed(const std::string& name, const std::string& root, bool on_device, uid_t uid) {
  int ready[2];
  if (pipe2(ready, O_CLOEXEC) != 0) return -1;
  pid_t pid = fork();
  if (pid == 0) {
    if (uid != getuid() &&
        (setgroups(0, nullptr) != 0 || setgid(uid) != 0 || setuid(uid) != 0)) {
      _exit(100);
    }
    if (on_device) {
      setenv("ORBA_DEVICE_ROOT", root.c_str(), 1);
    } else {
      unsetenv("ORBA_DEVICE_ROOT");
    }
    char* argv[] = {const_cast<char*>(name.c_str()), const_cast<char*>("1000"), nullptr};
    execv("/bin/sleep", argv);  // closes `ready` on success
    _exit(127);
  }
  close(ready[1]);
  char b;
  while (read(ready[0], &b, 1) > 0) {
  }
  close(ready[0]);
  return pid;
}

bool Alive(pid_t pid) { return waitpid(pid, nullptr, WNOHANG) == 0; }

class ForgedPsTest : public DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    ProgramResult init = RunProgram({BinPath("orbafactory-sim"), "init", "--root", root()});
    ASSERT_EQ(init.status, 0) << init.err;
    saved_path_ = getenv("PATH") != nullptr ? getenv("PATH") : "";
    setenv("PATH", (root() + "/system/bin:" + saved_path_).c_str(), 1);
  }
  void TearDown() override {
    setenv("PATH", saved_path_.c_str(), 1);
    for (pid_t pid : started_) {
      kill(pid, SIGKILL);
      waitpid(pid, nullptr, 0);
    }
    DeviceRootTest::TearDown();
  }
  pid_t Start(const std::string& name, bool on_device, uid_t uid) {
    pid_t pid = StartNamed(name, root(), on_device, uid);
    if (pid > 0) started_.push_back(pid);
    return pid;
  }
  std::string saved_path_;
  std::vector<pid_t> started_;
};

TEST_F(ForgedPsTest, OneLinePerProcessAndKillprocessSparesWhatIsNotTheDevices) {
  // Not the device's: a process of the host that the forged line names.
  pid_t victim = Start("host-daemon", false, getuid());
  ASSERT_GT(victim, 0);
  const std::string forged_line = "root " + std::to_string(victim) + " 1 0 0 0 0 S camerad-fake";
  pid_t forger = Start("x\n" + forged_line, true, getuid());
  ASSERT_GT(forger, 0);
  pid_t other_user = -1;
  if (geteuid() == 0) other_user = Start("y\n" + forged_line, true, kNobody);

  ProgramResult ps = RunProgram({BinPath("orbafactory-sim"), "ps", "--root", root()});
  ASSERT_EQ(ps.status, 0) << ps.err;
  int forger_lines = 0;
  for (const std::string& line : android::base::Split(ps.out, "\n")) {
    std::vector<std::string> fields;
    for (const std::string& f : android::base::Split(line, " ")) {
      if (!f.empty()) fields.push_back(f);
    }
    ASSERT_FALSE(fields.size() > 1 && fields[1] == std::to_string(victim)) << ps.out;
    if (other_user > 0) {
      EXPECT_FALSE(fields.size() > 1 && fields[1] == std::to_string(other_user))
          << "a process of another user listed on the device:\n" << ps.out;
    }
    if (fields.size() > 1 && fields[1] == std::to_string(forger)) {
      ++forger_lines;
      EXPECT_NE(line.find("x\\nroot " + std::to_string(victim)), std::string::npos) << line;
    }
  }
  EXPECT_EQ(forger_lines, 1) << ps.out;

  EXPECT_EQ(killprocess("camerad-fake"), 1);
  EXPECT_TRUE(Alive(victim)) << "killprocess signalled a process that is not the device's";
  if (other_user > 0) {
    EXPECT_TRUE(Alive(other_user)) << "a process of another user was signalled";
  }
  if (geteuid() != 0) {
    GTEST_SKIP() << "the other user's forger needs root (uid " << kNobody << "); running as uid "
                 << geteuid();
  }
}

}  // namespace
}  // namespace orba::test
