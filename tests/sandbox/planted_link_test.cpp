// Links planted inside a device root at every name a service reads, creates or writes, each
// leading to a host file outside it. The services run as root: whatever they do, the host file
// stays as it was and nothing new appears beside it.

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "atcmd_methods.h"
#include "atcmd_service.h"
#include "call_log.h"
#include "engineer_app.h"
#include "minzip/zip_builder.h"
#include "node_io.h"
#include <platform/host/device_init.h>

#include "support/device_root.h"

namespace orba::test {
namespace {

class PlantedLinkTest : public DeviceRootTest {
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

  // A link at a device path (its directories made) to a host path.
  void Plant(const std::string& device_path, const std::string& host_target) {
    std::string dir = device_path.substr(0, device_path.rfind('/'));
    ASSERT_EQ(system(("mkdir -p '" + HostPath(dir) + "' && rm -rf '" + HostPath(device_path) +
                      "'").c_str()),
              0);
    ASSERT_EQ(symlink(host_target.c_str(), HostPath(device_path).c_str()), 0) << device_path;
  }

  void ExpectHostUntouched(const std::string& what) {
    SCOPED_TRACE(what);
    std::ifstream in(victim_);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "host");
    struct stat st;
    ASSERT_EQ(lstat(victim_.c_str(), &st), 0);
    EXPECT_TRUE(S_ISREG(st.st_mode));
    EXPECT_EQ(st.st_mode & 07777, 0644u);
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

TEST_F(PlantedLinkTest, ServiceWritesStayOnTheDevice) {
  struct Case {
    const char* what;
    std::vector<std::pair<std::string, std::string>> links;  // device path -> host target
    std::function<void()> act;
  };
  const std::string v = victim_;
  const std::string o = outside_;
  const std::vector<Case> cases = {
      // First, while this device has no property area yet: every service maps it shared.
      {"property area", {{"/dev/__properties__", v}},
       [] { EXPECT_NE(orba_init_property_area(), 0); }},
      {"property area's directory", {{"/dev", o}}, [] { EXPECT_NE(orba_init_property_area(), 0); }},
      {"write through a file link", {{"/data/w1", v}},
       [] { sim::WriteSystemFile("/data/w1", O_WRONLY | O_CREAT | O_TRUNC, "owned"); }},
      {"write through a directory link", {{"/data/wdir", o}},
       [] { sim::WriteSystemFile("/data/wdir/new", O_WRONLY | O_CREAT, "owned"); }},
      {"fwrite truncating", {{"/data/f1", v}},
       [] { sim::FwriteSystemFile("/data/f1", "w", "owned"); }},
      {"fwrite bytes appending", {{"/data/f2", v}},
       [] { sim::FwriteDataFile("/data/f2", "a", "owned", 5); }},
      {"copy onto a link", {{"/data/c1", v}}, [] { sim::CopyFile("/data/src", "/data/c1"); }},
      {"copy into a linked directory", {{"/data/cdir", o}},
       [] { sim::CopyFile("/data/src", "/data/cdir/victim"); }},
      {"copy beside a planted temporary name", {{"/data/c2.orbacopy", v}},
       [] { EXPECT_EQ(sim::CopyFile("/data/src", "/data/c2"), 0); }},
      {"key data onto a link", {{sim::kKpDataPath, v}}, [] { sim::KpWriteFile("owned", 5); }},
      {"key data under a linked directory", {{"/data/vendor/orbakp", o}},
       [] { sim::KpWriteFile("owned", 5); }},
      {"chmod through a link", {{"/data/m1", v}}, [] { sim::ChmodSystemFile("/data/m1", 0777); }},
      {"remove a link", {{"/data/r1", v}},
       [] { EXPECT_EQ(sim::RemoveSystemFile("/data/r1"), 0); }},
      {"remove through a linked directory", {{"/data/rdir", o}},
       [] { EXPECT_EQ(sim::RemoveSystemFile("/data/rdir/victim"), -1); }},
      {"read through a link", {{"/data/rd", v}},
       [] {
         EXPECT_EQ(sim::ReadSystemFile("/data/rd"), "");
         EXPECT_EQ(sim::Md5SystemFile("/data/rd"), "");
         EXPECT_EQ(sim::SizeofSystemFile("/data/rd"), -1);
       }},
      {"hardware model replacing a node", {{"/sys/class/hall/up", v}},
       [] { EXPECT_TRUE(sim::hw::ReplaceNode("/sys/class/hall/up", "1")); }},
      {"hardware model beside its old temporary name", {{"/sys/class/hall/.down.new", v}},
       [] { EXPECT_TRUE(sim::hw::ReplaceNode("/sys/class/hall/down", "0")); }},
      {"hardware model's record", {{"/data/sim/motor_log", v}},
       [] { sim::hw::AppendRecord("/data/sim/motor_log", "owned"); }},
      {"hardware model reading a node", {{"/sys/class/hall/mid", v}},
       [] { EXPECT_EQ(sim::hw::ReadNode("/sys/class/hall/mid"), ""); }},
      {"engineer-mode call log", {{"/data/sim/em_calls", v}},
       [] { sim::RecordCall({"doAction", "owned"}); }},
      {"engineer app's calibration file", {{"/cache/recovery/last_test_cali_result.xml", v}},
       // The link leads nowhere on the device, so the app cannot store the state.
       [] { EXPECT_EQ(sim::EngineerAppAnswer("TQEGMCDK_clear item 1"), "error"); }},
  };
  for (const Case& c : cases) {
    for (const auto& [link, target] : c.links) Plant(link, target);
    c.act();
    ExpectHostUntouched(c.what);
  }
  // The copy and the node beside planted temporary names still did their job, on the device;
  // a node planted as a link is replaced, not written through.
  EXPECT_EQ(ReadDeviceFile("/data/c2"), "device data");
  EXPECT_EQ(ReadDeviceFile("/sys/class/hall/down"), "0");
  EXPECT_EQ(ReadDeviceFile("/sys/class/hall/up"), "1");
}

TEST_F(PlantedLinkTest, UnzipStaysInTheTarget) {
  Member exe("tool", "#!/bin/sh\n");
  exe.external_attributes = 0104755u << 16;  // set-uid in the archive: never on the device
  BuiltZip zip = BuildZip({Member("-d", "dash"), Member("../../escape", "x"),
                           Member("/abs", "x"), Member("lnk/victim", "owned"),
                           Member("ok/file", "fine"), exe});
  WriteDeviceFile("/sdcard/pack.zip", zip.bytes);
  Plant("/data/z/lnk", outside_);

  struct Case {
    const char* member;
    int status;
  } cases[] = {
      {"-d", 0},              // a name like any other, extracted as a file called "-d"
      {"-x", -1},             // matches nothing: nothing extracted
      {"--help", -1},
      {"../../escape", -1},   // refused
      {"/abs", -1},
      {"lnk/victim", -1},     // its directory is a planted link: not extracted at all
      {"ok", 0},
      {"tool", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.member);
    EXPECT_EQ(sim::UzipFile("/sdcard/pack.zip", "/data/z", c.member), c.status);
    ExpectHostUntouched(c.member);
  }
  EXPECT_EQ(ReadDeviceFile("/data/z/-d"), "dash");
  EXPECT_EQ(ReadDeviceFile("/data/z/ok/file"), "fine");
  struct stat st;
  ASSERT_EQ(stat(HostPath("/data/z/tool").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0755u);
  EXPECT_NE(access(HostPath("/escape").c_str(), F_OK), 0);
  EXPECT_NE(access((root() + "/../escape").c_str(), F_OK), 0);
  // The whole archive: the refused members fail the call, the rest are there.
  EXPECT_EQ(sim::UzipFile("/sdcard/pack.zip", "/data/all", ""), -1);
  EXPECT_EQ(ReadDeviceFile("/data/all/ok/file"), "fine");
  ExpectHostUntouched("whole archive");
  // A target directory that is itself a link to the host.
  Plant("/data/zl", outside_);
  sim::UzipFile("/sdcard/pack.zip", "/data/zl", "ok");
  ExpectHostUntouched("linked target");
}

}  // namespace
}  // namespace orba::test
