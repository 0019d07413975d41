// The hardware model service taking stores from its command nodes, run on a thread of this test
// against a device root of its own. A store that lands while the service reads a node is forced
// with this binary's own read(): armed, it makes the store just before the service's read of
// the node goes through, and only then lets the read go on. The rest of the binary reads as
// ever, which is why these tests have a binary of their own.

#include <gtest/gtest.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>

#include <android-base/unique_fd.h>

#include "model_service.h"
#include "support/device_root.h"

namespace {

// What the armed read() stores first, into which node (a host path as /proc shows it).
std::atomic<bool> g_armed{false};
std::string g_node;
std::string g_store;
std::mutex g_mu;
std::condition_variable g_made_cv;
bool g_made = false;

bool Refers(int fd, const std::string& path) {
  char link[64], target[PATH_MAX] = {};
  snprintf(link, sizeof(link), "/proc/self/fd/%d", fd);
  ssize_t n = readlink(link, target, sizeof(target) - 1);
  return n > 0 && path == target;
}

}  // namespace

extern "C" ssize_t read(int fd, void* buf, size_t n) {
  using ReadFn = ssize_t (*)(int, void*, size_t);
  static const ReadFn real = reinterpret_cast<ReadFn>(dlsym(RTLD_NEXT, "read"));
  if (g_armed.load() && Refers(fd, g_node) && g_armed.exchange(false)) {
    android::base::unique_fd out(open(g_node.c_str(), O_WRONLY | O_CLOEXEC));
    bool written = out.get() >= 0 &&
                   write(out.get(), g_store.data(), g_store.size()) ==
                       static_cast<ssize_t>(g_store.size());
    std::lock_guard<std::mutex> lock(g_mu);
    g_made = written;
    g_made_cv.notify_all();
  }
  return real(fd, buf, n);
}

namespace orba::test {
namespace {

constexpr char kEnable[] = "/sys/class/timed_output/motor5/enable";
constexpr char kPeriod[] = "/sys/class/timed_output/motor5/period";
constexpr char kMotorLog[] = "/data/sim/motor_log";
constexpr char kStops[] = "/data/sim/rotary_stops";

int CountLines(const std::string& text, const std::string& ending) {
  std::istringstream in(text);
  int count = 0;
  for (std::string line; std::getline(in, line);) {
    if (line.size() >= ending.size() &&
        line.compare(line.size() - ending.size(), ending.size(), ending) == 0) {
      ++count;
    }
  }
  return count;
}

class ModelServiceTest : public DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    WriteDeviceFile(kPeriod, "100");
    WriteDeviceFile(kEnable, "0");
    stop_.reset(eventfd(0, EFD_CLOEXEC));
    ASSERT_GE(stop_.get(), 0);
    service_ = std::make_unique<sim::hw::ModelService>(stop_.get());
    std::string error;
    ASSERT_TRUE(service_->Start("/data/sim/run/orba-hw-models.ready", &error)) << error;
    watch_.reset(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    ASSERT_GE(watch_.get(), 0);
    ASSERT_GE(inotify_add_watch(watch_.get(), HostPath("/data/sim").c_str(),
                                IN_CREATE | IN_MODIFY | IN_MOVED_TO),
              0);
    runner_ = std::thread([this] { service_->Run(); });
  }

  void TearDown() override {
    g_armed = false;
    if (runner_.joinable()) {
      uint64_t one = 1;
      EXPECT_EQ(write(stop_.get(), &one, sizeof(one)), static_cast<ssize_t>(sizeof(one)));
      runner_.join();
    }
    DeviceRootTest::TearDown();
  }

  // The service hands the stores of its nodes over in the order they were made: once a period
  // stored last is logged, every store before it was dealt with.
  void WaitForEverythingBefore(const char* period) {
    WriteDeviceFile(kPeriod, period);
    const std::string logged = std::string(" period ") + period + "\n";
    while (ReadDeviceFile(kMotorLog).find(logged) == std::string::npos) {
      pollfd p{watch_.get(), POLLIN, 0};
      ASSERT_EQ(poll(&p, 1, 10000), 1) << "the service never logged period " << period;
      alignas(inotify_event) char buf[4096];
      while (::read(watch_.get(), buf, sizeof(buf)) > 0) {
      }
    }
  }

  android::base::unique_fd stop_;
  android::base::unique_fd watch_;
  std::unique_ptr<sim::hw::ModelService> service_;
  std::thread runner_;
};

// A writer's store truncates the node, then writes it. The service woken by the truncation can
// look at the node between the two: the store is then the write's event to take, once.
TEST_F(ModelServiceTest, StoreLandingWhileTheNodeIsReadIsTakenOnce) {
  struct Case {
    const char* store;
    int stop_records;  // one per stop taken, so far
  };
  const Case cases[] = {{"0", 1}, {"3000", 1}, {"0", 2}};
  int period = 101;
  for (const Case& c : cases) {
    SCOPED_TRACE(c.store);
    char real_node[PATH_MAX] = {};
    ASSERT_NE(realpath(HostPath(kEnable).c_str(), real_node), nullptr);
    g_node = real_node;
    g_store = c.store;
    {
      std::lock_guard<std::mutex> lock(g_mu);
      g_made = false;
    }
    const int logged_before = CountLines(ReadDeviceFile(kMotorLog), std::string(" motor5 ") +
                                                                        c.store);
    g_armed = true;
    // The truncation alone: the store's own write comes from the service's read.
    android::base::unique_fd truncated(
        open(HostPath(kEnable).c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC));
    ASSERT_GE(truncated.get(), 0);
    truncated.reset();
    {
      std::unique_lock<std::mutex> lock(g_mu);
      ASSERT_TRUE(g_made_cv.wait_for(lock, std::chrono::seconds(10), [] { return g_made; }))
          << "the service never read the node it was woken for";
    }
    WaitForEverythingBefore(std::to_string(period++).c_str());
    EXPECT_EQ(CountLines(ReadDeviceFile(kMotorLog), std::string(" motor5 ") + c.store),
              logged_before + 1)
        << ReadDeviceFile(kMotorLog);
    std::istringstream stops(ReadDeviceFile(kStops));
    int records = 0;
    for (std::string line; std::getline(stops, line);) ++records;
    EXPECT_EQ(records, c.stop_records) << ReadDeviceFile(kStops);
  }
}

}  // namespace
}  // namespace orba::test
