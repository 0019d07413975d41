// orbafactory-sim list and profiles, run as a user would: real devices, real services.

#include <dirent.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace {

using orba::test::BinPath;
using orba::test::ProgramResult;
using orba::test::RunProgram;

struct Row {
  std::string profile;
  std::string state;
  std::string services;
};

// Devices made in subdirectories of the test's root, listed through a registry of the test's own
// (XDG_STATE_HOME), so the user's own devices stay out of it.
class DeviceListTest : public orba::test::DeviceRootTest {
 protected:
  void TearDown() override {
    for (const std::string& root : started_) Sim({"stop", "--root", root});
    DeviceRootTest::TearDown();
  }

  std::string StateHome() const { return root() + "/state"; }
  std::string Registry() const { return StateHome() + "/orbafactory-sim/devices"; }

  ProgramResult Sim(std::vector<std::string> args) const {
    args.insert(args.begin(), {"/usr/bin/env", "XDG_STATE_HOME=" + StateHome(),
                               BinPath("orbafactory-sim")});
    return RunProgram(args);
  }

  std::string MakeDevice(const std::string& name, const std::string& profile) {
    std::string device = root() + "/" + name;
    auto r = Sim({"init", "--root", device, "--profile", profile});
    EXPECT_EQ(r.status, 0) << r.err;
    return device;
  }

  void StartDevice(const std::string& device) {
    started_.push_back(device);
    auto r = Sim({"start", "--root", device});
    ASSERT_EQ(r.status, 0) << r.err;
  }

  // `list`, by root. Other devices of this user may be running (other tests): they are listed
  // too, and left out of the checks.
  std::map<std::string, Row> List() const {
    auto r = Sim({"list"});
    EXPECT_EQ(r.status, 0) << r.err;
    std::istringstream in(r.out);
    std::string header;
    std::getline(in, header);
    EXPECT_EQ(header.rfind("ROOT", 0), 0u) << r.out;
    std::map<std::string, Row> rows;
    std::string line;
    while (std::getline(in, line)) {
      std::istringstream fields(line);
      std::string root;
      Row row;
      EXPECT_TRUE(fields >> root >> row.profile >> row.state >> row.services) << line;
      rows[root] = row;
    }
    return rows;
  }

  // The roots the registry holds (running devices of other tests included).
  std::multiset<std::string> RegisteredRoots() const {
    std::multiset<std::string> roots;
    DIR* dir = opendir(Registry().c_str());
    if (dir == nullptr) return roots;
    while (dirent* e = readdir(dir)) {
      if (e->d_name[0] == '.') continue;
      std::ifstream in(Registry() + "/" + e->d_name);
      std::string root;
      std::getline(in, root);
      roots.insert(root);
    }
    closedir(dir);
    return roots;
  }

 private:
  std::vector<std::string> started_;
};

TEST_F(DeviceListTest, ShowsAStartedAndAStoppedDevice) {
  std::string running = MakeDevice("running", "default");
  std::string stopped = MakeDevice("stopped", "rotary");
  StartDevice(running);

  std::map<std::string, Row> rows = List();
  ASSERT_EQ(rows.count(running), 1u);
  EXPECT_EQ(rows[running].profile, "default");
  EXPECT_EQ(rows[running].state, "running");
  EXPECT_EQ(rows[running].services, "orbaatcmd-hal-1-0,orbaem-hal-1-0,orba-hw-models,atcid_user");
  ASSERT_EQ(rows.count(stopped), 1u);
  EXPECT_EQ(rows[stopped].profile, "rotary");
  EXPECT_EQ(rows[stopped].state, "stopped");
  EXPECT_EQ(rows[stopped].services, "-");

  // One service stopped by hand: the device is neither up nor down.
  auto stop = Sim({"stop", "orbaem-hal-1-0", "--root", running});
  ASSERT_EQ(stop.status, 0) << stop.err;
  rows = List();
  EXPECT_EQ(rows[running].state, "partial");
  EXPECT_EQ(rows[running].services, "orbaatcmd-hal-1-0,orba-hw-models,atcid_user");
}

TEST_F(DeviceListTest, ForgetsARemovedRoot) {
  std::string gone = MakeDevice("gone", "default");
  std::string kept = MakeDevice("kept", "ufs");
  ASSERT_EQ(RegisteredRoots(), (std::multiset<std::string>{gone, kept}));
  ASSERT_EQ(system(("rm -rf '" + gone + "'").c_str()), 0);

  std::map<std::string, Row> rows = List();
  EXPECT_EQ(rows.count(gone), 0u);
  EXPECT_EQ(rows[kept].profile, "ufs");
  EXPECT_EQ(RegisteredRoots().count(gone), 0u);  // the removed root's entry went with it
  EXPECT_EQ(RegisteredRoots().count(kept), 1u);
}

TEST_F(DeviceListTest, FindsARunningDeviceTheRegistryLost) {
  std::string device = MakeDevice("lost", "default");
  StartDevice(device);
  ASSERT_EQ(system(("rm -rf '" + StateHome() + "'").c_str()), 0);

  std::map<std::string, Row> rows = List();
  ASSERT_EQ(rows.count(device), 1u);
  EXPECT_EQ(rows[device].state, "running");
  EXPECT_EQ(RegisteredRoots().count(device), 1u);  // recorded again: listed once stopped too
  auto stop = Sim({"stop", "--root", device});
  ASSERT_EQ(stop.status, 0) << stop.err;
  rows = List();
  ASSERT_EQ(rows.count(device), 1u);
  EXPECT_EQ(rows[device].state, "stopped");
}

std::set<std::string> ProfileFiles() {
  std::set<std::string> names;
  DIR* dir = opendir(ORBA_SOURCE_DIR "/sim/profiles");
  if (dir == nullptr) return names;
  while (dirent* e = readdir(dir)) {
    std::string f = e->d_name;
    const std::string ext = ".profile";
    if (f.size() > ext.size() && f.compare(f.size() - ext.size(), ext.size(), ext) == 0) {
      names.insert(f.substr(0, f.size() - ext.size()));
    }
  }
  closedir(dir);
  return names;
}

TEST(ProfilesTest, ListsEveryProfileFile) {
  std::set<std::string> files = ProfileFiles();
  ASSERT_FALSE(files.empty());
  auto r = RunProgram({BinPath("orbafactory-sim"), "profiles"});
  ASSERT_EQ(r.status, 0) << r.err;
  std::set<std::string> listed;
  std::istringstream in(r.out);
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    std::string name, summary;
    fields >> name;
    std::getline(fields, summary);
    EXPECT_NE(summary.find_first_not_of(' '), std::string::npos) << "no summary: " << line;
    listed.insert(name);
  }
  EXPECT_EQ(listed, files);
}

TEST_F(DeviceListTest, AnUnknownProfileNamesTheKnownOnes) {
  std::string device = root() + "/never";
  const std::vector<std::vector<std::string>> commands = {
      {BinPath("orbafactory-sim"), "init", "--root", device, "--profile", "nosuch"},
      {ORBA_SOURCE_DIR "/scripts/run", "--profile", "nosuch"},
  };
  for (const auto& command : commands) {
    auto r = RunProgram(command);
    EXPECT_EQ(r.status, 2) << command[0] << "\n" << r.err;
    EXPECT_NE(r.err.find("no profile named 'nosuch'"), std::string::npos) << r.err;
    for (const std::string& name : ProfileFiles()) {
      EXPECT_NE(r.err.find(name), std::string::npos) << command[0] << " does not name " << name;
    }
  }
  EXPECT_NE(access(device.c_str(), F_OK), 0);  // nothing was laid out
}

}  // namespace
