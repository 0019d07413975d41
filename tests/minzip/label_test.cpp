#include <android/log.h>
#include <gtest/gtest.h>
#include <orbafactory/minzip.h>
#include <selinux/label.h>
#include <selinux/selinux.h>

#include <string>

#include "support/device_root.h"
#include "support/log_capture.h"
#include "zip_builder.h"

namespace orba::test {
namespace {

// With a label handle, every directory and file made is looked up by its device path. A host
// without SELinux refuses the creation context, which shows the context that was looked up and
// that the file is made regardless.
class Labels : public DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    if (is_selinux_enabled() > 0) GTEST_SKIP() << "host enforces SELinux labels itself";
    WriteDeviceFile("/file_contexts",
                    "/data(/.*)?            u:object_r:data_file:s0\n"
                    "/data/out(/.*)?        u:object_r:zip_out_file:s0\n"
                    "/data/out/dir          -d u:object_r:zip_dir_file:s0\n");
    const std::string path = HostPath("/file_contexts");
    struct selinux_opt opts[] = {{SELABEL_OPT_PATH, path.c_str()}};
    handle_ = selabel_open(SELABEL_CTX_FILE, opts, 1);
    ASSERT_NE(handle_, nullptr);
  }
  void TearDown() override {
    if (handle_ != nullptr) selabel_close(handle_);
    DeviceRootTest::TearDown();
  }
  static bool Labelled(const LogCapture& log, const std::string& context, const std::string& path) {
    const std::string want = "Can't set file creation context " + context + " for \"" + path + "\"";
    for (const LogLine& l : log.Lines()) {
      if (l.priority == ANDROID_LOG_WARN && l.text.rfind(want, 0) == 0) return true;
    }
    return false;
  }
  struct selabel_handle* handle_ = nullptr;
};

TEST_F(Labels, DirectoriesAndFilesAreLookedUpByDevicePath) {
  WriteDeviceFile("/data/a.zip", BuildZip({{"dir/x.txt", "x"}}).bytes);
  MemoryMap map;
  ASSERT_EQ(sysMapFile("/data/a.zip", &map), 0);
  ZipArchive za;
  ASSERT_EQ(mzOpenZipArchive(map.base, map.length, &za), 0);
  LogCapture log;
  EXPECT_TRUE(mzExtractRecursive(&za, "", "/data/out", nullptr, nullptr, nullptr, handle_));
  EXPECT_TRUE(Labelled(log, "u:object_r:zip_out_file:s0", "/data/out")) << log.Dump();
  EXPECT_TRUE(Labelled(log, "u:object_r:zip_dir_file:s0", "/data/out/dir")) << log.Dump();
  EXPECT_TRUE(Labelled(log, "u:object_r:zip_out_file:s0", "/data/out/dir/x.txt")) << log.Dump();
  EXPECT_EQ(ReadDeviceFile("/data/out/dir/x.txt"), "x");
  mzCloseZipArchive(&za);
  sysReleaseMap(&map);

  log.Clear();
  EXPECT_EQ(dirCreateHierarchy("/data/other/deep", 0755, nullptr, false, handle_), 0);
  EXPECT_TRUE(Labelled(log, "u:object_r:data_file:s0", "/data/other/deep")) << log.Dump();
}

}  // namespace
}  // namespace orba::test
