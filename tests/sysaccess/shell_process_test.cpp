// Shell commands, whitelisted vendor commands, sysfs integers, process kills and the AT daemon
// socket, with the caller's own rights.

#include <android/log.h>
#include <cutils/sockets.h>
#include <errno.h>
#include <sched.h>
#include <signal.h>
#include <string.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <iterator>
#include <string>
#include <thread>

#include <android-base/unique_fd.h>
#include <orbafactory/engineer.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>

#include "atcmd_fixture.h"
#include "support/log_capture.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

class ShellTest : public SysDeviceTest {};

TEST_F(ShellTest, ExtSystemCapturesOutput) {
  struct Case {
    const char* cmd;
    int len;
    const char* expected;
  } cases[] = {
      {"echo hello", 32, "hello\n"},
      {"printf 0123456789", 6, "01234"},  // the last byte is the terminator
      {"printf abc", 1, ""},
      {"true", 8, ""},
  };
  for (const Case& c : cases) {
    char out[64];
    memset(out, '#', sizeof(out));
    EXPECT_EQ(ext_system(c.cmd, out, c.len), 0) << c.cmd;
    EXPECT_STREQ(out, c.expected) << c.cmd;
    EXPECT_EQ(out[c.len], '#') << c.cmd;  // nothing past len
  }
}

TEST_F(ShellTest, ExtSystemRefusesBadArguments) {
  LogCapture log;
  char out[8] = "keep";
  EXPECT_EQ(ext_system(nullptr, out, 8), -1);
  EXPECT_EQ(ext_system("echo x", nullptr, 8), -1);
  EXPECT_EQ(ext_system("echo x", out, -1), -1);
  EXPECT_EQ(ext_system("echo x", out, 0), -1);  // no room for the terminator
  EXPECT_STREQ(out, "keep");
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "system paramer invalid!"));
}

TEST_F(ShellTest, ExecShellVendorWhitelist) {
  LogCapture log;
  char out[64] = {};
  EXPECT_EQ(exec_shell_vendor("ls", out, 63), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "not support cmd!"));
  EXPECT_EQ(exec_shell_vendor("tlcrpmb_gp", out, 63), -1);  // prefix too short
  EXPECT_EQ(exec_shell_vendor(nullptr, out, 63), -1);
  EXPECT_STREQ(out, "");
}

TEST_F(ShellTest, ExecShellVendorRunsThroughTheVendorShell) {
  // The device's /vendor/bin/sh, and its tlcrpmb_gp tool on PATH.
  WriteScript("/vendor/bin/sh", "exec /bin/sh \"$@\"\n");
  WriteScript("/system/bin/tlcrpmb_gp",
              "sleep 0.05; echo \"flag=$1\"\n"
              "if [ \"$2\" = more ]; then echo more; fi\n"
              "if [ \"$2\" = slow ]; then sleep 0.3; fi\n");
  UseDevicePath();

  char out[64];
  memset(out, 0, sizeof(out));
  EXPECT_EQ(exec_shell_vendor("tlcrpmb_gp getflag", out, 63), 0);
  EXPECT_STREQ(out, "flag=getflag\n");

  // Output beyond len stays out of the buffer, and nothing is terminated for the caller.
  memset(out, '#', sizeof(out));
  EXPECT_EQ(exec_shell_vendor("tlcrpmb_gp getflag more", out, 4), 0);
  EXPECT_EQ(std::string(out, 5), "flag#");

  // A command still running when the buffer is full is waited for, not left as a zombie.
  EXPECT_EQ(exec_shell_vendor("tlcrpmb_gp getflag slow", out, 4), 0);
  usleep(600 * 1000);
  errno = 0;
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);  // no child of this process is left, running or dead

  // Without the vendor shell the child cannot run: empty output, still 0.
  ASSERT_EQ(unlink(HostPath("/vendor/bin/sh").c_str()), 0);
  memset(out, 0, sizeof(out));
  EXPECT_EQ(exec_shell_vendor("tlcrpmb_gp getflag", out, 63), 0);
  EXPECT_STREQ(out, "");
}

