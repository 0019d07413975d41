// Background hall sampling: threads that run out, are stopped, or time out.

#include <gtest/gtest.h>

#include <string.h>
#include <unistd.h>

#include <functional>
#include <memory>
#include <string>

#include <orbafactory/camera.h>

#include "camera_fixture.h"
#include "support/thread_start_gate.h"

namespace orba::test {
namespace {

class HallSamplingTest : public CameraNodeTest {
 protected:
  void SetUp() override {
    CameraNodeTest::SetUp();
    SetFeatures("fully_auto_pop");
    WriteDeviceFile("/sys/class/orba_hall/up_hall/data", "901\n");
    WriteDeviceFile("/sys/class/orba_hall/down_hall/data", "118\n");
    up_ = std::make_unique<HallSampleRecord>();
    down_ = std::make_unique<HallSampleRecord>();
  }

  // Waits until both threads have logged `text` (the log is their only sign of having ended).
  bool WaitBothLogged(const std::string& text, int limit_ms) {
    for (int waited = 0; waited < limit_ms; waited += 10) {
      int seen = 0;
      for (const LogLine& l : log_.Lines()) seen += l.text == text ? 1 : 0;
      if (seen >= 2) return true;
      usleep(10000);
    }
    return false;
  }

  bool WaitFor(const std::function<bool()>& event, int limit_ms) {
    for (int waited = 0; waited < limit_ms; waited += 5) {
      if (event()) return true;
      usleep(5000);
    }
    return event();
  }

