#include "factorydata_fixture.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <functional>

#include "atcmd_service.h"
#include "support/subprocess.h"

namespace orba::test {

void FactoryDataTest::SetUp() {
  DeviceRootTest::SetUp();
  ProgramResult r = RunProgram({BinPath("orbafactory-sim"), "init", "--root", root()});
  ASSERT_EQ(r.status, 0) << r.err;
}

void FactoryDataTest::TearDown() {
  if (server_ != nullptr) server_->Stop();
  server_.reset();
  DeviceRootTest::TearDown();
}

void FactoryDataTest::StartService() {
  int error = 0;
  server_ = orba::sim::StartAtcmdService(&error);
  ASSERT_NE(server_, nullptr) << "error " << error;
}

void FactoryDataTest::WriteStorage(const std::string& relative, const std::string& content) const {
  WriteDeviceFile("/data/media/0/" + relative, content);
}

std::vector<std::string> FactoryDataTest::StorageTree() const {
  std::vector<std::string> out;
  std::function<void(const std::string&)> walk = [&](const std::string& rel) {
    DIR* d = opendir(StoragePath(rel).c_str());
    if (d == nullptr) return;
    while (dirent* e = readdir(d)) {
      std::string name = e->d_name;
      if (name == "." || name == "..") continue;
      std::string child = rel + name;
      struct stat st;
      lstat(StoragePath(child).c_str(), &st);
      if (S_ISDIR(st.st_mode)) {
        out.push_back(child + "/");
        walk(child + "/");
      } else {
        out.push_back(child);
      }
    }
    closedir(d);
  };
  walk("");
  std::sort(out.begin(), out.end());
  return out;
}

std::vector<std::string> Paths(const tf_data_list* list) {
  std::vector<std::string> out;
  for (; list != nullptr; list = list->next) out.push_back(list->path);
  return out;
}

int RunUnprivileged(const std::string& root, int (*body)()) {
  pid_t pid = StartChild([&] {
    // The device becomes the unprivileged user's own (a root serves the user who made it),
    // while what lies inside stays root's; the storage is reachable as the device's media
    // permissions make it.
    if (chown(root.c_str(), 65534, 65534) != 0 ||
        chown((root + "/dev/__properties__").c_str(), 65534, 65534) != 0) {
      return 102;
    }
    for (const char* dir : {"/data", "/data/media", "/data/media/0", "/dev"}) {
      chmod((root + dir).c_str(), 0755);
    }
    if (setgid(65534) != 0 || setuid(65534) != 0) return 100;
    // The simulated services serve only their own user (and root), so an unprivileged caller
    // gets an AT-command service of its own user, as the device's would be for it.
    int error = 0;
    std::unique_ptr<hal::HalServer> service = orba::sim::StartAtcmdService(&error);
    if (service == nullptr) return 101;
    return body();
  });
  return WaitChild(pid);
}

}  // namespace orba::test