TEST_F(ShellTest, ExecShellVendorRunsNothingButTheTool) {
  WriteScript("/vendor/bin/sh", "exec /bin/sh \"$@\"\n");
  WriteScript("/system/bin/tlcrpmb_gp", "touch \"$ORBA_DEVICE_ROOT/data/tool_ran\"; echo ok\n");
  WriteDeviceFile("/data/keep", "");
  UseDevicePath();
  const std::string marker = HostPath("/data/injected");
  const std::string touch = "touch '" + marker + "'";
  const std::string refused[] = {
      "tlcrpmb_gp getflag; " + touch,     "tlcrpmb_gp getflag | " + touch,
      "tlcrpmb_gp getflag && " + touch,   "tlcrpmb_gp getflag $(" + touch + ")",
      "tlcrpmb_gp getflag `" + touch + "`", "tlcrpmb_gp getflag > '" + marker + "'",
      "tlcrpmb_gp getflag < /etc/hostname", "tlcrpmb_gp getflag (" + touch + ")",
      "tlcrpmb_gp getflag\n" + touch,      "/vendor/app/bRPMB-CMD;" + touch,
  };
  LogCapture log;
  for (const std::string& cmd : refused) {
    char out[64] = "keep";
    EXPECT_EQ(exec_shell_vendor(cmd.c_str(), out, 63), -1) << cmd;
    EXPECT_STREQ(out, "keep") << cmd;
  }
  EXPECT_NE(access(marker.c_str(), F_OK), 0);
  EXPECT_NE(access(HostPath("/data/tool_ran").c_str(), F_OK), 0) << "a refused command ran";
  int refusals = 0;
  for (const LogLine& l : log.Lines()) {
    if (l.priority == ANDROID_LOG_ERROR && l.text.rfind("not support cmd!", 0) == 0) ++refusals;
  }
  EXPECT_EQ(refusals, static_cast<int>(std::size(refused))) << log.Dump();

  // Plain words after the tool's name are what correct callers send: they still run.
  char out[64] = {};
  EXPECT_EQ(exec_shell_vendor("tlcrpmb_gp getflag -a 0x1f,2 /dev/x", out, 63), 0);
  EXPECT_STREQ(out, "ok\n");
  EXPECT_EQ(access(HostPath("/data/tool_ran").c_str(), F_OK), 0);
}

TEST_F(ShellTest, IntFiles) {
  WriteDeviceFile("/sys/class/node/value", "42\n");
  int v = 0;
  EXPECT_EQ(read_int("/sys/class/node/value", &v), 0);
  EXPECT_EQ(v, 42);
  EXPECT_EQ(write_int("/sys/class/node/value", -17), 0);
  EXPECT_EQ(ReadDeviceFile("/sys/class/node/value"), "-17\n");
  EXPECT_EQ(read_int("/sys/class/node/value", &v), 0);
  EXPECT_EQ(v, -17);

  struct Case {
    const char* path;
    int expected;
  } missing[] = {{"/sys/class/node/none", -ENOENT}, {"/sys/none/value", -ENOENT}};
  for (const Case& c : missing) {
    EXPECT_EQ(write_int(c.path, 1), c.expected) << c.path;
    EXPECT_EQ(read_int(c.path, &v), c.expected) << c.path;
    EXPECT_NE(access(HostPath(c.path).c_str(), F_OK), 0) << "write_int must not create";
  }
  EXPECT_EQ(write_int(nullptr, 1), -1);

  // Not a number: the value is left alone.
  WriteDeviceFile("/sys/class/node/text", "abc");
  v = 7;
  EXPECT_EQ(read_int("/sys/class/node/text", &v), 0);
  EXPECT_EQ(v, 7);
}

// ---- Process kills ------------------------------------------------------------------------

