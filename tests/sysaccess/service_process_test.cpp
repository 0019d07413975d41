// The AT-command service as the device runs it: its own process, registered by its socket,
// restarted through the device's stop/start tools, robust to malformed requests.

#include <android/log.h>
#include <errno.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>

#include <android-base/unique_fd.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/hal.h>
#include <platform/hal_wire.h>
#include <platform/host/local_socket.h>

#include "atcmd_fixture.h"
#include "support/log_capture.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

using android::base::unique_fd;

unique_fd ConnectRaw() {
  std::string name = hal::HalSocketName(hal::IOrbaAtcmd::descriptor, "default");
  unique_fd fd = platform::ConnectDeviceSocket(name.c_str());
  if (fd.get() < 0) return unique_fd();
  timeval tv{5, 0};
  setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof(tv));
  return fd;
}

std::string Le32(uint32_t v) {
  const char b[4] = {static_cast<char>(v), static_cast<char>(v >> 8), static_cast<char>(v >> 16),
                     static_cast<char>(v >> 24)};
  return std::string(b, 4);
}

std::string Framed(const hal::WireWriter& w) {
  std::string out;
  EXPECT_TRUE(w.Finish(&out));
  return out;
}

// Alive and not a zombie (a daemon whose parent shell is gone may wait a while to be reaped).
bool Running(pid_t pid) {
  std::string stat;
  std::string path = "/proc/" + std::to_string(pid) + "/stat";
  FILE* f = fopen(path.c_str(), "r");
  if (f == nullptr) return false;
  char buf[256] = {};
  size_t n = fread(buf, 1, sizeof(buf) - 1, f);
  fclose(f);
  const char* paren = strrchr(buf, ')');
  return n > 0 && paren != nullptr && paren[1] == ' ' && paren[2] != 'Z';
}

class ServiceProcessTest : public SysDeviceTest {};

TEST_F(ServiceProcessTest, ServesAndExitsCleanlyOnSigterm) {
  WriteDeviceFile("/etc/version", "7");
  pid_t pid = StartServiceProcess();
  char out[8] = {};
  EXPECT_EQ(orbaatcmd_read_system_file("/etc/version", out, 7), 0);
  EXPECT_STREQ(out, "7");
  EXPECT_EQ(StopServiceProcess(pid), 0);
  EXPECT_FALSE(hal::IOrbaAtcmd::isRegistered("default"));
}

