// What a caller can make a root service spend: memory for a digest, log for refused callers,
// time for a command nobody waits for, a worker or the responder for a request that trickles.

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <signal.h>
#include <stddef.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <memory>
#include <string>

#include <android-base/unique_fd.h>
#include <openssl/evp.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/hal.h>
#include <platform/hal_wire.h>
#include <platform/host/hal_server.h>

#include "atcmd_methods.h"
#include "atcmd_service.h"
#include "line_server.h"
#include "support/device_root.h"
#include "support/log_capture.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

using android::base::unique_fd;

constexpr uid_t kNobody = 65534;

unique_fd Connect(const std::string& device_name) {
  DevSocketName name(device_name.c_str());
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  size_t len = strlen(name.c_str());
  memcpy(addr.sun_path + 1, name.c_str(), len);
  unique_fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (connect(fd.get(), reinterpret_cast<sockaddr*>(&addr),
              static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + len)) != 0) {
    return unique_fd();
  }
  return fd;
}

std::string AtcmdName() { return hal::HalSocketName(hal::IOrbaAtcmd::descriptor, "default"); }

// Sends one byte a second until the service hangs up; how many it took, or -1 if it never did.
int TrickleUntilDropped(int fd) {
  for (int sent = 0; sent < 30; ++sent) {
    pollfd p{fd, POLLIN, 0};
    if (poll(&p, 1, 1000) > 0) {
      char b;
      return read(fd, &b, 1) == 0 ? sent : -1;
    }
    if (send(fd, "\x01", 1, MSG_NOSIGNAL) != 1) return sent;
  }
  return -1;
}

class ServiceBoundsTest : public DeviceRootTest {
 protected:
  void StartAtcmd() {
    int error = 0;
    service_ = sim::StartAtcmdService(&error);
    ASSERT_NE(service_, nullptr) << error;
  }
  void TearDown() override {
    service_.reset();
    DeviceRootTest::TearDown();
  }
  std::unique_ptr<hal::HalServer> service_;
};

TEST_F(ServiceBoundsTest, DigestOfAHugeFileTakesFixedMemory) {
  // Sparse: a quarter of a gigabyte of zeros that costs the disk nothing.
  WriteDeviceFile("/data/huge", "");
  ASSERT_EQ(truncate(HostPath("/data/huge").c_str(), 256L << 20), 0);
  rusage before{};
  getrusage(RUSAGE_SELF, &before);
  std::string digest = sim::Md5SystemFile("/data/huge");
  rusage after{};
  getrusage(RUSAGE_SELF, &after);
  EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 32L << 10) << "KiB of peak memory grown";

  std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> ctx(EVP_MD_CTX_new(), EVP_MD_CTX_free);
  ASSERT_EQ(EVP_DigestInit_ex(ctx.get(), EVP_md5(), nullptr), 1);
  static const unsigned char zeros[1 << 16] = {};
  for (long i = 0; i < (256L << 20) / static_cast<long>(sizeof(zeros)); ++i) {
    ASSERT_EQ(EVP_DigestUpdate(ctx.get(), zeros, sizeof(zeros)), 1);
  }
  unsigned char expected[EVP_MAX_MD_SIZE];
  unsigned int len = 0;
  ASSERT_EQ(EVP_DigestFinal_ex(ctx.get(), expected, &len), 1);
  EXPECT_EQ(digest, std::string(reinterpret_cast<const char*>(expected), len));
}

TEST_F(ServiceBoundsTest, RefusedCallersAreLoggedAtABoundedRate) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "needs root to run a second user (uid " << kNobody << "); running as uid "
                 << geteuid();
  }
  StartAtcmd();
  LogCapture log;
  const std::string name = AtcmdName();
  pid_t child = StartChild([&] {
    if (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0) return 100;
    for (int i = 0; i < 300; ++i) {
      unique_fd fd = Connect(name);
      if (fd.get() < 0) return 101;
      char b;
      if (read(fd.get(), &b, 1) != 0) return 102;  // closed unanswered
    }
    return 0;
  });
  ASSERT_EQ(WaitChild(child), 0);
  int refusals = 0;
  for (const auto& line : log.Lines()) {
    if (line.text.find("refused pid") != std::string::npos) ++refusals;
  }
  EXPECT_GT(refusals, 0);
  EXPECT_LE(refusals, 20) << "300 refused connections, each logged";
}

