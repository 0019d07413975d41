// The library's own file work, and the vendor-library doubles' call logs, against links planted
// inside a device root: every name they read, create, write, chmod or remove leads to a host
// file or directory outside the root. Whatever the library does, the host stays as it was; a
// link is followed as the device would follow it, inside the root.

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include <orbafactory/config.h>
#include <orbafactory/devices.h>
#include <orbafactory/factorydata.h>
#include <orbafactory/persist.h>
#include <platform/devpath.h>

#include "sim/doubles/double_knobs.h"
#include "minzip/zip_builder.h"
#include "support/device_root.h"

namespace orba::test {
namespace {

class LibraryLinkTest : public DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    outside_ = root() + "-outside";
    ASSERT_EQ(mkdir(outside_.c_str(), 0755), 0);
    victim_ = outside_ + "/victim";
    { std::ofstream(victim_) << "host"; }
    ASSERT_EQ(chmod(victim_.c_str(), 0644), 0);
    WriteDeviceFile("/data/src", "device data");
  }
  void TearDown() override {
    ASSERT_EQ(system(("rm -rf '" + outside_ + "'").c_str()), 0);
    DeviceRootTest::TearDown();
  }

  void Plant(const std::string& device_path, const std::string& target) {
    std::string dir = device_path.substr(0, device_path.rfind('/'));
    ASSERT_EQ(system(("mkdir -p '" + HostPath(dir) + "' && rm -rf '" + HostPath(device_path) +
                      "'").c_str()),
              0);
    ASSERT_EQ(symlink(target.c_str(), HostPath(device_path).c_str()), 0) << device_path;
  }

  bool IsLink(const std::string& device_path) const {
    struct stat st;
    return lstat(HostPath(device_path).c_str(), &st) == 0 && S_ISLNK(st.st_mode);
  }

  void ExpectHostUntouched(const std::string& what) {
    SCOPED_TRACE(what);
    std::ifstream in(victim_);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "host");
    struct stat st;
    ASSERT_EQ(lstat(victim_.c_str(), &st), 0);
    EXPECT_TRUE(S_ISREG(st.st_mode));
    EXPECT_EQ(st.st_mode & 07777, 0644u);
    EXPECT_EQ(st.st_uid, getuid());
    std::set<std::string> names;
    DIR* d = opendir(outside_.c_str());
    ASSERT_NE(d, nullptr);
    while (dirent* e = readdir(d)) names.insert(e->d_name);
    closedir(d);
    EXPECT_EQ(names, (std::set<std::string>{".", "..", "victim"}));
  }

  std::string outside_;
  std::string victim_;
};

TEST_F(LibraryLinkTest, LibraryAndDoublesStayOnTheDevice) {
  struct Case {
    const char* what;
    std::vector<std::pair<std::string, std::string>> links;  // device path -> host target
    std::function<void()> act;
  };
  const std::string v = victim_;
  const std::string o = outside_;
  const std::vector<Case> cases = {
      {"factory record through the by-name links",
       {{"/dev/block/bootdevice/by-name/backup", v},
        {"/dev/block/platform/bootdevice/by-name/backup", v},
        {"/dev/block/by-name/backup", v}},
       [] { EXPECT_NE(set_sn_to_backup("OWNED0000000"), 0); }},
      {"one-time-programmable area", {{"/dev/block/sdd", v}},
       [] { EXPECT_NE(write_value_to_otp(0, "ow", 2, 16), 0); }},
      {"policy write through a file link", {{"/data/p1", v}},
       [] { write_policy_file(0, "/data/p1", O_WRONLY | O_CREAT | O_TRUNC, "owned"); }},
      {"policy write through a directory link", {{"/data/pdir", o}},
       [] { write_policy_file(0, "/data/pdir/new", O_WRONLY | O_CREAT, "owned"); }},
      {"policy read through a link", {{"/data/rd", v}},
       [] {
         char buf[16] = {};
         read_policy_file(0, "/data/rd", buf, sizeof(buf));
         EXPECT_STRNE(buf, "host");
       }},
      {"copy and chmod onto a link", {{"/data/c1", v}},
       [] { copy_file("/data/src", "/data/c1"); }},
      {"copy into a linked directory", {{"/data/cdir", o}},
       [] { copy_file_tranverse("/data/src", "/data/cdir/sub/victim", 0); }},
      {"factory logs removed", {{"/data/vendor/engineermode/last_factory_adb.log", v},
                                {"/data/vendor/engineermode/last_factory_kernel.log", v}},
       [] { EXPECT_EQ(clear_factory_log("/data/vendor/engineermode"), 0); }},
      {"storage cleaned with a directory link inside", {{"/sdcard/DCIM", o}, {"/sdcard/f", v}},
       [] { delete_all_file_except_tfdata("/sdcard", nullptr); }},
      {"laser double's call log", {{"/data/sim/laser_calls", v}},
       [] { sim::AppendCall("/data/sim/laser_calls", "owned"); }},
      {"UWB double's call log under a linked directory", {{"/data/sim", o}},
       [] { sim::AppendCall("/data/sim/uwb_calls", "owned"); }},
  };
  for (const Case& c : cases) {
    for (const auto& [link, target] : c.links) Plant(link, target);
    c.act();
    ExpectHostUntouched(c.what);
  }
  // Removing a link removes the link, as on the device; a host path named by a link is that
  // path on the device, where it does not exist.
  EXPECT_FALSE(IsLink("/data/vendor/engineermode/last_factory_adb.log"));
  EXPECT_FALSE(IsLink("/sdcard/DCIM"));
  EXPECT_NE(access(HostPath(outside_).c_str(), F_OK), 0);
}