TEST_F(ServiceProcessTest, MalformedRequestsDoNotStopTheService) {
  WriteDeviceFile("/etc/version", "7");
  pid_t pid = StartServiceProcess();

  hal::WireWriter unknown_slot;
  unknown_slot.PutUint32(99);
  hal::WireWriter wrong_kind;  // sizeofSystemFile with an int where the path belongs
  wrong_kind.PutUint32(static_cast<uint32_t>(hal::AtcmdSlot::kSizeofSystemFile));
  wrong_kind.PutInt32(5);
  hal::WireWriter extra_arg;
  extra_arg.PutUint32(static_cast<uint32_t>(hal::AtcmdSlot::kSizeofSystemFile));
  extra_arg.PutString("/etc/version");
  extra_arg.PutString("/etc/version");
  hal::WireWriter missing_arg;
  missing_arg.PutUint32(static_cast<uint32_t>(hal::AtcmdSlot::kCopyFile));
  missing_arg.PutString("/etc/version");
  hal::WireWriter no_slot;
  no_slot.PutString("/etc/version");

  struct Case {
    const char* what;
    std::string bytes;
    int expected_status;  // 0: the connection is dropped without a reply
  } cases[] = {
      {"unknown slot", Framed(unknown_slot), -ENOSYS},
      {"argument of the wrong kind", Framed(wrong_kind), -EINVAL},
      {"extra argument", Framed(extra_arg), -EINVAL},
      {"missing argument", Framed(missing_arg), -EINVAL},
      {"no slot", Framed(no_slot), -EINVAL},
      {"field longer than the body", Le32(9) + "s" + Le32(1000) + "abcd", -EINVAL},
      {"truncated frame", Le32(100) + "u" + Le32(4), 0},
      {"oversized frame", Le32(0xffffffffu) + "u", 0},
      {"empty connection", "", 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    unique_fd fd = ConnectRaw();
    ASSERT_GE(fd.get(), 0);
    ASSERT_EQ(send(fd.get(), c.bytes.data(), c.bytes.size(), MSG_NOSIGNAL),
              static_cast<ssize_t>(c.bytes.size()));
    shutdown(fd.get(), SHUT_WR);
    std::string body;
    bool replied = hal::WireReceive(fd.get(), &body);
    if (c.expected_status == 0) {
      EXPECT_FALSE(replied);
    } else {
      ASSERT_TRUE(replied);
      hal::WireReader r(body);
      int32_t status = 0;
      ASSERT_TRUE(r.GetInt32(&status));
      EXPECT_EQ(status, c.expected_status);
      EXPECT_TRUE(r.AtEnd());
    }
    // And the service still answers a well-formed call.
    EXPECT_EQ(orbaatcmd_sizeof_system_file("/etc/version"), 1);
  }
  EXPECT_EQ(StopServiceProcess(pid), 0);
}

TEST_F(ServiceProcessTest, WaitStartedWithServicePresentDoesNotSleep) {
  pid_t pid = StartServiceProcess();
  LogCapture log;
  EXPECT_EQ(orbaatcmd_wait_started(), 0);
  EXPECT_FALSE(log.Has(ANDROID_LOG_ERROR, "not found IOrbaAtcmd service wait 0.5s"))
      << log.Dump();
  EXPECT_EQ(StopServiceProcess(pid), 0);
}

TEST_F(ServiceProcessTest, WaitStartedWithServiceAbsentProbesTenTimes) {
  LogCapture log;
  long long start = NowMs();
  EXPECT_EQ(orbaatcmd_wait_started(), 0);
  long long elapsed = NowMs() - start;
  int waits = 0;
  for (const LogLine& l : log.Lines()) {
    if (l.priority == ANDROID_LOG_ERROR && l.text == "not found IOrbaAtcmd service wait 0.5s") {
      ++waits;
    }
  }
  EXPECT_EQ(waits, 10);
  EXPECT_GE(elapsed, 5000);
}

TEST_F(ServiceProcessTest, WaitStartedSeesAServiceThatComesUpLate) {
  // The service registers about a second in: the probes before it wait, the ones after don't.
  std::string program = BinPath("orbaatcmd-hal-1-0");
  std::string root_dir = root();
  pid_t pid = StartChild([&] {
    usleep(1000000);
    setenv("ORBA_DEVICE_ROOT", root_dir.c_str(), 1);
    execl(program.c_str(), "orbaatcmd-hal-1-0", static_cast<char*>(nullptr));
    return 127;
  });
  LogCapture log;
  EXPECT_EQ(orbaatcmd_wait_started(), 0);
  int waits = 0;
  for (const LogLine& l : log.Lines()) {
    if (l.text == "not found IOrbaAtcmd service wait 0.5s") ++waits;
  }
  EXPECT_GE(waits, 1);
  EXPECT_LT(waits, 10);
  EXPECT_TRUE(hal::IOrbaAtcmd::isRegistered("default"));
  EXPECT_EQ(StopServiceProcess(pid), 0);
}

TEST_F(ServiceProcessTest, RestartThroughTheDeviceTools) {
  // The device's stop/start tools, as init would provide them: stop kills the recorded daemon,
  // start launches a new one in the background.
  UseDevicePath();
  std::string program = BinPath("orbaatcmd-hal-1-0");
  WriteScript("/system/bin/stop",
              "pid=$(cat \"$ORBA_DEVICE_ROOT/data/hal.pid\" 2>/dev/null) || exit 0\n"
              "kill \"$pid\" 2>/dev/null\n"
              "for i in $(seq 100); do kill -0 \"$pid\" 2>/dev/null || break; sleep 0.05; done\n"
              "exit 0\n");
  WriteScript("/system/bin/start", "'" + program +
                                       "' </dev/null >/dev/null 2>&1 &\n"
                                       "echo $! > \"$ORBA_DEVICE_ROOT/data/hal.pid\"\n");
  WriteDeviceFile("/data/keep", "");

  EXPECT_EQ(restart_orbaatcmd_server(), 0);
  EXPECT_EQ(orbaatcmd_wait_started(), 0);
  ASSERT_TRUE(hal::IOrbaAtcmd::isRegistered("default"));
  std::string first = ReadDeviceFile("/data/hal.pid");

  EXPECT_EQ(restart_orbaatcmd_server(), 0);
  EXPECT_EQ(orbaatcmd_wait_started(), 0);
  EXPECT_TRUE(hal::IOrbaAtcmd::isRegistered("default"));
  std::string second = ReadDeviceFile("/data/hal.pid");
  EXPECT_NE(first, second);
  EXPECT_FALSE(Running(atoi(first.c_str())));  // the first daemon is gone

  WriteDeviceFile("/data/probe", "ok");
  char out[8] = {};
  EXPECT_EQ(orbaatcmd_read_system_file("/data/probe", out, 7), 0);
  EXPECT_STREQ(out, "ok");
  pid_t last = atoi(second.c_str());
  ASSERT_GT(last, 1);
  kill(last, SIGTERM);
  for (int i = 0; i < 200 && kill(last, 0) == 0; ++i) usleep(10000);
}

}  // namespace
}  // namespace orba::test
