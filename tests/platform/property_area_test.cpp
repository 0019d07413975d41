#include <gtest/gtest.h>
#include <sys/system_properties.h>
#include <cutils/properties.h>
#include <errno.h>
#include <linux/capability.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include <chrono>
#include <string>
#include <thread>

#include <platform/host/device_init.h>
#include <platform/host/device_root.h>
#include "support/device_root.h"
#include "support/subprocess.h"

namespace {

using orba::test::StartChild;
using orba::test::WaitChild;

class PropertyAreaTest : public orba::test::DeviceRootTest {};

std::string Get(const char* name) {
  char value[PROP_VALUE_MAX] = {};
  __system_property_get(name, value);
  return value;
}

TEST_F(PropertyAreaTest, SetGetAndDefaults) {
  EXPECT_EQ(Get("persist.sys.factory.mode"), "");
  ASSERT_EQ(property_set("persist.sys.factory.mode", "yes"), 0);
  EXPECT_EQ(Get("persist.sys.factory.mode"), "yes");
  ASSERT_EQ(property_set("persist.sys.factory.mode", "no"), 0);
  EXPECT_EQ(Get("persist.sys.factory.mode"), "no");

  char value[PROPERTY_VALUE_MAX];
  EXPECT_EQ(property_get("no.such", value, "fallback"), 8);
  EXPECT_STREQ(value, "fallback");
  ASSERT_EQ(property_set("empty.value", ""), 0);
  EXPECT_EQ(property_get("empty.value", value, "dflt"), 4);  // empty counts as unset
  EXPECT_EQ(property_get("no.such", value, nullptr), 0);
  EXPECT_STREQ(value, "");
}

// Makes file permissions bind this process even as root, as they bind the app processes.
bool DropFileOverride() {
  if (geteuid() != 0) return true;
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  __user_cap_data_struct data[2] = {};
  if (syscall(SYS_capget, &header, data) != 0) return false;
  data[0].effective &= ~(1u << CAP_DAC_OVERRIDE);
  return syscall(SYS_capset, &header, data) == 0;
}

TEST_F(PropertyAreaTest, SetThroughAReadOnlyAreaFailsInsteadOfFaulting) {
  ASSERT_EQ(property_set("sim.ro.probe", "before"), 0);
  ASSERT_EQ(chmod(HostPath("/dev/__properties__").c_str(), 0444), 0);
  pid_t child = StartChild([] {
    if (!DropFileOverride()) return 10;
    // The area as a process without write access first maps it: the read-only fallback.
    orba_device_root_reset();
    if (Get("sim.ro.probe") != "before") return 11;
    errno = 0;
    if (__system_property_set("sim.ro.probe", "after") != -1) return 12;
    if (errno != EROFS) return 13;
    return Get("sim.ro.probe") == "before" ? 0 : 14;
  });
  EXPECT_EQ(WaitChild(child), 0);
  chmod(HostPath("/dev/__properties__").c_str(), 0644);
}

TEST_F(PropertyAreaTest, LimitsAreRefusedWithoutPartialWrites) {
  std::string name127(127, 'n');
  std::string name128(128, 'n');
  std::string value91(91, 'v');
  std::string value92(92, 'v');
  struct Case {
    std::string name;
    std::string value;
    int ret;
  };
  const Case cases[] = {
      {name127, "ok", 0}, {name128, "x", -1}, {"v.max", value91, 0},
      {"v.over", value92, -1}, {"", "x", -1},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(__system_property_set(c.name.c_str(), c.value.c_str()), c.ret) << c.name.size();
  }
  EXPECT_EQ(Get(name127.c_str()), "ok");
  EXPECT_EQ(Get("v.max"), value91);
  EXPECT_EQ(__system_property_find("v.over"), nullptr);
  ASSERT_EQ(__system_property_set("v.max", value92.c_str()), -1);
  EXPECT_EQ(Get("v.max"), value91);  // the old value is kept whole
}

TEST_F(PropertyAreaTest, ReadOnlyPropertiesAreSetOnceExceptByInit) {
  ASSERT_EQ(property_set("ro.boot.mode", "factory"), 0);
  EXPECT_EQ(property_set("ro.boot.mode", "normal"), -1);
  EXPECT_EQ(Get("ro.boot.mode"), "factory");
  ASSERT_EQ(orba_init_property_set("ro.boot.mode", "normal"), 0);
  EXPECT_EQ(Get("ro.boot.mode"), "normal");
}

TEST_F(PropertyAreaTest, HoldsAtLeast4096PropertiesThenRefuses) {
  for (int i = 0; i < ORBA_PROP_AREA_CAPACITY; ++i) {
    std::string name = "fill." + std::to_string(i);
    ASSERT_EQ(orba_init_property_set(name.c_str(), std::to_string(i).c_str()), 0) << i;
  }
  EXPECT_EQ(property_set("one.too.many", "x"), -1);
  EXPECT_EQ(Get("fill.0"), "0");
  EXPECT_EQ(Get("fill.4095"), "4095");
  EXPECT_EQ(property_set("fill.17", "updated"), 0);  // updates need no new slot
  EXPECT_EQ(Get("fill.17"), "updated");
}

TEST_F(PropertyAreaTest, ReadCallbackAndForeachSeeEverything) {
  ASSERT_EQ(property_set("a.one", "1"), 0);
  ASSERT_EQ(property_set("b.two", "2"), 0);
  const prop_info* pi = __system_property_find("b.two");
  ASSERT_NE(pi, nullptr);
  std::string seen;
  __system_property_read_callback(
      pi,
      [](void* cookie, const char* name, const char* value, uint32_t) {
        *static_cast<std::string*>(cookie) = std::string(name) + "=" + value;
      },
      &seen);
  EXPECT_EQ(seen, "b.two=2");
  int count = 0;
  __system_property_foreach([](const prop_info*, void* c) { ++*static_cast<int*>(c); }, &count);
  EXPECT_EQ(count, 2);
}

TEST_F(PropertyAreaTest, WaiterInAnotherProcessWakesOnSet) {
  ASSERT_EQ(property_set("sys.test.ready", "0"), 0);
  const prop_info* pi = __system_property_find("sys.test.ready");
  ASSERT_NE(pi, nullptr);
  uint32_t serial = __system_property_serial(pi);

  // The child reports through its exit status: 0 woke with the new value, 1 timed out, 2 wrong.
  pid_t child = StartChild([&] {
    uint32_t next = 0;
    timespec limit{10, 0};
    if (!__system_property_wait(pi, serial, &next, &limit)) return 1;
    char value[PROP_VALUE_MAX];
    __system_property_get("sys.test.ready", value);
    return std::string(value) == "1" && next != serial ? 0 : 2;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  ASSERT_EQ(property_set("sys.test.ready", "1"), 0);
  EXPECT_EQ(WaitChild(child), 0);
}

TEST_F(PropertyAreaTest, AreaWaitInAnotherProcessWakesOnAnyNewProperty) {
  ASSERT_EQ(orba_init_property_area(), 0);
  uint32_t serial = __system_property_area_serial();
  pid_t child = StartChild([&] {
    timespec limit{10, 0};
    return __system_property_wait(nullptr, serial, nullptr, &limit) ? 0 : 1;
  });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  ASSERT_EQ(property_set("brand.new", "x"), 0);
  EXPECT_EQ(WaitChild(child), 0);
}

TEST_F(PropertyAreaTest, WaiterWhoseTimeRunsOutReturnsOnTime) {
  ASSERT_EQ(property_set("sys.never", "0"), 0);
  const prop_info* pi = __system_property_find("sys.never");
  timespec limit{0, 200 * 1000 * 1000};
  auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(__system_property_wait(pi, __system_property_serial(pi), nullptr, &limit));
  auto waited = std::chrono::steady_clock::now() - start;
  EXPECT_GE(waited, std::chrono::milliseconds(200));
  EXPECT_LT(waited, std::chrono::seconds(2));
}

TEST_F(PropertyAreaTest, ConcurrentWritersAndReadersNeverSeeTornValues) {
  ASSERT_EQ(property_set("sys.torn", std::string(60, 'a').c_str()), 0);
  pid_t writer = StartChild([] {
    for (int i = 0; i < 20000; ++i) {
      std::string v(60, i % 2 ? 'b' : 'a');
      if (property_set("sys.torn", v.c_str()) != 0) return 1;
    }
    return 0;
  });
  int torn = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string v = Get("sys.torn");
    if (v != std::string(60, 'a') && v != std::string(60, 'b')) ++torn;
  }
  EXPECT_EQ(WaitChild(writer), 0);
  EXPECT_EQ(torn, 0);
}

// The writers below die by SIGKILL at one step of a write, as a crash or an OOM kill would end
// them, with the area locked and the entry possibly half written.
int g_kill_at_step = 0;
void KillAtStep(int step) {
  if (step == g_kill_at_step) raise(SIGKILL);
}

pid_t StartWriterThatDies(int step, const char* name, const std::string& value) {
  g_kill_at_step = step;
  return StartChild([name, value] {
    orba_property_step_hook(KillAtStep);
    property_set(name, value.c_str());
    return 99;  // the step was never reached
  });
}

// A reader that would spin forever on an entry its writer left busy fails by SIGALRM instead.
pid_t StartBoundedReader(const char* name, const std::string& expected, bool read_only) {
  return StartChild([=] {
    alarm(10);
    if (read_only) {
      if (!DropFileOverride()) return 10;
      orba_device_root_reset();
    }
    return Get(name) == expected ? 0 : 11;
  });
}

TEST_F(PropertyAreaTest, WriterKilledInMidUpdateLeavesAWholeValueAndNoStuckReader) {
  const std::string before(80, 'a');
  const std::string after(80, 'b');
  struct Case {
    int step;
    bool new_value_stands;  // the write had finished but for its bookkeeping
    bool entry_touched;     // its serial moved, so its waiters must wake
  };
  const Case cases[] = {
      {ORBA_PROP_STEP_JOURNAL_ARMED, false, false}, {ORBA_PROP_STEP_SERIAL_ODD, false, true},
      {ORBA_PROP_STEP_VALUE_HALF, false, true},     {ORBA_PROP_STEP_VALUE_COPIED, false, true},
      {ORBA_PROP_STEP_SERIAL_EVEN, true, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.step);
    ASSERT_EQ(property_set("sys.crash", before.c_str()), 0);
    const prop_info* pi = __system_property_find("sys.crash");
    ASSERT_NE(pi, nullptr);
    const uint32_t serial = __system_property_serial(pi);
    ASSERT_EQ(WaitChild(StartWriterThatDies(c.step, "sys.crash", after)), -1);
    const std::string& expected = c.new_value_stands ? after : before;

    // First a process that can only read the area, then one that can repair it.
    ASSERT_EQ(chmod(HostPath("/dev/__properties__").c_str(), 0444), 0);
    EXPECT_EQ(WaitChild(StartBoundedReader("sys.crash", expected, true)), 0);
    ASSERT_EQ(chmod(HostPath("/dev/__properties__").c_str(), 0644), 0);
    EXPECT_EQ(WaitChild(StartBoundedReader("sys.crash", expected, false)), 0);

    EXPECT_EQ(Get("sys.crash"), expected);
    EXPECT_EQ(__system_property_serial(pi) % 2, 0u);
    if (c.entry_touched) {
      timespec limit{5, 0};
      uint32_t now = 0;
      EXPECT_TRUE(__system_property_wait(pi, serial, &now, &limit));
      EXPECT_NE(now, serial);
    }
    ASSERT_EQ(property_set("sys.crash", "next"), 0);
    EXPECT_EQ(Get("sys.crash"), "next");
  }
}

TEST_F(PropertyAreaTest, WriterKilledWhileAddingAnEntryLeavesItWholeOrAbsentNeverTwice) {
  struct Case {
    int step;
    bool entry_stands;
  };
  const Case cases[] = {
      {ORBA_PROP_STEP_ENTRY_FILLED, false},
      {ORBA_PROP_STEP_ENTRY_COUNTED, true},
      {ORBA_PROP_STEP_ENTRY_FINDABLE, true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.step);
    const std::string name = "sys.added." + std::to_string(c.step);
    ASSERT_EQ(WaitChild(StartWriterThatDies(c.step, name.c_str(), "first")), -1);
    ASSERT_EQ(property_set("sys.other", "x"), 0);  // the next writer repairs

    EXPECT_EQ(Get(name.c_str()), c.entry_stands ? "first" : "");
    ASSERT_EQ(property_set(name.c_str(), "second"), 0);
    EXPECT_EQ(Get(name.c_str()), "second");
    struct Count {
      std::string name;
      int seen = 0;
    } count{name};
    __system_property_foreach(
        [](const prop_info* pi, void* cookie) {
          auto* c = static_cast<Count*>(cookie);
          __system_property_read_callback(
              pi,
              [](void* cookie, const char* name, const char*, uint32_t) {
                auto* c = static_cast<Count*>(cookie);
                if (c->name == name) ++c->seen;
              },
              c);
        },
        &count);
    EXPECT_EQ(count.seen, 1);
  }
}

}  // namespace
