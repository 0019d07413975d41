// Another local user reaches every socket of a running simulated device (abstract sockets have
// no permissions) and is turned away before anything it sent is acted on.

#include <fcntl.h>
#include <grp.h>
#include <stddef.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <android-base/unique_fd.h>
#include <orbafactory/engineer.h>
#include <platform/devpath.h>
#include <platform/hal.h>
#include <platform/host/peer_check.h>

#include "engineer/em_fixture.h"
#include "em_service.h"
#include "support/log_capture.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

using android::base::unique_fd;

constexpr uid_t kNobody = 65534;

struct Target {
  std::string socket;   // name before DevSocketName
  std::string request;  // bytes the caller sends
};

std::string HalRequest(uint32_t slot, const std::vector<std::string>& strings, int32_t flags = -1) {
  hal::WireWriter w;
  w.PutUint32(slot);
  for (size_t i = 0; i < strings.size(); ++i) {
    w.PutString(strings[i]);
    if (i == 0 && flags >= 0) w.PutInt32(flags);
  }
  std::string framed;
  w.Finish(&framed);
  return framed;
}

// 0: connected and got no answer. 1: it was answered. 2: it could not even connect (the test
// would then prove nothing about the service).
int Probe(const Target& t) {
  DevSocketName name(t.socket.c_str());
  sockaddr_un addr{};
  addr.sun_family = AF_UNIX;
  size_t len = strlen(name.c_str());
  memcpy(addr.sun_path + 1, name.c_str(), len);
  unique_fd fd(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  socklen_t size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + len);
  if (connect(fd.get(), reinterpret_cast<sockaddr*>(&addr), size) != 0) return 2;
  timeval tv{5, 0};
  setsockopt(fd.get(), SOL_SOCKET, SO_RCVTIMEO, &tv, sizeof(tv));
  send(fd.get(), t.request.data(), t.request.size(), MSG_NOSIGNAL);
  shutdown(fd.get(), SHUT_WR);
  char buf[64];
  return recv(fd.get(), buf, sizeof(buf), 0) > 0 ? 1 : 0;
}

bool DropToNobody() {
  return setgroups(0, nullptr) == 0 && setgid(kNobody) == 0 && setuid(kNobody) == 0 &&
         geteuid() == kNobody;
}

class PeerRefusalTest : public EmTest {};

TEST(PeerRule, OwnUserAndRootOnly) {
  struct Case {
    uid_t peer, service;
    bool allowed;
  } cases[] = {
      {0, 0, true},        {1000, 1000, true}, {0, 1000, true},
      {1000, 0, false},    {1001, 1000, false}, {kNobody, 0, false},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(host::UidMayCall(c.peer, c.service), c.allowed) << c.peer << " -> " << c.service;
  }
}

TEST_F(PeerRefusalTest, AnotherUserIsRefusedByEveryListener) {
  if (geteuid() != 0) {
    GTEST_SKIP() << "needs root to run a second user (uid " << kNobody << "); running as uid "
                 << geteuid();
  }
  StartEm();
  StartAtcmd();
  ASSERT_TRUE(startServiceFromAtcid(kStockCameraComponent, nullptr, nullptr));
  ASSERT_TRUE(startServiceFromAtcid(kFingerprintComponent, nullptr, nullptr));
  const int calls_before = static_cast<int>(Calls().size());

  const std::vector<Target> targets = {
      {hal::HalSocketName(hal::IOrbaAtcmd::descriptor, "default"),
       HalRequest(static_cast<uint32_t>(hal::AtcmdSlot::kWriteSystemFile),
                  {"/data/planted_by_nobody", "owned"}, O_WRONLY | O_CREAT)},
      {hal::HalSocketName(hal::IOrbaAtcmd::descriptor, "default"),
       HalRequest(static_cast<uint32_t>(hal::AtcmdSlot::kExecSystemCmd),
                  {"touch data/ran_for_nobody"})},
      {hal::HalSocketName(hal::IOrbaEm::descriptor, "default"),
       HalRequest(static_cast<uint32_t>(hal::EmSlot::kDoAction),
                  {"startServiceFromAtcid", kStandardComponent, "", ""})},
      {sim::kCameraSocket, "take_picture\n"},
      {sim::kFingerprintEngineerSocket, "get_id\n"},
      {sim::kAtcidVendorSocket, "AT+EGMR=1,7,\"0\""},
  };

  LogCapture log;
  pid_t child = StartChild([&] {
    if (!DropToNobody()) return 100;
    int result = 0;
    for (size_t i = 0; i < targets.size(); ++i) result |= Probe(targets[i]) << (2 * i);
    return result;
  });
  int status = WaitChild(child);
  ASSERT_NE(status, 100) << "could not become uid " << kNobody;
  for (size_t i = 0; i < targets.size(); ++i) {
    int r = (status >> (2 * i)) & 3;
    EXPECT_NE(r, 2) << targets[i].socket << ": the second user could not connect at all";
    EXPECT_NE(r, 1) << targets[i].socket << ": answered a process of another user";
  }

  struct stat st;
  EXPECT_NE(stat(HostPath("/data/planted_by_nobody").c_str(), &st), 0);
  EXPECT_NE(stat(HostPath("/data/ran_for_nobody").c_str(), &st), 0);
  EXPECT_EQ(static_cast<int>(Calls().size()), calls_before) << "a refused request was served";

  // One refusal a connection, each naming who called.
  const std::string who =
      "refused pid " + std::to_string(child) + " uid " + std::to_string(kNobody);
  int refusals = 0;
  for (const LogLine& line : log.Lines()) {
    if (line.raw.find(who) != std::string::npos) ++refusals;
  }
  EXPECT_EQ(refusals, static_cast<int>(targets.size())) << log.Dump();

  // The same requests from this process's own user are served: the refusal above is about who
  // called, not about the requests.
  EXPECT_EQ(Probe(targets[1]), 1);
  EXPECT_EQ(stat(HostPath("/data/ran_for_nobody").c_str(), &st), 0);
  EXPECT_EQ(Probe(targets[5]), 1);
}

}  // namespace
}  // namespace orba::test
