// orbafactory tfdata, copy and toolcmd against a simulated device running its AT-command
// service as a real process.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "support/sim_device.h"

namespace {


class FactoryDataCliTest : public orba::test::SimDeviceTest {
 protected:
  void Storage(const std::string& rel, const std::string& content) {
    WriteDeviceFile("/data/media/0/" + rel, content);
  }
  bool Exists(const std::string& device_path) {
    return access(HostPath(device_path).c_str(), F_OK) == 0;
  }
};

TEST_F(FactoryDataCliTest, TfdataInventoryAndClean) {
  Storage(".clear_sdcard.ini",
          "[ORBA]\nsize = 3\nfile1 = Movies/orbaDemoVideo_ORBA.mp4\n"
          "file2 = Movies/orbaDemoVideo_EU.mp4\nfile3 = Music/song.flac\n"
          "[ALL]\nsize = 1\nfile1 = Music/song.flac\n");
  Storage("Movies/orbaDemoVideo_ORBA.mp4", "0123456789");
  Storage("Movies/orbaDemoVideo_EU.mp4", "01234");
  Storage("junk/old.txt", "x");

  struct Step {
    std::vector<std::string> args;
    int status;
    std::string out;  // the whole stdout
  };
  const std::vector<Step> steps = {
      {{"tfdata", "type"}, 0, "type=2 format=ini path=/sdcard/.clear_sdcard.ini\n"},
      {{"tfdata", "list"},
       0,
       "/sdcard/Movies/orbaDemoVideo_ORBA.mp4\n/sdcard/Movies/orbaDemoVideo_EU.mp4\n"
       "/sdcard/Music/song.flac\n"},
      {{"tfdata", "list", "EU"}, 1, ""},
      {{"tfdata", "list", "EU", "--all"}, 0, "/sdcard/Music/song.flac\n"},
      {{"tfdata", "list", "--bogus"}, 2, ""},
      {{"tfdata", "size"}, 0, "size=15 files=3\n"},
      {{"tfdata", "check"}, 1, "path=/sdcard/Music/song.flac state=lost\n"},
      {{"tfdata", "clean"}, 2, ""},
      {{"tfdata", "clean", "--demo", "ORBA"},
       0,
       "/sdcard/Movies/orbaDemoVideo_EU.mp4\n"},
      {{"tfdata", "clean", "--yes"}, 0, "path=/sdcard kept=3\n"},
  };
  for (const Step& s : steps) {
    auto r = Cli(s.args);
    EXPECT_EQ(r.status, s.status) << s.args[1] << " " << r.err;
    EXPECT_EQ(r.out, s.out) << s.args[1];
  }
  EXPECT_TRUE(Exists("/sdcard/Movies/orbaDemoVideo_ORBA.mp4"));
  EXPECT_FALSE(Exists("/sdcard/junk"));
  EXPECT_FALSE(Exists("/sdcard/Movies/orbaDemoVideo_EU.mp4"));
}

TEST_F(FactoryDataCliTest, CleanRefusesWithoutAList) {
  Storage("photo.jpg", "p");
  auto r = Cli({"tfdata", "clean", "--yes"});
  EXPECT_EQ(r.status, 1);
  EXPECT_TRUE(Exists("/sdcard/photo.jpg"));
  EXPECT_EQ(Cli({"tfdata", "type"}).out, "type=0 format=none path=\"\"\n");
}

TEST_F(FactoryDataCliTest, CopyAndToolCommands) {
  WriteDeviceFile("/data/staged/a.bin", std::string(5000, 'a'));
  auto placed = Cli({"copy", "place", "/data/staged/a.bin", "/sdcard/x/y/a.bin", "--move"});
  EXPECT_EQ(placed.status, 0) << placed.err;
  EXPECT_EQ(placed.out, "source=/data/staged/a.bin path=/sdcard/x/y/a.bin size=5000\n");
  struct stat st;
  ASSERT_EQ(stat(HostPath("/sdcard/x/y/a.bin").c_str(), &st), 0);
  EXPECT_EQ(st.st_uid, 1023u);
  EXPECT_EQ(st.st_mode & 07777, 0775u);
  EXPECT_EQ(st.st_size, 5000);
  EXPECT_FALSE(Exists("/data/staged/a.bin"));
  EXPECT_EQ(Cli({"copy", "check", "/sdcard/x/y/a.bin"}).status, 0);
  WriteDeviceFile("/data/bad.zip", "nope");
  auto bad = Cli({"copy", "check", "/sdcard/x/y/a.bin", "/data/bad.zip"});
  EXPECT_EQ(bad.status, 1);
  EXPECT_EQ(bad.out, "path=/sdcard/x/y/a.bin ok=true\npath=/data/bad.zip ok=false\n");
  EXPECT_EQ(bad.err, "orbafactory: copy check: 1 of 2 files are not ZIP archives\n");
  EXPECT_EQ(Cli({"copy", "place", "/data/bad.zip", "/sdcard/b.zip", "--keep"}).status, 2);

  WriteDeviceFile("/cache/recovery/last_tool_test_app.ini",
                  "[tool_test_app]\nloop_total = 2\ncmd_total = 2\n[loop0]\ncommand0 = AT+A\n"
                  "delay_time0 = 250\ncommand1 = AT+B\nresponse1 = OK\\\\DONE\n");
  auto a = Cli({"toolcmd", "AT+A"});
  EXPECT_EQ(a.status, 0) << a.err;
  EXPECT_EQ(a.out, "command=AT+A delay_time=250 response=\"\"\n");
  auto b = Cli({"toolcmd", "AT+B"});
  // The response's own line ends, escaped in the quoted value.
  EXPECT_EQ(b.out, "command=AT+B delay_time=0 response=\"OK\\r\\nDONE\\r\\n\"\n");
  EXPECT_EQ(Cli({"toolcmd", "AT+NONE"}).status, 1);
}

}  // namespace
