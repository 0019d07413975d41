#include <gtest/gtest.h>
#include <string.h>
#include <sys/stat.h>

#include <string>

#include "digest_test_util.h"
#include "support/device_root.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

class Md5FileTest : public DeviceRootTest {
 protected:
  static std::string Finish(Md5Context* ctx) {
    unsigned char out[16];
    MD5_Final(out, ctx);
    return Hex(out, 16);
  }
};

TEST_F(Md5FileTest, EmptyFileDigestsTheEmptyMessage) {
  WriteDeviceFile("/data/empty", "");
  LogCapture log;
  Md5Context ctx;
  MD5_Init(&ctx);
  EXPECT_EQ(MD5_Update_File(&ctx, "/data/empty"), 0);
  EXPECT_EQ(Finish(&ctx), "d41d8cd98f00b204e9800998ecf8427e");
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "read file /data/empty fileSize:0 \r\n")) << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "inLen -1 fileSize:0 \r\n")) << log.Dump();
}

// Bytes already in the context (a partial block) and the file continue one message.
TEST_F(Md5FileTest, ContinuesAMessageAlreadyInTheContext) {
  const std::string head = "header-of-37-bytes-before-the-file..";
  std::string body;
  for (int i = 0; i < 25000; ++i) body += static_cast<char>(i * 7);
  WriteDeviceFile("/data/body", body);
  Md5Context ctx;
  MD5_Init(&ctx);
  MD5_Update(&ctx, reinterpret_cast<const unsigned char*>(head.data()),
             static_cast<unsigned>(head.size()));
  ASSERT_EQ(MD5_Update_File(&ctx, "/data/body"), 0);
  EXPECT_EQ(Finish(&ctx), Md5Hex(head + body));
}

TEST_F(Md5FileTest, UnusableFileFailsAndLeavesTheContextAlone) {
  WriteDeviceFile("/data/locked", "secret");
  chmod(HostPath("/data/locked").c_str(), 0);
  const bool can_bypass = geteuid() == 0;  // root opens it anyway

  struct Case {
    const char* path;
    const char* message;
  } cases[] = {
      {"/data/missing", "stat /data/missing, error:No such file or directory"},
      {"/data/locked", "open /data/locked fail:Permission denied \r\n"},
  };
  for (const Case& c : cases) {
    if (can_bypass && strcmp(c.path, "/data/locked") == 0) continue;
    SCOPED_TRACE(c.path);
    LogCapture log;
    Md5Context ctx;
    MD5_Init(&ctx);
    MD5_Update(&ctx, reinterpret_cast<const unsigned char*>("abc"), 3);
    const Md5Context before = ctx;
    EXPECT_EQ(MD5_Update_File(&ctx, c.path), -1);
    EXPECT_EQ(0, memcmp(&before, &ctx, sizeof(ctx)));
    EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, c.message)) << log.Dump();
  }
}

}  // namespace
}  // namespace orba::test
