// The privileged service client against the real service code on real sockets: with the service
// running in-process, and with it absent (fallbacks and restarts).

#include <android/log.h>
#include <cutils/properties.h>
#include <cutils/sockets.h>
#include <fcntl.h>
#include <limits.h>
#include <openssl/evp.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <fstream>
#include <string>
#include <thread>

#include <android-base/unique_fd.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/host/device_init.h>

#include "atcmd_fixture.h"
#include "atcmd_service.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

class AtcmdClientTest : public SysDeviceTest {
 protected:
  void SetUp() override {
    SysDeviceTest::SetUp();
    StartInProcessService();
  }
};

class AtcmdAbsentTest : public SysDeviceTest {};

TEST_F(AtcmdClientTest, PropertyLengthBoundary) {
  ASSERT_EQ(orba_init_property_set("vendor.test.ten", "0123456789"), 0);
  struct Case {
    int len;
    const char* expected;
  } cases[] = {{10, "dflt"}, {11, "0123456789"}, {92, "0123456789"}};
  for (const Case& c : cases) {
    char value[128];
    memset(value, 'x', sizeof(value));
    EXPECT_EQ(orbaatcmd_get_system_property_with_len("vendor.test.ten", value, c.len, "dflt"), 0);
    EXPECT_STREQ(value, c.expected) << "len " << c.len;
  }
  char value[92] = {};
  EXPECT_EQ(orbaatcmd_get_system_property("vendor.test.missing", value, "fallback"), 0);
  EXPECT_STREQ(value, "fallback");
}

TEST_F(AtcmdClientTest, PropertyBadArgumentsNeverReachService) {
  LogCapture log;
  char value[8] = "keep";
  struct Case {
    const char* key;
    char* value;
    int len;
    const char* def;
  } cases[] = {{"a.b", value, 0, "d"}, {"a.b", value, -3, "d"}, {nullptr, value, 5, "d"},
               {"a.b", nullptr, 5, "d"}, {"a.b", value, 5, nullptr}};
  for (const Case& c : cases) {
    EXPECT_EQ(orbaatcmd_get_system_property_with_len(c.key, c.value, c.len, c.def), -1);
  }
  EXPECT_STREQ(value, "keep");
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "value is null or len <= 0")) << log.Dump();
  // The fixed-length form reports the failure through its log line's result, never 0.
  EXPECT_NE(orbaatcmd_get_system_property(nullptr, value, "d"), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "get system property fail."));
  EXPECT_FALSE(log.Has(ANDROID_LOG_ERROR, "not found IOrbaAtcmd service"));
}

TEST_F(AtcmdClientTest, SetPropertyThroughService) {
  orbaatcmd_set_system_property("persist.vendor.test.flag", "on");
  char value[PROPERTY_VALUE_MAX] = {};
  property_get("persist.vendor.test.flag", value, "");
  EXPECT_STREQ(value, "on");
}

