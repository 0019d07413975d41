// Another user who binds a device's socket names first: the clients send it nothing, and the
// device's start fails saying who holds the name instead of reporting the impostor as running.

#include <fcntl.h>
#include <grp.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <stddef.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <orbafactory/engineer.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/hal.h>
#include <platform/hal_wire.h>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

constexpr uid_t kNobody = 65534;

// A process of uid 65534 listening on the given abstract names. It reports on `report` how many
// bytes all its callers sent it, once told to stop (SIGTERM).
class Impostor {
 public:
  explicit Impostor(const std::vector<std::string>& names) {
    int ready[2], report[2];
    EXPECT_EQ(pipe2(ready, O_CLOEXEC), 0);
    EXPECT_EQ(pipe2(report, O_CLOEXEC), 0);
    pid_ = StartChild([&] {
      close(ready[0]);
      close(report[0]);
      if (setgroups(0, nullptr) != 0 || setgid(kNobody) != 0 || setuid(kNobody) != 0) return 100;
      std::vector<pollfd> fds;
      for (const std::string& name : names) {
        sockaddr_un addr{};
        addr.sun_family = AF_UNIX;
        memcpy(addr.sun_path + 1, name.data(), name.size());
        int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (bind(fd, reinterpret_cast<sockaddr*>(&addr),
                 static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size())) != 0 ||
            listen(fd, 16) != 0) {
          return 101;
        }
        fds.push_back({fd, POLLIN, 0});
      }
      sigset_t term;
      sigemptyset(&term);
      sigaddset(&term, SIGTERM);
      sigprocmask(SIG_BLOCK, &term, nullptr);
      if (write(ready[1], "r", 1) != 1) return 102;
      long received = 0;
      std::vector<int> conns;
      for (;;) {
        timespec zero{0, 0};
        if (sigtimedwait(&term, nullptr, &zero) == SIGTERM) break;
        std::vector<pollfd> all = fds;
        for (int c : conns) all.push_back({c, POLLIN, 0});
        if (poll(all.data(), all.size(), 20) <= 0) continue;
        for (size_t i = 0; i < all.size(); ++i) {
          if ((all[i].revents & POLLIN) == 0) continue;
          if (i < fds.size()) {
            int c = accept4(all[i].fd, nullptr, nullptr, SOCK_CLOEXEC);
            if (c >= 0) conns.push_back(c);
          } else {
            char buf[256];
            ssize_t n = read(all[i].fd, buf, sizeof(buf));
            if (n > 0) received += n;
          }
        }
      }
      std::string text = std::to_string(received);
      return write(report[1], text.data(), text.size()) > 0 ? 0 : 103;
    });
    close(ready[1]);
    close(report[1]);
    report_ = report[0];
    char byte = 0;
    ready_ = read(ready[0], &byte, 1) == 1;
    close(ready[0]);
  }

  bool ready() const { return ready_; }
  pid_t pid() const { return pid_; }

  // Stops it; the bytes its callers sent, or -1.
  long Received() {
    kill(pid_, SIGTERM);
    int status = WaitChild(pid_);
    char buf[32] = {};
    ssize_t n = read(report_, buf, sizeof(buf) - 1);
    close(report_);
    return status == 0 && n > 0 ? atol(buf) : -1;
  }

 private:
  pid_t pid_ = -1;
  int report_ = -1;
  bool ready_ = false;
};

class ImpostorTest : public DeviceRootTest {
 protected:
  void SetUp() override {
    if (geteuid() != 0) {
      GTEST_SKIP() << "needs root to run a second user (uid " << kNobody << "); running as uid "
                   << geteuid();
    }
    DeviceRootTest::SetUp();
  }
  static std::string Name(const std::string& device_name) {
    return DevSocketName(device_name.c_str()).c_str();
  }
  static std::string HalName(const char* descriptor) {
    return Name(hal::HalSocketName(descriptor, "default"));
  }
};

TEST_F(ImpostorTest, ClientsSendNothingToAnotherUser) {
  Impostor impostor({HalName(hal::IOrbaAtcmd::descriptor), Name("CameraSocketService"),
                     Name("atcid_vendor_socket")});
  ASSERT_TRUE(impostor.ready());
  EXPECT_EQ(orbaatcmd_sizeof_system_file("/data/secret"), -1);
  EXPECT_STREQ(atcmd_execute_vendor("AT+EGMR=1,7,\"0\""), "error");
  EXPECT_STREQ(sendMessageToCamera("take_picture"), "error");
  EXPECT_EQ(impostor.Received(), 0) << "a client talked to a process of another user";
}

TEST_F(ImpostorTest, StartSaysWhoHoldsAName) {
  ProgramResult init = RunProgram({BinPath("orbafactory-sim"), "init", "--root", root()});
  ASSERT_EQ(init.status, 0) << init.err;
  Impostor impostor({HalName(hal::IOrbaAtcmd::descriptor), HalName(hal::IOrbaEm::descriptor)});
  ASSERT_TRUE(impostor.ready());
  ProgramResult start = RunProgram({BinPath("orbafactory-sim"), "start", "--root", root()});
  RunProgram({BinPath("orbafactory-sim"), "stop", "--root", root()});
  EXPECT_NE(start.status, 0);
  EXPECT_NE(start.err.find("held by pid " + std::to_string(impostor.pid()) + " (uid 65534)"),
            std::string::npos)
      << start.err;
  EXPECT_EQ(start.out.find("orbaatcmd-hal-1-0        running"), std::string::npos) << start.out;
  EXPECT_EQ(impostor.Received(), 0);
}

}  // namespace
}  // namespace orba::test