// A child with its working directory inside the device root, running `sleep` under argv0.
pid_t SleeperIn(const std::string& host_dir, const char* argv0) {
  return StartChild([&] {
    if (chdir(host_dir.c_str()) != 0) return 126;
    execl("/bin/sleep", argv0, "30", static_cast<char*>(nullptr));
    return 127;
  });
}

bool KilledBy(pid_t pid, int sig) {
  int status = 0;
  if (waitpid(pid, &status, 0) != pid) return false;
  return WIFSIGNALED(status) && WTERMSIG(status) == sig;
}

void Reap(pid_t pid) {
  kill(pid, SIGKILL);
  waitpid(pid, nullptr, 0);
}

TEST_F(ShellTest, KillProcessesWithOpenFiles) {
  WriteDeviceFile("/mnt/media/keep", "");
  pid_t holder = SleeperIn(HostPath("/mnt/media"), "sleep");
  pid_t spared = SleeperIn(HostPath("/mnt/media"), "/vendor/bin/atcid_user");
  pid_t elsewhere = SleeperIn("/", "sleep");
  usleep(100000);  // let the children reach their directories

  // Signal 0 only counts: both holders, spared one included.
  EXPECT_EQ(KillProcessesWithOpenFiles("/mnt/media", 0), 2);
  EXPECT_EQ(kill(holder, 0), 0);
  EXPECT_EQ(KillProcessesWithOpenFiles("/mnt/other", SIGTERM), 0);

  EXPECT_EQ(killProcessofMounts("/mnt", SIGTERM), 2);
  EXPECT_TRUE(KilledBy(holder, SIGTERM));
  EXPECT_EQ(kill(spared, 0), 0) << "the factory daemon must survive";
  EXPECT_EQ(kill(elsewhere, 0), 0);
  EXPECT_EQ(KillProcessesWithOpenFiles("", SIGTERM), -1) << "an empty prefix matches everything";
  Reap(spared);
  Reap(elsewhere);
}

TEST_F(ShellTest, KillProcessesWithMounts) {
  WriteDeviceFile("/mnt/vendor/keep", "");
  std::string target = HostPath("/mnt/vendor");
  int ready[2];
  ASSERT_EQ(pipe(ready), 0);
  pid_t child = StartChild([&] {
    close(ready[0]);
    // A private mount namespace: the tmpfs is visible in this child's mount table only.
    char ok = 0;
    if (unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
        mount("tmpfs", target.c_str(), "tmpfs", 0, "size=64k") == 0) {
      ok = 1;
    }
    if (write(ready[1], &ok, 1) != 1 || !ok) return 1;
    pause();
    return 0;
  });
  close(ready[1]);
  char ok = 0;
  ASSERT_EQ(read(ready[0], &ok, 1), 1);
  close(ready[0]);
  if (!ok) {
    Reap(child);
    GTEST_SKIP() << "no private mount namespaces here";
  }
  EXPECT_EQ(KillProcessesWithMounts("/mnt/vendor", 0), 1);
  EXPECT_EQ(KillProcessesWithMounts("/mnt/other", SIGTERM), 0);
  EXPECT_EQ(KillProcessesWithMounts("/mnt", SIGTERM), 1);
  EXPECT_TRUE(KilledBy(child, SIGTERM));
}

TEST_F(ShellTest, KillprocessByName) {
  pid_t victim = SleeperIn("/", "orba_victim_proc");
  pid_t bystander = SleeperIn("/", "orba_bystander");
  // The device's ps (toybox column order: USER PID PPID ... NAME).
  WriteDeviceFile("/data/ps.txt", "USER PID PPID VSZ RSS WCHAN ADDR S NAME\n"
                                  "root " + std::to_string(victim) +
                                      " 1 0 0 0 0 S orba_victim_proc\n"
                                      "root " + std::to_string(bystander) +
                                      " 1 0 0 0 0 S orba_bystander\n"
                                      "root notapid 1 0 0 0 0 S orba_victim_proc\n");
  WriteScript("/system/bin/ps", "cat \"$ORBA_DEVICE_ROOT/data/ps.txt\"\n");
  UseDevicePath();
  LogCapture log;
  EXPECT_EQ(killprocess("orba_victim_proc"), 1);
  EXPECT_TRUE(KilledBy(victim, SIGTERM));
  EXPECT_EQ(kill(bystander, 0), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "kill:" + std::to_string(victim) + ", ret:0\n"))
      << log.Dump();
  Reap(bystander);
}

