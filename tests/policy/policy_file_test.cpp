// Whole-file reads and edits of policy files, on real files in a device root.

#include <android/log.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include <orbafactory/config.h>
#include <platform/host/device_init.h>

#include "support/device_root.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

constexpr int kCreate = O_WRONLY | O_CREAT | O_TRUNC;

class PolicyFileTest : public DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    ASSERT_EQ(orba_init_property_area(), 0);
    WriteDeviceFile("/data/.keep", "");
    WriteDeviceFile("/cache/recovery/.keep", "");
  }
};

TEST_F(PolicyFileTest, ReadKeepsWithinTheCallersSize) {
  struct Case {
    const char* name;
    const char* content;  // null: no file
    int size;
    int ret;
    std::string text;
  };
  const std::vector<Case> cases = {
      {"newline stripped", "abc\n", 64, 0, "abc"},
      {"lone newline kept", "\n", 64, 0, "\n"},
      {"one newline only", "a\n\n", 64, 0, "a\n"},
      {"exact size loses last byte", "abcdef", 6, 0, "abcde"},
      {"longer file cut", "abcdefgh", 4, 0, "abc"},
      {"size one", "xyz", 1, 0, ""},
      {"empty file", "", 64, -1, ""},
      {"missing file", nullptr, 64, -1, ""},
      {"zero size", "abc", 0, -1, ""},
  };
  for (const Case& c : cases) {
    if (c.content != nullptr) WriteDeviceFile("/sys/node", c.content);
    char buf[80];
    memset(buf, 0, sizeof(buf));
    buf[c.size > 0 ? c.size : 0] = 'Z';  // a read must never touch the byte past `size`
    EXPECT_EQ(read_policy_file(0, "/sys/node", buf, c.size), c.ret) << c.name;
    EXPECT_EQ(std::string(buf, strnlen(buf, c.size > 0 ? c.size : 0)), c.text) << c.name;
    EXPECT_EQ(buf[c.size > 0 ? c.size : 0], 'Z') << c.name;
    remove(HostPath("/sys/node").c_str());
  }
  char buf[8] = {};
  EXPECT_EQ(read_policy_file(0, "/sys/node", nullptr, 8), -1);
  EXPECT_EQ(read_policy_file(0, nullptr, buf, 8), -1);
}

TEST_F(PolicyFileTest, ContentReachesTheLogOnlyInFactoryModeAndNeverFromTheQuietReader) {
  WriteDeviceFile("/data/vendor/engineermode/secret", "k3y\n");
  struct Case {
    const char* mode;
    bool quiet;
    bool logged;
  };
  for (const Case& c : std::vector<Case>{{"yes", false, true},
                                         {"no", false, false},
                                         {"yes", true, false}}) {
    ASSERT_EQ(orba_init_property_set("persist.sys.factory.mode", c.mode), 0);
    LogCapture log;
    char buf[32] = {};
    int ret = c.quiet ? no_log_read_policy_file(1, "/data/vendor/engineermode/secret", buf, 32)
                      : read_policy_file(1, "/data/vendor/engineermode/secret", buf, 32);
    EXPECT_EQ(ret, 0);
    EXPECT_STREQ(buf, "k3y");
    EXPECT_EQ(log.Has(ANDROID_LOG_DEBUG, "fread ret:4, buf: k3y"), c.logged) << log.Dump();
    EXPECT_EQ(log.Dump().find("k3y") != std::string::npos, c.logged) << log.Dump();
  }
}

TEST_F(PolicyFileTest, WriteUsesTheCallersFlagsAsTheyStand) {
  WriteDeviceFile("/sys/class/timed_output/motor/enable", "0\n");
  EXPECT_EQ(write_policy_file(1, "/sys/class/timed_output/motor/enable", O_WRONLY, "1"), 0);
  // No truncation was asked for, so the node's old newline stays behind the new value.
  EXPECT_EQ(ReadDeviceFile("/sys/class/timed_output/motor/enable"), "1\n");
  // Without O_CREAT a missing node is an error, never a new file.
  EXPECT_EQ(write_policy_file(1, "/sys/class/none", O_WRONLY, "1"), -ENOENT);
  EXPECT_EQ(write_policy_file(1, nullptr, O_WRONLY, "1"), -1);
  std::string long_text(1500, 'x');
  EXPECT_EQ(write_policy_file(0, "/data/long", kCreate, long_text.c_str()), 0);
  EXPECT_EQ(ReadDeviceFile("/data/long"), std::string(1023, 'x'));
}

TEST_F(PolicyFileTest, AppendJoinsTheContentToTheLastLine) {
  struct Case {
    const char* name;
    const char* before;  // null: no file
    const char* content;
    int size;
    int ret;
    std::string after;  // null-equivalent: unchanged
    const char* log;
  };
  std::string nearly_full(1000, 'a');
  const std::vector<Case> cases = {
      {"new file", nullptr, "[cam:1]", 7, 1, "[cam:1]", "result = 1, appended file data=[cam:1]"},
      {"after stripped newline", "abc\n", "def", 3, 1, "abcdef", nullptr},
      {"size bounds the content", "abc", "defgh", 2, 1, "abcde", nullptr},
      {"size past the content", "abc", "d", 50, 1, "abcd", nullptr},
      {"size 1024", "abc", "d", 1024, 0, "abc", "1024 error: out of scope 1"},
      {"negative size", "abc", "d", -1, 0, "abc", "-1 error: out of scope 1"},
      {"no room", nearly_full.c_str(), "0123456789012345678901234", 24, 0, nearly_full,
       "error: out of scope 2"},
      {"fills to 1023", nearly_full.c_str(), "0123456789012345678901234", 23, 1,
       nearly_full + "01234567890123456789012", nullptr},
  };
  for (const Case& c : cases) {
    remove(HostPath("/data/cali").c_str());
    if (c.before != nullptr) WriteDeviceFile("/data/cali", c.before);
    LogCapture log;
    EXPECT_EQ(append_policy_file(0, "/data/cali", O_WRONLY | O_CREAT, c.content, c.size), c.ret)
        << c.name;
    EXPECT_EQ(ReadDeviceFile("/data/cali"), c.after) << c.name;
    if (c.log != nullptr) {
      EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, c.log)) << c.name << log.Dump();
    }
  }
}

