#include "atcmd_fixture.h"

#include <signal.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <platform/hal.h>
#include <platform/host/device_init.h>

#include "atcmd_service.h"
#include "support/subprocess.h"

namespace orba::test {

long long NowMs() {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<long long>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

void SysDeviceTest::SetUp() {
  DeviceRootTest::SetUp();
  ASSERT_EQ(orba_init_property_area(), 0);
  const char* path = getenv("PATH");
  saved_path_ = path != nullptr ? path : "/usr/bin:/bin";
}

void SysDeviceTest::TearDown() {
  StopInProcessService();
  setenv("PATH", saved_path_.c_str(), 1);
  DeviceRootTest::TearDown();
}

void SysDeviceTest::StartInProcessService() {
  int error = 0;
  server_ = orba::sim::StartAtcmdService(&error);
  ASSERT_NE(server_, nullptr) << "error " << error;
}

void SysDeviceTest::StopInProcessService() {
  if (server_ != nullptr) server_->Stop();
  server_.reset();
}

pid_t SysDeviceTest::StartServiceProcess() {
  std::string program = BinPath("orbaatcmd-hal-1-0");
  std::string root = this->root();
  pid_t pid = StartChild([&] {
    setenv("ORBA_DEVICE_ROOT", root.c_str(), 1);
    execl(program.c_str(), "orbaatcmd-hal-1-0", static_cast<char*>(nullptr));
    return 127;
  });
  for (int i = 0; i < 500 && !hal::IOrbaAtcmd::isRegistered("default"); ++i) usleep(10000);
  EXPECT_TRUE(hal::IOrbaAtcmd::isRegistered("default"));
  return pid;
}

int SysDeviceTest::StopServiceProcess(pid_t pid) {
  kill(pid, SIGTERM);
  return WaitChild(pid);
}

void SysDeviceTest::WriteScript(const std::string& device_path, const std::string& body) const {
  WriteDeviceFile(device_path, "#!/bin/sh\n" + body);
  chmod(HostPath(device_path).c_str(), 0755);
}

void SysDeviceTest::UseDevicePath() {
  std::string path = HostPath("/system/bin") + ":" + HostPath("/vendor/bin") + ":" + saved_path_;
  setenv("PATH", path.c_str(), 1);
}

}  // namespace orba::test
