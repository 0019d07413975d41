#ifndef ORBA_TESTS_SYSACCESS_ATCMD_FIXTURE_H
#define ORBA_TESTS_SYSACCESS_ATCMD_FIXTURE_H

#include <sys/types.h>

#include <memory>
#include <string>

#include <platform/host/hal_server.h>

#include "support/device_root.h"

namespace orba::test {

// A fresh device with its property area; the AT-command service is absent until started.
class SysDeviceTest : public DeviceRootTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // The service on a thread of this process (same code as the daemon).
  void StartInProcessService();
  void StopInProcessService();
  // The daemon as its own process; waits until it accepts connections.
  pid_t StartServiceProcess();
  // SIGTERM, and the daemon's exit status (-1 if it did not exit normally).
  int StopServiceProcess(pid_t pid);

  // An executable shell script at a device path.
  void WriteScript(const std::string& device_path, const std::string& body) const;
  // Puts the device's /system/bin and /vendor/bin first on this process's PATH.
  void UseDevicePath();

 private:
  std::unique_ptr<hal::HalServer> server_;
  std::string saved_path_;
};

// Milliseconds on the monotonic clock.
long long NowMs();

}  // namespace orba::test

#endif
