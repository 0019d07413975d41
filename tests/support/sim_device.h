#ifndef ORBA_TESTS_SUPPORT_SIM_DEVICE_H
#define ORBA_TESTS_SUPPORT_SIM_DEVICE_H

#include <string>
#include <vector>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace orba::test {

// A running simulated device for each test: the fresh root of DeviceRootTest laid out by
// `orbafactory-sim init` (default profile), its services started, and stopped afterwards.
class SimDeviceTest : public DeviceRootTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // `orbafactory --root ROOT ARGS...`
  ProgramResult Cli(std::vector<std::string> args) const;
  // `orbafactory-sim ARGS... --root ROOT`
  ProgramResult Sim(std::vector<std::string> args) const;
};

}  // namespace orba::test

#endif