TEST_F(PolicyFileTest, AppendFailsWhenTheFileCannotBeWritten) {
  LogCapture log;
  EXPECT_EQ(append_policy_file(0, "/data/nodir/cali", O_WRONLY | O_CREAT, "x", 1), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "save cali_data fail, ret = -2")) << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "result = 0, appended file data=x")) << log.Dump();
}

TEST_F(PolicyFileTest, ReplaceMovesTheSectionToTheEnd) {
  struct Case {
    const char* name;
    const char* before;  // null: no file
    const char* content;
    unsigned size;
    int ret;
    std::string after;
  };
  const std::vector<Case> cases = {
      {"middle section", "[front:1,2][rear:3,4][tof:5]", "[rear:9,9]", 10, 1,
       "[front:1,2][tof:5][rear:9,9]"},
      {"only section, shorter", "[rear:3,4,5,6]\n", "[rear:7]", 8, 1, "[rear:7]"},
      {"text around the section stays", "a=1\n[rear:3]b=2", "[rear:4]", 8, 1, "a=1\nb=2[rear:4]"},
      {"no section: appended", "[front:1]", "[rear:2]", 8, 1, "[front:1][rear:2]"},
      {"no file: created", nullptr, "[rear:2]", 8, 1, "[rear:2]"},
      {"size 1025 refused", "[rear:1]", "[rear:2]", 1025, 0, "[rear:1]"},
  };
  for (const Case& c : cases) {
    remove(HostPath("/data/cali").c_str());
    if (c.before != nullptr) WriteDeviceFile("/data/cali", c.before);
    EXPECT_EQ(replace_policy_file(0, "/data/cali", kCreate, c.content, c.size, "[rear:", "]"),
              c.ret)
        << c.name;
    EXPECT_EQ(ReadDeviceFile("/data/cali"), c.after) << c.name;
  }
}

TEST_F(PolicyFileTest, ReplaceWithoutTheSectionReportsSuccessEvenWhenTheAppendFails) {
  WriteDeviceFile("/data/cali", "[front:1]");
  LogCapture log;
  // 1024 passes the replace's own bound but not the append's.
  EXPECT_EQ(replace_policy_file(0, "/data/cali", kCreate, "[rear:2]", 1024, "[rear:", "]"), 1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "1024 error: out of scope 1")) << log.Dump();
  EXPECT_EQ(ReadDeviceFile("/data/cali"), "[front:1]");
}

TEST_F(PolicyFileTest, WriteCacheFileCreatesOrTruncates) {
  struct Case {
    const char* name;
    const char* path;
    const char* content;
    int ret;
  };
  WriteDeviceFile("/cache/recovery/old", std::string(100, 'o'));
  const std::vector<Case> cases = {
      {"new file", "/cache/recovery/new", "line\n", 0},
      {"truncates", "/cache/recovery/old", "short", 0},
      {"empty content", "/cache/recovery/empty", "", 0},
      {"missing directory", "/cache/none/x", "x", -ENOENT},
      {"null content", "/cache/recovery/null", nullptr, -1},
      {"null path", nullptr, "x", -1},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(write_cache_file(c.path, c.content), c.ret) << c.name;
    if (c.ret == 0) {
      EXPECT_EQ(ReadDeviceFile(c.path), c.content) << c.name;
    }
  }
}

TEST_F(PolicyFileTest, FileContainsStr) {
  WriteDeviceFile("/proc/mounts",
                  "tmpfs /dev tmpfs rw 0 0\n"
                  "/dev/block/by-name/factory /factory ext4 ro 0 0\n");
  struct Case {
    const char* path;
    const char* str;
    bool at_line_start;
    int found;
  };
  const std::vector<Case> cases = {
      {"/proc/mounts", "/by-name/factory", false, 1},
      {"/proc/mounts", "/BY-NAME/factory", false, 0},  // a contained match keeps case
      {"/proc/mounts", "/DEV/BLOCK", true, 1},          // a line-start match ignores it
      {"/proc/mounts", "/by-name/factory", true, 0},
      {"/proc/mounts", "sysfs", false, 0},
      {"/proc/none", "tmpfs", false, 0},
      {nullptr, "tmpfs", false, 0},
      {"/proc/mounts", nullptr, false, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(is_file_contains_str(c.path, c.str, c.at_line_start), c.found)
        << (c.path ? c.path : "null") << " " << (c.str ? c.str : "null") << " " << c.at_line_start;
  }
  LogCapture log;
  is_file_contains_str("/proc/mounts", "sysfs", false);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "path: /proc/mounts, doesn't contains str: sysfs!"));
}

}  // namespace
}  // namespace orba::test
