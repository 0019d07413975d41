// The fluency test against the rotary model, at full speed and with a worn gear.

#include <gtest/gtest.h>

#include <orbafactory/camera.h>

#include "camera_device.h"

namespace orba::test {
namespace {

class FluencyTest : public CameraDeviceTest, public ::testing::WithParamInterface<const char*> {};

// At full speed the turn to the end stop takes as long as its angle says; at 0.3 of it the
// module moves less than a degree between the settle timer's samples and counts as settled.
TEST_P(FluencyTest, PassesOnlyNearTheNominalSpeed) {
  StartDevice("rotary", {{"sim.rotary.speed_factor", GetParam()}});
  char msg[] = "negatively";
  EXPECT_EQ(camera_rotate_fluency_test(msg), std::string(GetParam()) == "1.0" ? 0 : 1)
      << log_.Dump();
}

INSTANTIATE_TEST_SUITE_P(SpeedFactors, FluencyTest, ::testing::Values("1.0", "0.3"));

}  // namespace
}  // namespace orba::test
