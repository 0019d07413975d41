// The camera steps' long limits, waited out for real.

#include <gtest/gtest.h>

#include <unistd.h>

#include <memory>

#include <orbafactory/camera.h>

#include "camera_fixture.h"

namespace orba::test {
namespace {

class CameraSlowTest : public CameraNodeTest {};

int CountLogged(const LogCapture& log, const std::string& text) {
  int seen = 0;
  for (const LogLine& l : log.Lines()) seen += l.text == text ? 1 : 0;
  return seen;
}

// Readings at 0, 3, 6 and 9 s; the fifth would come at 12 s, past the 11 s limit.
TEST_F(CameraSlowTest, SamplingThreadsStopAtElevenSeconds) {
  SetFeatures("fully_auto_pop");
  WriteDeviceFile("/sys/class/orba_hall/up_hall/data", "901\n");
  WriteDeviceFile("/sys/class/orba_hall/down_hall/data", "118\n");
  auto up = std::make_unique<HallSampleRecord>();
  auto down = std::make_unique<HallSampleRecord>();
  ASSERT_EQ(ready_to_sample_camera_pop_hall(3000, 5, up.get(), 0, down.get()), 1);
  ASSERT_EQ(create_hall_sample_thread(3000, 5, up.get(), 0, down.get()), 1);
  for (int waited = 0; waited < 15000 && CountLogged(log_, "end!!") < 2; waited += 50) {
    usleep(50000);
  }
  ASSERT_EQ(CountLogged(log_, "end!!"), 2) << log_.Dump();
  EXPECT_EQ(CountLogged(log_, "sample data timeOut, return!!"), 2);
  EXPECT_STREQ(up->samples[3], "901");
  EXPECT_STREQ(up->samples[4], "0");
  EXPECT_STREQ(down->samples[3], "118");
  EXPECT_STREQ(down->samples[4], "0");
}

}  // namespace
}  // namespace orba::test
