// Property reads and waits with the caller's own rights; waits wake on a set from another process.

#include <android/log.h>
#include <cutils/properties.h>
#include <string.h>
#include <fcntl.h>
#include <unistd.h>

#include <orbafactory/sysaccess.h>
#include <platform/host/device_init.h>

#include "atcmd_fixture.h"
#include "support/log_capture.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

class PropertyTest : public SysDeviceTest {};

TEST_F(PropertyTest, GetPropertyWithLen) {
  ASSERT_EQ(orba_init_property_set("vendor.p.ten", "0123456789"), 0);
  struct Case {
    const char* name;
    int len;
    const char* expected;
  } cases[] = {
      {"vendor.p.ten", 11, "0123456789"},
      {"vendor.p.ten", 10, "def"},  // too long for the buffer: the default instead
      {"vendor.p.none", 8, "def"},
      {"vendor.p.none", 3, "de"},  // a default that fills the buffer is cut to stay a string
      {"vendor.p.ten", 2, "d"},  // a default longer than the buffer is cut, never overrun
  };
  for (const Case& c : cases) {
    char value[32];
    memset(value, '#', sizeof(value));
    EXPECT_EQ(get_property_with_len(c.name, value, c.len, "def"), 0);
    EXPECT_EQ(std::string(value, strnlen(value, static_cast<size_t>(c.len))), c.expected)
        << c.name << " len " << c.len;
    EXPECT_EQ(value[c.len], '#');
    EXPECT_NE(memchr(value, '\0', static_cast<size_t>(c.len)), nullptr) << "unterminated";
  }
  char value[8] = "keep";
  EXPECT_EQ(get_property_with_len("vendor.p.ten", value, 0, "d"), -1);
  EXPECT_EQ(get_property_with_len(nullptr, value, 8, "d"), -1);
  EXPECT_EQ(get_property_with_len("vendor.p.ten", value, 8, nullptr), -1);
  EXPECT_STREQ(value, "keep");
}

TEST_F(PropertyTest, PropertySetArgs) {
  EXPECT_EQ(property_set_args("vendor.p.fmt", "%s-%d", "mode", 3), 0);
  char value[PROPERTY_VALUE_MAX] = {};
  property_get("vendor.p.fmt", value, "");
  EXPECT_STREQ(value, "mode-3");
  std::string long_value(100, 'x');
  EXPECT_EQ(property_set_args("vendor.p.fmt", "%s", long_value.c_str()), -1);
  property_get("vendor.p.fmt", value, "");
  EXPECT_STREQ(value, "mode-3");
}

TEST_F(PropertyTest, WaitTimesOutWhenNeverSet) {
  long long start = NowMs();
  EXPECT_EQ(wait_for_property("vendor.p.never", "1", 300), 0);
  EXPECT_GE(NowMs() - start, 290);
  ASSERT_EQ(orba_init_property_set("vendor.p.other", "0"), 0);
  EXPECT_EQ(wait_for_property("vendor.p.other", "1", 200), 0);
}

TEST_F(PropertyTest, WaitSeesAnExistingValue) {
  ASSERT_EQ(orba_init_property_set("vendor.p.ready", "yes"), 0);
  LogCapture log;
  EXPECT_EQ(wait_for_property("vendor.p.ready", "yes", 0), 1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "wait ok. expected:yes value:yes")) << log.Dump();
  EXPECT_EQ(wait_for_property("vendor.p.ready", "no", 0), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "value not equal. expected:no value:yes"));
}

TEST_F(PropertyTest, WaitWakesOnAnotherProcess) {
  struct Case {
    const char* what;
    bool exists_before;
  } cases[] = {{"created later", false}, {"changed later", true}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    std::string name = std::string("vendor.p.cross.") + (c.exists_before ? "a" : "b");
    if (c.exists_before) {
      ASSERT_EQ(orba_init_property_set(name.c_str(), "0"), 0);
    }
    // Both sides start at a barrier, so the bound below measures the wait alone.
    int barrier[2];
    ASSERT_EQ(pipe2(barrier, O_CLOEXEC), 0);
    pid_t setter = StartChild([&] {
      char go;
      if (read(barrier[0], &go, 1) != 1) return 2;
      usleep(150000);
      property_set(name.c_str(), "wrong");  // a change that does not match wakes and waits on
      usleep(150000);
      return property_set(name.c_str(), "done") == 0 ? 0 : 1;
    });
    close(barrier[0]);
    long long start = NowMs();
    ASSERT_EQ(write(barrier[1], "g", 1), 1);
    close(barrier[1]);
    EXPECT_EQ(wait_for_property(name.c_str(), "done", 5000), 1);
    // Woken by the set, not by the time-out: a waiter that only looks again when its time is up
    // also returns 1, but not before the 5 s are over.
    EXPECT_LT(NowMs() - start, 2500);
    EXPECT_EQ(WaitChild(setter), 0);
  }
}

}  // namespace
}  // namespace orba::test
