// The storage cleaner and the demo-video deletion on a real storage tree.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>
#include <vector>

#include <orbafactory/factorydata.h>

#include "factorydata_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

using Files = std::vector<std::string>;

class CleanerTest : public FactoryDataTest {};

TEST_F(CleanerTest, KeepsListedAppDataAndModemVersion) {
  for (const char* f : {"junk.txt", "DCIM/Camera/x.jpg", "Music/a.mp3", "Music/b.mp3",
                        "Movies/keep/one.mp4", "Movies/keep/deep/two.mp4", "Movies/other.mp4",
                        "Android/data/com.app/files/f.db", "Android/obb/big.obb",
                        "cache/modem_version", "cache/other", ".clear_sdcard.cfg"}) {
    WriteStorage(f, "x");
  }
  // A link inside the storage that points out of it is removed, never followed.
  WriteDeviceFile("/data/outside/precious", "p");
  ASSERT_EQ(symlink("../../outside", StoragePath("escape").c_str()), 0);

  // Listed names match ignoring case, and a listed directory keeps its whole tree.
  WriteStorage(".clear_sdcard.cfg", "f:MUSIC/A.mp3\nf:movies/Keep\nf:.clear_sdcard.cfg\n");
  ListPtr keep(get_tf_data_from_cfg());
  ASSERT_EQ(Paths(keep.get()).size(), 3u);

  LogCapture log;
  delete_all_file_except_tfdata("/sdcard", keep.get());

  EXPECT_EQ(StorageTree(), (Files{".clear_sdcard.cfg", "Android/", "Android/data/",
                                  "Android/data/com.app/", "Android/data/com.app/files/",
                                  "Android/data/com.app/files/f.db", "Movies/", "Movies/keep/",
                                  "Movies/keep/deep/", "Movies/keep/deep/two.mp4",
                                  "Movies/keep/one.mp4", "Music/", "Music/a.mp3", "cache/",
                                  "cache/modem_version"}));
  EXPECT_EQ(ReadDeviceFile("/data/outside/precious"), "p");
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "removeFile:/sdcard/junk.txt:0")) << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "removeDir:/sdcard/DCIM/Camera:0")) << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "removeDir:/sdcard/DCIM:0")) << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "removeDir:/sdcard/Music:-1")) << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "reserve file:/sdcard/Android/data/com.app/files/f.db"));
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "reserve dir:/sdcard/Android/data/com.app"));
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "reserve file:/sdcard/cache/modem_version"));
  for (const LogLine& l : log.Lines()) {
    EXPECT_EQ(l.text.find("removeDir:/sdcard:"), std::string::npos);
  }
}

TEST_F(CleanerTest, EmptyKeepListEmptiesTheStorageButNotItself) {
  WriteStorage("a/b/c", "x");
  WriteStorage("d", "x");
  delete_all_file_except_tfdata("/sdcard", nullptr);
  EXPECT_EQ(StorageTree(), Files{});
  struct stat st;
  EXPECT_EQ(stat(HostPath("/sdcard").c_str(), &st), 0);
}

TEST_F(CleanerTest, UnreadableDirectory) {
  LogCapture log;
  delete_all_file_except_tfdata("/sdcard/none", nullptr);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG,
                      "Fail to read /sdcard/none : No such file or directory\r\n"))
      << log.Dump();
}

TEST_F(CleanerTest, ForeignDemoVideos) {
  const Files videos = {"Movies/orbaDemoVideo_ORBA.mp4", "Movies/orbaDemoVideo_EU.mp4",
                        "Movies/orbaDemoVideo_EU.jpg", "Movies/other_EU.mp4",
                        "Movies/" + std::string(130, 'v') + "orbaDemoVideo_EU.mp4"};
  std::string manifest;
  for (const std::string& v : videos) {
    WriteStorage(v, "v");
    manifest += "f:" + v + "\n";
  }
  WriteStorage(".clear_sdcard.cfg", manifest);
  StartService();
  LogCapture log;
  delete_foreign_extra_demovideo_by_oem("ORBA");
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "oem_name = ORBA"));
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "delete: /sdcard/Movies/orbaDemoVideo_EU.mp4"));
  // Only the foreign demo video goes; a path too long to examine is left alone.
  Files left = StorageTree();
  Files expected = {".clear_sdcard.cfg", "Movies/", videos[0], videos[2], videos[3], videos[4]};
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(left, expected);
}

}  // namespace
}  // namespace orba::test
