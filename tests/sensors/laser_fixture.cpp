#include "laser_fixture.h"

#include <time.h>

#include <sstream>

namespace orba::test {

void LaserTest::SetUp() {
  CaliTest::SetUp();
  WriteDeviceFile("/data/sim/laser_calls", "");
  WriteDeviceFile(kResultFile, FreshResultFile());
}

void LaserTest::TearDown() {
  // Nothing the library started may outlive the device root it works on.
  WaitForDeinits(CountLaserCalls("sensor_laser_8801_init") - failed_inits_);
  CaliTest::TearDown();
}

std::vector<std::string> LaserTest::LaserCalls() const {
  std::istringstream in(ReadDeviceFile("/data/sim/laser_calls"));
  std::vector<std::string> calls;
  for (std::string line; std::getline(in, line);) calls.push_back(line);
  return calls;
}

int LaserTest::CountLaserCalls(const std::string& name) const {
  int n = 0;
  for (const std::string& call : LaserCalls()) n += call == name;
  return n;
}

bool LaserTest::WaitUntil(const std::function<bool()>& done, int timeout_ms) {
  for (int waited = 0; waited < timeout_ms; waited += 10) {
    if (done()) return true;
    timespec ts{0, 10 * 1000 * 1000};
    nanosleep(&ts, nullptr);
  }
  return done();
}

void LaserTest::WaitForDeinits(int expected) {
  EXPECT_TRUE(WaitUntil([&] { return CountLaserCalls("sensor_laser_8801_deinit") >= expected; },
                        8000))
      << "vendor library still open: " << expected << " inits";
}

}  // namespace orba::test