TEST_F(AtcmdClientTest, FileRoundTrip) {
  ASSERT_EQ(orbaatcmd_write_system_file("/cache/policy", O_WRONLY | O_CREAT | O_TRUNC, "abc"),
            -2);  // the directory does not exist: the service's -errno
  WriteDeviceFile("/cache/keep", "");
  EXPECT_EQ(orbaatcmd_write_system_file("/cache/policy", O_WRONLY | O_CREAT | O_TRUNC, "abc"), 0);
  EXPECT_EQ(ReadDeviceFile("/cache/policy"), "abc");
  EXPECT_EQ(orbaatcmd_fwrite_system_file("/cache/policy", "a", "def"), 0);
  EXPECT_EQ(orbaatcmd_sizeof_system_file("/cache/policy"), 6);

  char out[16] = {};
  EXPECT_EQ(orbaatcmd_fread_system_file("/cache/policy", out, sizeof(out) - 1), 0);
  EXPECT_STREQ(out, "abcdef");
  char small[8];
  memset(small, '#', sizeof(small));
  EXPECT_EQ(orbaatcmd_read_system_file("/cache/policy", small, 4), 0);
  EXPECT_EQ(std::string(small, 5), "abcd#");  // strncpy: no terminator when the text fills len

  EXPECT_EQ(orbaatcmd_copy_file("/cache/policy", "/cache/copy"), 0);
  EXPECT_EQ(ReadDeviceFile("/cache/copy"), "abcdef");
  EXPECT_EQ(orbaatcmd_chmod_system_file("/cache/copy", 0600), 0);
  struct stat st;
  ASSERT_EQ(stat(HostPath("/cache/copy").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0600u);
  EXPECT_EQ(orbaatcmd_selinux_restorecon("/cache/copy", 0), 0);
  EXPECT_EQ(orbaatcmd_remove_system_file("/cache/copy"), 0);
  EXPECT_NE(access(HostPath("/cache/copy").c_str(), F_OK), 0);

  // Missing files: every member reports failure.
  EXPECT_EQ(orbaatcmd_sizeof_system_file("/cache/none"), -1);
  EXPECT_EQ(orbaatcmd_chmod_system_file("/cache/none", 0644), -1);
  EXPECT_EQ(orbaatcmd_remove_system_file("/cache/none"), -1);
  EXPECT_EQ(orbaatcmd_copy_file("/cache/none", "/cache/copy"), -1);
  EXPECT_EQ(orbaatcmd_selinux_restorecon("/cache/none", 0), -1);
  EXPECT_EQ(orbaatcmd_fwrite_system_file("/cache/policy", "q", "x"), -1);  // not a mode
}

TEST_F(AtcmdClientTest, DataFiles) {
  WriteDeviceFile("/data/keep", "");
  const unsigned char bytes[] = {0x00, 0xff, 0x10, 0x00, 0x7f};
  EXPECT_EQ(orbaatcmd_fwrite_data_file("/data/blob", "wb", bytes, sizeof(bytes)), 0);
  EXPECT_EQ(ReadDeviceFile("/data/blob"), std::string("\x00\xff\x10\x00\x7f", 5));
  EXPECT_EQ(orbaatcmd_fwrite_data_file("/data/blob", "wb", bytes, 0), 0);
  EXPECT_EQ(ReadDeviceFile("/data/blob"), "");
  EXPECT_EQ(orbaatcmd_orbakp_write_file(bytes, 3), 0);
  EXPECT_EQ(ReadDeviceFile(orba::sim::kKpDataPath), std::string("\x00\xff\x10", 3));
  // No data behind a positive size: refused before anything is sent or written.
  EXPECT_EQ(orbaatcmd_fwrite_data_file("/data/blob", "wb", nullptr, 4), -1);
  EXPECT_EQ(orbaatcmd_orbakp_write_file(nullptr, 4), -1);
  EXPECT_EQ(ReadDeviceFile(orba::sim::kKpDataPath), std::string("\x00\xff\x10", 3));
}

TEST_F(AtcmdClientTest, NegativeDataSizeIsFatal) {
  // Forked, not re-run: a re-run child makes a device root of its own in SetUp and dies before
  // TearDown could remove it. The process starts no thread before the fatal call.
  GTEST_FLAG_SET(death_test_style, "fast");
  const unsigned char bytes[4] = {};
  EXPECT_DEATH(orbaatcmd_fwrite_data_file("/data/blob", "wb", bytes, -1),
               "external vector size exceeds 2\\^32 elements.");
  EXPECT_DEATH(orbaatcmd_orbakp_write_file(bytes, -4),
               "external vector size exceeds 2\\^32 elements.");
}

TEST_F(AtcmdClientTest, Md5OnlyForSixteenBytes) {
  WriteDeviceFile("/etc/image.bin", "The quick brown fox");
  unsigned char expected[EVP_MAX_MD_SIZE];
  unsigned int n = 0;
  ASSERT_EQ(EVP_Digest("The quick brown fox", 19, expected, &n, EVP_md5(), nullptr), 1);
  unsigned char digest[16] = {};
  EXPECT_EQ(orbaatcmd_md5_system_file("/etc/image.bin", digest), 0);
  EXPECT_EQ(memcmp(digest, expected, 16), 0);
  // An unreadable file gives an empty digest: -1, buffer untouched.
  unsigned char untouched[16];
  memset(untouched, 0xaa, sizeof(untouched));
  EXPECT_EQ(orbaatcmd_md5_system_file("/etc/none", untouched), -1);
  EXPECT_EQ(untouched[0], 0xaa);
}

TEST_F(AtcmdClientTest, PathsStayInsideTheDevice) {
  // A file beside the device root, reachable only by climbing out of it.
  std::string outside = root() + "-outside";
  ASSERT_EQ(mkdir(outside.c_str(), 0755), 0);
  std::string leaf = outside.substr(outside.rfind('/') + 1);
  std::string escape = "/../../../../../../../../tmp/" + leaf + "/victim";
  WriteDeviceFile("/cache/keep", "");

  // ".." stops at the device's "/": the write lands inside the root, never beside it.
  EXPECT_EQ(orbaatcmd_fwrite_system_file(escape.c_str(), "w", "x"), -1);  // no /tmp/<leaf> inside
  EXPECT_NE(access((outside + "/victim").c_str(), F_OK), 0);
  EXPECT_EQ(orbaatcmd_fwrite_system_file("/cache/../../../cache/x", "w", "in"), 0);
  EXPECT_EQ(ReadDeviceFile("/cache/x"), "in");

  // A symbolic link inside the device that points out of it is refused, read or write.
  ASSERT_EQ(symlink(outside.c_str(), HostPath("/cache/out").c_str()), 0);
  WriteDeviceFile("/cache/keep", "");
  { std::ofstream(outside + "/secret") << "host"; }
  char out[16] = {};
  EXPECT_EQ(orbaatcmd_read_system_file("/cache/out/secret", out, 15), 0);
  EXPECT_STREQ(out, "");  // delivered, but empty: the service refused to read it
  EXPECT_EQ(orbaatcmd_sizeof_system_file("/cache/out/secret"), -1);
  EXPECT_EQ(orbaatcmd_fwrite_system_file("/cache/out/new", "w", "x"), -1);
  EXPECT_EQ(orbaatcmd_remove_system_file("/cache/out/secret"), -1);
  EXPECT_EQ(orbaatcmd_copy_file("/cache/keep", "/cache/out/secret"), -1);
  EXPECT_NE(access((outside + "/new").c_str(), F_OK), 0);
  // Relative paths have no place in the device.
  EXPECT_EQ(orbaatcmd_sizeof_system_file("cache/keep"), -1);
  std::string cmd = "rm -rf '" + outside + "'";
  ASSERT_EQ(system(cmd.c_str()), 0);
}

TEST_F(AtcmdClientTest, CommandsRunInTheDevice) {
  WriteScript("/system/bin/whereami", "echo \"tool:$(pwd)\"\n");
  char out[256] = {};
  EXPECT_EQ(orbaatcmd_exec_system_cmd("whereami; echo err >&2", out, sizeof(out) - 1), 0);
  char real_root[PATH_MAX];
  ASSERT_NE(realpath(root().c_str(), real_root), nullptr);
  EXPECT_EQ(std::string(out), std::string("tool:") + real_root + "\n");
  char empty[8] = "x";
  EXPECT_EQ(orbaatcmd_exec_system_cmd("true", empty, 7), 0);
  EXPECT_STREQ(empty, "");
}

TEST_F(AtcmdClientTest, UnzipIntoTheDevice) {
  WriteDeviceFile("/sdcard/src/a.txt", "alpha");
  WriteDeviceFile("/sdcard/src/b.txt", "beta");
  std::string cmd = "cd '" + HostPath("/sdcard/src") + "' && zip -q ../pack.zip a.txt b.txt";
  ASSERT_EQ(system(cmd.c_str()), 0);
  WriteDeviceFile("/data/out/keep", "");
  EXPECT_EQ(orbaatcmd_uzip_file("/sdcard/pack.zip", "/data/out", ""), 0);
  EXPECT_EQ(ReadDeviceFile("/data/out/a.txt"), "alpha");
  EXPECT_EQ(ReadDeviceFile("/data/out/b.txt"), "beta");
  WriteDeviceFile("/data/one/keep", "");
  EXPECT_EQ(orbaatcmd_uzip_file("/sdcard/pack.zip", "/data/one", "b.txt"), 0);
  EXPECT_EQ(ReadDeviceFile("/data/one/b.txt"), "beta");
  EXPECT_NE(access(HostPath("/data/one/a.txt").c_str(), F_OK), 0);
  EXPECT_EQ(orbaatcmd_uzip_file("/sdcard/none.zip", "/data/out", ""), -1);
}

TEST_F(AtcmdClientTest, FingerprintMessages) {
  char reply[32] = {};
  // No fingerprint service listening: the service says so.
  orbaatcmd_send_message_to_fingerprint("hello", reply, sizeof(reply) - 1);
  EXPECT_STREQ(reply, "refused error");

  android::base::unique_fd listener(socket_local_server(
      DevSocketName(orba::sim::kFingerprintSocket), ANDROID_SOCKET_NAMESPACE_ABSTRACT,
      SOCK_STREAM));
  ASSERT_GE(listener.get(), 0);
  std::thread responder([&] {
    android::base::unique_fd c(accept(listener.get(), nullptr, nullptr));
    char buf[64] = {};
    ssize_t n = read(c.get(), buf, sizeof(buf) - 1);
    std::string answer = "got:" + std::string(buf, n > 0 ? static_cast<size_t>(n) : 0);
    ASSERT_EQ(write(c.get(), answer.data(), answer.size()), static_cast<ssize_t>(answer.size()));
  });
  memset(reply, 0, sizeof(reply));
  orbaatcmd_send_message_to_fingerprint("ping", reply, sizeof(reply) - 1);
  responder.join();
  EXPECT_STREQ(reply, "got:ping");
}

TEST_F(AtcmdClientTest, ASlowCommandDoesNotHoldUpOtherCalls) {
  WriteDeviceFile("/etc/version", "7");
  std::atomic<bool> finished{false};
  std::thread slow([&] {
    char out[16] = {};
    EXPECT_EQ(orbaatcmd_exec_system_cmd("sleep 1; echo done", out, 15), 0);
    EXPECT_STREQ(out, "done\n");
    finished = true;
  });
  // More concurrent slow calls than the service starts with, and quick ones beside them.
  std::thread more[5];
  for (std::thread& t : more) {
    t = std::thread([] {
      char out[8] = {};
      EXPECT_EQ(orbaatcmd_exec_system_cmd("sleep 1", out, 7), 0);
    });
  }
  usleep(100000);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(orbaatcmd_sizeof_system_file("/etc/version"), 1);
  EXPECT_FALSE(finished.load());
  slow.join();
  for (std::thread& t : more) t.join();
}

TEST_F(AtcmdClientTest, CplcIsReserved) { EXPECT_EQ(orbaatcmd_getCPLC(), -1); }

// ---- Service absent ------------------------------------------------------------------------

TEST_F(AtcmdAbsentTest, ProbedMembersFallBackOrFail) {
  UseDevicePath();
  WriteDeviceFile("/data/keep", "");
  WriteScript("/system/bin/stop", "echo \"stop $1\" >> \"$ORBA_DEVICE_ROOT/data/restarts\"\n");
  WriteScript("/system/bin/start", "echo \"start $1\" >> \"$ORBA_DEVICE_ROOT/data/restarts\"\n");
  LogCapture log;

  orbaatcmd_set_system_property("vendor.local.flag", "1");
  char value[PROPERTY_VALUE_MAX] = {};
  property_get("vendor.local.flag", value, "");
  EXPECT_STREQ(value, "1");

  ASSERT_EQ(orba_init_property_set("vendor.local.ten", "0123456789"), 0);
  char v[16] = {};
  EXPECT_EQ(orbaatcmd_get_system_property_with_len("vendor.local.ten", v, 10, "d"), 0);
  EXPECT_STREQ(v, "d");
  EXPECT_EQ(orbaatcmd_get_system_property_with_len("vendor.local.ten", v, 11, "d"), 0);
  EXPECT_STREQ(v, "0123456789");

  WriteDeviceFile("/sys/node", "old");
  EXPECT_EQ(orbaatcmd_write_system_file("/sys/node", O_WRONLY | O_TRUNC, "new"), 0);
  EXPECT_EQ(ReadDeviceFile("/sys/node"), "new");
  EXPECT_EQ(orbaatcmd_write_system_file("/sys/none", O_WRONLY, "x"), -ENOENT);

  char out[8] = "same";
  EXPECT_EQ(orbaatcmd_chmod_system_file("/sys/node", 0600), -1);
  EXPECT_EQ(orbaatcmd_sizeof_system_file("/sys/node"), -1);
  EXPECT_EQ(orbaatcmd_fwrite_system_file("/sys/node", "w", "x"), -1);
  EXPECT_EQ(orbaatcmd_fread_system_file("/sys/node", out, 7), -1);
  EXPECT_STREQ(out, "same");
  EXPECT_EQ(ReadDeviceFile("/sys/node"), "new");

  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "not found IOrbaAtcmd service")) << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "restart orbaatcmd-hal-1-0 sucess\n"));
  // One restart (stop, then start) for each probed call above.
  std::string restarts = ReadDeviceFile("/data/restarts");
  size_t stops = 0;
  for (size_t p = restarts.find("stop orbaatcmd-hal-1-0"); p != std::string::npos;
       p = restarts.find("stop orbaatcmd-hal-1-0", p + 1)) {
    ++stops;
  }
  EXPECT_EQ(stops, 9u) << restarts;
  EXPECT_NE(restarts.find("start orbaatcmd-hal-1-0"), std::string::npos);
}