TEST_F(LibraryLinkTest, ZipExtractionStaysOnTheDevice) {
  BuiltZip zip = BuildZip({Member("member", "owned")});
  WriteDeviceFile("/data/pack.zip", zip.bytes);
  Plant("/data/out", victim_);
  upzip_file("/data/pack.zip", "member", "/data/out");
  ExpectHostUntouched("member onto a link");
  Plant("/data/zdir", outside_);
  upzip_file("/data/pack.zip", "member", "/data/zdir/member");
  ExpectHostUntouched("member into a linked directory");
  // The same link to a directory of the device is followed there.
  WriteDeviceFile("/data/inside/.keep", "");
  Plant("/data/zin", "/data/inside");
  EXPECT_EQ(upzip_file("/data/pack.zip", "member", "/data/zin/member"), 0);
  EXPECT_EQ(ReadDeviceFile("/data/inside/member"), "owned");
}

// Links resolve as the device resolves them: targets are device paths, ".." stops at the
// device's "/", a create through a dangling link makes its target, and the calls that act on a
// name act on the link itself.
TEST_F(LibraryLinkTest, DevPathFollowsLinksAsTheDeviceDoes) {
  WriteDeviceFile("/data/real/file", "real");
  ASSERT_EQ(symlink("/data/real", HostPath("/data/abs").c_str()), 0);
  ASSERT_EQ(symlink("../../../../../../data/real", HostPath("/data/rel").c_str()), 0);
  ASSERT_EQ(symlink("/data/made", HostPath("/data/dangling").c_str()), 0);
  ASSERT_EQ(symlink("/data/real/file", HostPath("/data/leaf").c_str()), 0);

  struct Read {
    const char* path;
    const char* content;
  } reads[] = {{"/data/abs/file", "real"},
               {"/data/rel/file", "real"},
               {"/data/leaf", "real"},
               {"/../../data/real/file", "real"}};
  for (const Read& r : reads) {
    SCOPED_TRACE(r.path);
    int fd = open(DevPath(r.path), O_RDONLY | O_CLOEXEC);
    ASSERT_GE(fd, 0);
    char buf[8] = {};
    EXPECT_EQ(read(fd, buf, sizeof(buf)), 4);
    EXPECT_STREQ(buf, "real");
    close(fd);
  }

  int fd = open(DevPath("/data/dangling"), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  ASSERT_GE(fd, 0);
  close(fd);
  EXPECT_EQ(access(HostPath("/data/made").c_str(), F_OK), 0);

  struct stat st;
  ASSERT_EQ(lstat(DevPathNoFollow("/data/leaf"), &st), 0);
  EXPECT_TRUE(S_ISLNK(st.st_mode));
  ASSERT_EQ(stat(DevPath("/data/leaf"), &st), 0);
  EXPECT_TRUE(S_ISREG(st.st_mode));
  EXPECT_EQ(remove(DevPathNoFollow("/data/leaf")), 0);
  EXPECT_FALSE(IsLink("/data/leaf"));
  EXPECT_EQ(ReadDeviceFile("/data/real/file"), "real");
  ASSERT_EQ(rename(DevPathNoFollow("/data/real/file"), DevPathNoFollow("/data/moved")), 0);
  EXPECT_EQ(ReadDeviceFile("/data/moved"), "real");

  // A path that resolves nowhere gives the call nothing to reach.
  EXPECT_LT(open(DevPath("/data/missing/dir/file"), O_WRONLY | O_CREAT | O_CLOEXEC, 0644), 0);
  EXPECT_EQ(errno, ENOENT);
  EXPECT_EQ(access(HostPath("/data/missing").c_str(), F_OK), -1);
}

}  // namespace
}  // namespace orba::test