  std::unique_ptr<HallSampleRecord> up_, down_;
};

TEST_F(HallSamplingTest, RunsOutAndBuildsTheResponse) {
  ASSERT_EQ(ready_to_sample_camera_pop_hall(5, 3, up_.get(), 0, down_.get()), 1);
  EXPECT_EQ(Node("/sys/class/orba_hall/up_hall/enable"), "1");
  EXPECT_EQ(Node("/sys/class/orba_hall/down_hall/enable"), "1");
  EXPECT_STREQ(up_->path, "/sys/class/orba_hall/up_hall/data");
  EXPECT_STREQ(down_->path, "/sys/class/orba_hall/down_hall/data");
  ASSERT_EQ(create_hall_sample_thread(5, 3, up_.get(), 0, down_.get()), 1);
  ASSERT_TRUE(WaitBothLogged("end!!", 5000)) << log_.Dump();
  char out[2 * 64 * 3 + 40] = {};
  int n = combine_hall_sample_resp(out, 3, up_.get(), 0, down_.get());
  const char expected[] = "+hall_up_array:\"901,901,901\"\r\n+hall_down_array:\"118,118,118\"";
  EXPECT_STREQ(out, expected);
  EXPECT_EQ(n, static_cast<int>(strlen(expected)));
}

TEST_F(HallSamplingTest, StopFlagEndsTheThreadsEarly) {
  ASSERT_EQ(ready_to_sample_camera_pop_hall(20, 200, up_.get(), 0, down_.get()), 1);
  ASSERT_EQ(create_hall_sample_thread(20, 200, up_.get(), 0, down_.get()), 1);
  usleep(100000);
  __atomic_store_n(&up_->stop, 1, __ATOMIC_RELEASE);
  __atomic_store_n(&down_->stop, 1, __ATOMIC_RELEASE);
  ASSERT_TRUE(WaitBothLogged("thread off!!", 2000)) << log_.Dump();
  ASSERT_TRUE(WaitBothLogged("end!!", 2000));
  EXPECT_STREQ(up_->samples[0], "901");
  EXPECT_STREQ(up_->samples[199], "0");  // never reached
  EXPECT_STREQ(down_->samples[199], "0");
}

// A long-lived caller fills its records again for the next run while the last run's threads may
// still sample: the fill stops them and waits for their end, so no old thread writes into the
// new run.
TEST_F(HallSamplingTest, RefillingARecordInUseWaitsForItsThread) {
  ASSERT_EQ(ready_to_sample_camera_pop_hall(20, 200, up_.get(), 0, down_.get()), 1);
  ASSERT_EQ(create_hall_sample_thread(20, 200, up_.get(), 0, down_.get()), 1);
  auto count = [&](const std::string& text) {
    int seen = 0;
    for (const LogLine& l : log_.Lines()) seen += l.text.rfind(text, 0) == 0 ? 1 : 0;
    return seen;
  };
  ASSERT_TRUE(WaitFor([&] { return count("sample_interval=20, sample_num=200") == 2; }, 2000));
  WriteDeviceFile("/sys/class/orba_hall/up_hall/data", "555\n");
  ASSERT_EQ(ready_to_sample_camera_pop_hall(5, 3, up_.get(), 0, down_.get()), 1);
  EXPECT_EQ(count("thread off!!"), 2) << "the refill returned under a running thread";
  ASSERT_EQ(create_hall_sample_thread(5, 3, up_.get(), 0, down_.get()), 1);
  ASSERT_TRUE(WaitFor([&] { return count("end!!") == 4; }, 5000)) << log_.Dump();
  char out[2 * 64 * 3 + 40] = {};
  combine_hall_sample_resp(out, 3, up_.get(), 0, down_.get());
  EXPECT_STREQ(out, "+hall_up_array:\"555,555,555\"\r\n+hall_down_array:\"118,118,118\"");
  EXPECT_STREQ(up_->samples[3], "");  // beyond the new run: nothing wrote there
}

TEST_F(HallSamplingTest, UnreadableHallLeavesZeroSlots) {
  unlink(HostPath("/sys/class/orba_hall/down_hall/data").c_str());
  ASSERT_EQ(ready_to_sample_camera_pop_hall(1, 2, up_.get(), 0, down_.get()), 1);
  ASSERT_EQ(create_hall_sample_thread(1, 2, up_.get(), 0, down_.get()), 1);
  ASSERT_TRUE(WaitBothLogged("end!!", 5000)) << log_.Dump();
  char out[2 * 64 * 2 + 40] = {};
  combine_hall_sample_resp(out, 2, up_.get(), 0, down_.get());
  EXPECT_STREQ(out, "+hall_up_array:\"901,901\"\r\n+hall_down_array:\"0,0\"");
}

TEST_F(HallSamplingTest, OtherModulesDoNotSample) {
  SetFeatures("fully_auto_pop_rotate");
  EXPECT_EQ(ready_to_sample_camera_pop_hall(5, 3, up_.get(), 0, down_.get()), 1);
  EXPECT_EQ(Node("/sys/class/orba_hall/up_hall/enable"), "0");  // untouched
  EXPECT_EQ(create_hall_sample_thread(5, 3, up_.get(), 0, down_.get()), 0);
  EXPECT_TRUE(log_.Has(ANDROID_LOG_ERROR, "thread created error!!"));
  char out[64] = "stale";
  EXPECT_EQ(combine_hall_sample_resp(out, 3, up_.get(), 0, down_.get()), 2);
  EXPECT_STREQ(out, "");
}

TEST_F(HallSamplingTest, SecondThreadFailingLeavesNoSamplerBehind) {
  ASSERT_EQ(ready_to_sample_camera_pop_hall(1, 3, up_.get(), 0, down_.get()), 1);
  HallSampleRecord before_up = *up_;
  HallSampleRecord before_down = *down_;
  {
    ThreadStartGate gate;
    gate.RefuseStartsAfter(1);  // the first sampler starts, the second cannot
    EXPECT_EQ(create_hall_sample_thread(1, 3, up_.get(), 0, down_.get()), 0);
    EXPECT_TRUE(log_.Has(ANDROID_LOG_ERROR, "thread created error!!")) << log_.Dump();
    // Whatever the one thread that did start does, it has done it once it returns.
    ASSERT_EQ(gate.started(), 1);
    ASSERT_TRUE(gate.WaitFinished(1, 15000));
  }
  // A caller told "failed" may reuse its records at once: nothing was written into them.
  EXPECT_EQ(memcmp(up_.get(), &before_up, sizeof(before_up)), 0) << "up: " << up_->samples[0];
  EXPECT_EQ(memcmp(down_.get(), &before_down, sizeof(before_down)), 0);
  EXPECT_FALSE(log_.Has(ANDROID_LOG_DEBUG, " start!! ")) << "a sampler ran";
}

TEST_F(HallSamplingTest, HallEnableFailureIsReported) {
  unlink(HostPath("/sys/class/orba_hall/up_hall/enable").c_str());
  EXPECT_EQ(ready_to_sample_camera_pop_hall(5, 3, up_.get(), 0, down_.get()), 0);
}

}  // namespace
}  // namespace orba::test