TEST_F(AtcmdAbsentTest, DirectMembersFailWithoutRestart) {
  LogCapture log;
  char out[16] = "same";
  unsigned char digest[16] = {};
  const unsigned char bytes[2] = {1, 2};
  EXPECT_EQ(orbaatcmd_exec_system_cmd("echo hi", out, 15), -1);
  EXPECT_EQ(orbaatcmd_read_system_file("/x", out, 15), -1);
  EXPECT_STREQ(out, "same");
  EXPECT_EQ(orbaatcmd_copy_file("/a", "/b"), -1);
  EXPECT_EQ(orbaatcmd_uzip_file("/a.zip", "/b", ""), -1);
  EXPECT_EQ(orbaatcmd_selinux_restorecon("/a", 0), -1);
  EXPECT_EQ(orbaatcmd_remove_system_file("/a"), -1);
  EXPECT_EQ(orbaatcmd_fwrite_data_file("/a", "w", bytes, 2), -1);
  EXPECT_EQ(orbaatcmd_orbakp_write_file(bytes, 2), -1);
  EXPECT_EQ(orbaatcmd_md5_system_file("/a", digest), -1);
  char reply[16] = {};
  orbaatcmd_send_message_to_fingerprint("x", reply, 15);
  EXPECT_STREQ(reply, "error");
  EXPECT_FALSE(log.Has(ANDROID_LOG_ERROR, "restart orbaatcmd-hal-1-0 sucess\n"));
}

TEST_F(AtcmdAbsentTest, FingerprintReplyRespectsLength) {
  char reply[8];
  memset(reply, '#', sizeof(reply));
  orbaatcmd_send_message_to_fingerprint("x", reply, 3);
  EXPECT_EQ(std::string(reply, 4), "err#");
}

}  // namespace
}  // namespace orba::test
