#ifndef ORBA_TESTS_ENGINEER_EM_FIXTURE_H
#define ORBA_TESTS_ENGINEER_EM_FIXTURE_H

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include <platform/host/hal_server.h>

#include "em_service.h"
#include "support/device_root.h"

namespace orba::test {

constexpr const char kStandardClass[] = "com.xole.engineermode.socketcommand.SocketReceiverService";
constexpr const char kStandardComponent[] =
    "com.xole.engineermode/.socketcommand.SocketReceiverService";
constexpr const char kUserClass[] = "com.xole.user.engineermode.socketcommand.SocketReceiverService";
constexpr const char kUserComponent[] =
    "com.xole.user.engineermode/.socketcommand.SocketReceiverService";
constexpr const char kAftersaleComponent[] =
    "com.xole.aftersale.engineermode/.socketcommand.SocketReceiverService";
constexpr const char kFingerprintClass[] =
    "com.orba.fingerprintengineer.engineer.EngineerATCommandService";
constexpr const char kFingerprintComponent[] =
    "com.orba.fingerprintengineer/.engineer.EngineerATCommandService";
constexpr const char kStockCameraComponent[] = "com.android.camera/.service.CameraSocketService";
constexpr const char kEngineerCameraComponent[] =
    "com.orba.engineercamera/.service.CameraSocketService";

// A fresh device whose engineer-mode service runs on threads of the test process (started on
// demand, so a test can also leave it absent), with the AT-command service beside it.
class EmTest : public DeviceRootTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  void StartEm();
  void StopEm();
  void StartAtcmd();
  // The standard edition's app is installed, so the message senders talk to the service.
  void InstallEngineerMode();
  void SetProp(const char* name, const std::string& value);
  std::string GetProp(const char* name);

  // /data/sim/em_calls, one entry a line.
  std::vector<std::string> Calls() const;
  // Calls whose line starts with `prefix`.
  int CountCalls(const std::string& prefix) const;

 private:
  std::unique_ptr<sim::EmService> em_;
  std::unique_ptr<hal::HalServer> atcmd_;
};

}  // namespace orba::test

#endif