TEST_F(ServiceBoundsTest, ACommandEndsWhenItsCallerGoes) {
  StartAtcmd();
  const std::string pid_file = HostPath("/data/cmd.pid");
  WriteDeviceFile("/data/.keep", "");
  pid_t caller = StartChild([] {
    char out[64];
    orbaatcmd_exec_system_cmd("echo $$ > data/cmd.pid.tmp && mv data/cmd.pid.tmp data/cmd.pid && "
                              "exec sleep 100000",
                              out, sizeof(out));
    return 0;
  });
  // The command announces itself; then its caller is killed mid-call.
  std::string text;
  for (int i = 0; i < 2000 && text.empty(); ++i) {
    text = ReadDeviceFile("/data/cmd.pid");
    if (text.empty()) usleep(5000);
  }
  ASSERT_FALSE(text.empty()) << "the command never ran";
  pid_t command = static_cast<pid_t>(atoi(text.c_str()));
  ASSERT_GT(command, 1);
  kill(caller, SIGKILL);
  WaitChild(caller);
  bool gone = false;
  for (int i = 0; i < 2000 && !gone; ++i) {
    gone = kill(command, 0) != 0 && errno == ESRCH;
    if (!gone) usleep(5000);
  }
  EXPECT_TRUE(gone) << "the command of a caller that has gone still runs";
  if (!gone) kill(command, SIGKILL);
}

TEST_F(ServiceBoundsTest, ATricklingRequestIsDroppedAndHoldsUpNobody) {
  StartAtcmd();
  unique_fd slow = Connect(AtcmdName());
  ASSERT_GE(slow.get(), 0);
  // A well-formed start: a request of 1000 bytes is announced, then comes a byte at a time.
  const unsigned char length[4] = {0xe8, 0x03, 0, 0};
  ASSERT_EQ(send(slow.get(), length, sizeof(length), MSG_NOSIGNAL), 4);
  // Meanwhile everyone else is served.
  EXPECT_EQ(orbaatcmd_sizeof_system_file("/data/none"), -1);
  int sent = TrickleUntilDropped(slow.get());
  EXPECT_GE(sent, 0) << "a request sent a byte a second was never dropped";
}

TEST_F(ServiceBoundsTest, OneDribblingClientDoesNotStallTheResponder) {
  sim::LineServer responder("bounds_responder", sim::LineServer::Framing::kLine,
                            [](const std::string& request) { return "ok " + request; });
  responder.Launch(0);
  unique_fd dribbler = Connect("bounds_responder");
  ASSERT_GE(dribbler.get(), 0);
  ASSERT_EQ(send(dribbler.get(), "tak", 3, MSG_NOSIGNAL), 3);

  unique_fd other = Connect("bounds_responder");
  ASSERT_GE(other.get(), 0);
  ASSERT_EQ(send(other.get(), "ping\n", 5, MSG_NOSIGNAL), 5);
  char reply[16] = {};
  EXPECT_EQ(read(other.get(), reply, sizeof(reply) - 1), 7);
  EXPECT_STREQ(reply, "ok ping");
  // The dribbler was still connected, unanswered, while the other was served.
  pollfd p{dribbler.get(), POLLIN, 0};
  EXPECT_EQ(poll(&p, 1, 0), 0);
  EXPECT_GE(TrickleUntilDropped(dribbler.get()), 0) << "the dribbler was never dropped";
  responder.Stop();
}

}  // namespace
}  // namespace orba::test
