#ifndef ORBA_TESTS_SENSORS_LASER_FIXTURE_H
#define ORBA_TESTS_SENSORS_LASER_FIXTURE_H

#include <functional>
#include <string>
#include <vector>

#include "cali_fixture.h"

namespace orba::test {

// A device with the AT-command service, a blank backup partition, and the TMF8801 vendor
// library (the simulated device's double, which the library is linked against) steered by knobs.
class LaserTest : public CaliTest {
 protected:
  void SetUp() override;
  void TearDown() override;

  // /data/sim/laser_calls, one vendor-library call a line.
  std::vector<std::string> LaserCalls() const;
  int CountLaserCalls(const std::string& name) const;
  // Polls until `done` holds or `timeout_ms` passes; the result of the last check.
  static bool WaitUntil(const std::function<bool()>& done, int timeout_ms);
  // Waits for every close the test started to reach the vendor library.
  void WaitForDeinits(int expected);

  // Inits the double refused: they have nothing to close.
  int failed_inits_ = 0;
};

}  // namespace orba::test

#endif