TEST_F(ShellTest, KillprocessRefusals) {
  WriteScript("/system/bin/ps", "touch \"$ORBA_DEVICE_ROOT/data/ps_ran\"\n"
                                "cat \"$ORBA_DEVICE_ROOT/data/ps.txt\"\n");
  UseDevicePath();
  // Names that would run something, give grep other arguments or read files: refused before
  // any command line is built.
  const char* const names[] = {
      "x; id", "x|sh",  "x&",     "$(id)", "`id`", "x>y", "x<y",
      "(x)",                         "x\ny", "-v",     "x y",   "x'",   "*",   "",
  };
  LogCapture log;
  for (const char* name : names) {
    EXPECT_EQ(killprocess(name), 0) << name;
    EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, std::string("refused process name: ") + name))
        << name << log.Dump();
  }
  EXPECT_NE(access(HostPath("/data/ps_ran").c_str(), F_OK), 0);

  // A listing that names this very process (and pid 0, the caller's process group) signals
  // neither; run in a child of its own process group, so a fault shows as a dead child.
  pid_t child = StartChild([&] {
    setpgid(0, 0);
    WriteDeviceFile("/data/ps.txt", "USER PID PPID VSZ RSS WCHAN ADDR S NAME\n"
                                    "root " + std::to_string(getpid()) +
                                        " 1 0 0 0 0 S orba_self_proc\n"
                                        "root 0 1 0 0 0 0 S orba_self_proc\n");
    return killprocess("orba_self_proc") == 1 ? 0 : 1;
  });
  EXPECT_EQ(WaitChild(child), 0) << "the caller signalled itself or its group";
  EXPECT_EQ(access(HostPath("/data/ps_ran").c_str(), F_OK), 0);
}

// ---- AT daemon socket ---------------------------------------------------------------------

TEST_F(ShellTest, AtcmdExecuteVendor) {
  EXPECT_STREQ(atcmd_execute_vendor("AT+X"), "error");  // nobody listening
  EXPECT_EQ(atcmd_execute_vendor("AT+X"), cmd_recv_buf);  // the exported command buffer

  android::base::unique_fd listener(socket_local_server(
      DevSocketName("atcid_vendor_socket"), ANDROID_SOCKET_NAMESPACE_ABSTRACT, SOCK_STREAM));
  ASSERT_GE(listener.get(), 0);
  std::string received;
  std::thread daemon([&] {
    for (const std::string& reply : {std::string("OK"), std::string(2000, 'r')}) {
      android::base::unique_fd c(accept(listener.get(), nullptr, nullptr));
      char buf[64] = {};
      ssize_t n = read(c.get(), buf, sizeof(buf));
      received.assign(buf, n > 0 ? static_cast<size_t>(n) : 0);
      ASSERT_EQ(write(c.get(), reply.data(), reply.size()), static_cast<ssize_t>(reply.size()));
    }
  });
  EXPECT_STREQ(atcmd_execute_vendor("AT+CGSN"), "OK");
  // A long reply is cut to the buffer and still reads as a string.
  char* long_reply = atcmd_execute_vendor("AT+LONG");
  daemon.join();
  EXPECT_EQ(received, "AT+LONG");  // sent without a terminator
  EXPECT_EQ(strlen(long_reply), 1023u);
}

}  // namespace
}  // namespace orba::test
