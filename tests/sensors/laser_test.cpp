// The laser sensor against the TMF8801 double: real callback threads, real semaphores and
// deadlines, calibration results recorded in the backup partition, registry and properties.

#include <pthread.h>
#include <string.h>
#include <time.h>

#include <thread>

#include <orbafactory/persist.h>
#include <orbafactory/sensors.h>

#include "laser_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

constexpr size_t kClockFlag = 980;
constexpr size_t kCrosstalkFlag = 984;

long NowMs() {
  timespec ts{};
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return ts.tv_sec * 1000 + ts.tv_nsec / 1000000;
}

// Parameterised cases carry a name, so a failure says which case it was.
template <typename Case>
std::string CaseName(const ::testing::TestParamInfo<Case>& info) {
  return info.param.name;
}

struct ReadCase {
  const char* name;
  const char* words;
  const char* what;
  int expected_ret;
  const char* expected_out;  // "untouched": the buffer keeps its marker
};

class LaserReadTest : public LaserTest, public ::testing::WithParamInterface<ReadCase> {};

TEST_P(LaserReadTest, StreamingReadReportsTheLastWord) {
  const ReadCase& c = GetParam();
  SetProp("sim.laser.words", c.words);
  SetProp("sim.laser.period_ms", "10");
  ASSERT_EQ(on_off_laser_TMF8801(true), 1);
  char out[32] = "untouched";
  // One reading sleeps 100 ms, long enough for several 10 ms callbacks.
  EXPECT_EQ(get_laser_data_TMF8801(out, c.what), c.expected_ret);
  EXPECT_STREQ(out, c.expected_out);
  EXPECT_EQ(on_off_laser_TMF8801(false), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Words, LaserReadTest,
    ::testing::Values(ReadCase{"Distance", "0x002A0150", "distance", 1, "336"},
                      ReadCase{"Confidence", "0x002A0150", "confidence", 1, "42"},
                      // bits above the confidence field are not part of it
                      ReadCase{"ConfidenceIgnoresHighBits", "0xFFC00064", "confidence", 1, "0"},
                      ReadCase{"DistanceUnderHighBits", "0xFFC00064", "distance", 1, "100"},
                      // the last word repeats: the reading is the final one of the list
                      ReadCase{"LastWordRepeats", "0x00010001,0x00020002,0x003F1000", "distance", 1, "4096"},
                      ReadCase{"UnknownWhat", "0x002A0150", "range", 1, "untouched"},
                      // a zero word is no measurement
                      ReadCase{"ZeroWordIgnored", "0", "distance", 0, "untouched"},
                      ReadCase{"NoCallbacks", "", "distance", 0, "untouched"}),
    CaseName<ReadCase>);

TEST_F(LaserTest, OpenFailureAndCloseReachTheVendorLibrary) {
  SetProp("sim.laser.init_ret", "-5");
  LogCapture log;
  EXPECT_EQ(on_off_laser_TMF8801(true), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "open sensor_laser_TMF8801 error!!")) << log.Dump();
  SetProp("sim.laser.init_ret", "0");
  EXPECT_EQ(on_off_laser_TMF8801(true), 1);  // the unopened object is replaced
  EXPECT_EQ(on_off_laser_TMF8801(false), 1);
  WaitForDeinits(2);
}

TEST_F(LaserTest, OneShotReadingGetsTheFirstMeasurement) {
  SetProp("sim.laser.words", "0x002A0150");
  SetProp("sim.laser.period_ms", "20");
  char distance[16] = {};
  char confidence[16] = {};
  EXPECT_EQ(get_laser_data_TMF8801_sync(distance, confidence), 1);
  EXPECT_STREQ(distance, "336");
  EXPECT_STREQ(confidence, "42");
  WaitForDeinits(1);  // the reader closes its own object
}

TEST_F(LaserTest, OneShotReadingWithoutMeasurementTimesOutAfterThreeSeconds) {
  LogCapture log;
  char distance[16] = "untouched";
  char confidence[16] = "untouched";
  long start = NowMs();
  EXPECT_EQ(get_laser_data_TMF8801_sync(distance, confidence), 0);
  long waited = NowMs() - start;
  EXPECT_GE(waited, 2900);
  EXPECT_STREQ(distance, "untouched");
  EXPECT_STREQ(confidence, "untouched");
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "sem_timedwait (errno=110)")) << log.Dump();
}

TEST_F(LaserTest, OneShotReadingWithRefusedInitEndsAtOnce) {
  SetProp("sim.laser.init_ret", "-22");
  failed_inits_ = 1;
  LogCapture log;
  char distance[16] = {};
  char confidence[16] = {};
  long start = NowMs();
  EXPECT_EQ(get_laser_data_TMF8801_sync(distance, confidence), 0);
  EXPECT_LT(NowMs() - start, 2900) << "the reader must release the caller without the deadline";
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "sensor_laser_8801_init fail")) << log.Dump();
  EXPECT_EQ(CountLaserCalls("sensor_laser_8801_deinit"), 0);
}

TEST_F(LaserTest, SecondOneShotWaitsForTheFirstReader) {
  // The first reading gets nothing and holds its reader for the full deadline.
  LogCapture log;
  std::thread a([] {
    char d[16] = {};
    char c[16] = {};
    get_laser_data_TMF8801_sync(d, c);
  });
  ASSERT_TRUE(WaitUntil([&] { return CountLaserCalls("sensor_laser_8801_init") == 1; }, 2000));
  // Knobs are read at init: the second reader's sensor delivers, the first one's does not.
  SetProp("sim.laser.words", "0x00050123");
  SetProp("sim.laser.period_ms", "5");
  char distance[16] = {};
  char confidence[16] = {};
  int second = get_laser_data_TMF8801_sync(distance, confidence);
  a.join();
  EXPECT_EQ(second, 1);
  EXPECT_STREQ(distance, "291");
  EXPECT_STREQ(confidence, "5");
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "wait for deinit...")) << log.Dump();
  // The second reader opened the sensor only after the first closed it.
  std::vector<std::string> calls = LaserCalls();
  ASSERT_GE(calls.size(), 3u);
  EXPECT_EQ(calls[0], "sensor_laser_8801_init");
  EXPECT_EQ(calls[1], "sensor_laser_8801_deinit");
  EXPECT_EQ(calls[2], "sensor_laser_8801_init");
}

TEST_F(LaserTest, ClockCalibrationRecordsItsResultThreeWays) {
  EXPECT_EQ(clock_cali_TMF8801("get_result"), -2) << "no enable before";
  ASSERT_EQ(clock_cali_TMF8801("enable"), 0);
  EXPECT_EQ(clock_cali_TMF8801("get_result"), 2);
  EXPECT_EQ(NvField(kClockFlag), 1);
  EXPECT_EQ(get_calibrate_item_state("laser_focus_clock_cali_TMF8801"), 1);
  EXPECT_EQ(GetProp("persist.sys.cali.TMF8801.clock"), "1");
  EXPECT_EQ(clock_cali_TMF8801("get_result"), -2) << "the object is gone after the result";
}

struct ClockFailure {
  const char* name;
  const char* knob;
  const char* value;
  int enable_ret;
  int result_ret;
};

class ClockFailureTest : public LaserTest, public ::testing::WithParamInterface<ClockFailure> {};

TEST_P(ClockFailureTest, NothingIsRecorded) {
  const ClockFailure& c = GetParam();
  SetProp(c.knob, c.value);
  EXPECT_EQ(clock_cali_TMF8801("enable"), c.enable_ret);
  EXPECT_EQ(clock_cali_TMF8801("get_result"), c.result_ret);
  EXPECT_EQ(NvField(kClockFlag), 0);
  EXPECT_EQ(GetProp("persist.sys.cali.TMF8801.clock"), "");
}

INSTANTIATE_TEST_SUITE_P(Laser, ClockFailureTest,
                         ::testing::Values(ClockFailure{"EnableRefused", "sim.laser.trim_enable_ret", "-3", -3, -2},
                                           ClockFailure{"TrimNotDone", "sim.laser.trim_result", "1", 0, 1},
                                           ClockFailure{"TrimError", "sim.laser.trim_result", "-7", 0, -7}),
    CaseName<ClockFailure>);

TEST_F(LaserTest, ClockCalibrationUnknownStepFreesTheObject) {
  ASSERT_EQ(clock_cali_TMF8801("enable"), 0);
  EXPECT_EQ(clock_cali_TMF8801("restart"), -1);
  EXPECT_EQ(clock_cali_TMF8801("get_result"), -2);
}

TEST_F(LaserTest, CrosstalkCalibrationStoresValuesAndFlags) {
  SetProp("sim.laser.photon", "2345");
  SetProp("sim.laser.bin", "17");
  LogCapture log;
  char photon[16] = {};
  char bin[16] = {};
  char msg[64] = {};
  EXPECT_EQ(crosstalk_cali_TMF8801(photon, bin, msg), 0);
  EXPECT_STREQ(photon, "2345");
  EXPECT_STREQ(bin, "17");
  EXPECT_STREQ(msg, "");
  EXPECT_EQ(NvField(kCrosstalkFlag), 1);
  EXPECT_EQ(NvField(kClockFlag), 0);
  EXPECT_EQ(get_calibrate_item_state("laser_focus_crosstalk_cali_TMF8801"), 1);
  EXPECT_EQ(GetProp("persist.sys.cali.TMF8801.crosstalk"), "1");
  // Not calibrated before: warned, and calibrated all the same.
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "\r\n\"error!! please cali clock at first!!\"\r\n"));

  char again_photon[16] = {};
  char again_bin[16] = {};
  EXPECT_EQ(get_crosstalk_value_TMF8801(again_photon, again_bin), 1);
  EXPECT_STREQ(again_photon, "2345");
}

struct CrosstalkFailure {
  const char* name;
  const char* knob;
  const char* value;
  int ret;
  const char* msg;
};

class CrosstalkFailureTest : public LaserTest,
                             public ::testing::WithParamInterface<CrosstalkFailure> {};

TEST_P(CrosstalkFailureTest, ReportsAndRecordsNothing) {
  const CrosstalkFailure& c = GetParam();
  if (strcmp(c.knob, "partition") == 0) {
    ASSERT_EQ(remove(HostPath(kBackupDevice).c_str()), 0);
  } else {
    SetProp(c.knob, c.value);
  }
  char photon[16] = {};
  char bin[16] = {};
  char msg[64] = {};
  EXPECT_EQ(crosstalk_cali_TMF8801(photon, bin, msg), c.ret);
  EXPECT_STREQ(msg, c.msg);
  EXPECT_EQ(GetProp("persist.sys.cali.TMF8801.crosstalk"), "");
  EXPECT_EQ(get_calibrate_item_state("laser_focus_crosstalk_cali_TMF8801"), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Laser, CrosstalkFailureTest,
    ::testing::Values(CrosstalkFailure{"CalibrationRefused", "sim.laser.xtalk_ret", "4", 4, "crosstalk cali error!!"},
                      CrosstalkFailure{"ResultUnavailable", "sim.laser.result_ret", "-1", -1,
                                       "\r\n\"get corsstalk data error\"\r\n"},
                      CrosstalkFailure{"NoPartition", "partition", "", -1, "read backup_nv error!"}),
    CaseName<CrosstalkFailure>);

TEST_F(LaserTest, CrosstalkValueAndFirmwareFollowTheLibrary) {
  SetProp("sim.laser.result_ret", "3");
  char photon[16] = "-";
  char bin[16] = "-";
  EXPECT_EQ(get_crosstalk_value_TMF8801(photon, bin), 0);
  EXPECT_STREQ(photon, "-");
  SetProp("sim.laser.fw_ret", "-9");
  LogCapture log;
  EXPECT_EQ(load_firmware_TMF8801(), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "END, ret = -9")) << log.Dump();
  EXPECT_EQ(CountLaserCalls("sensor_laser_8801_firmware_download"), 1);
}

struct DetectCase {
  const char* name;
  const char* words;
  unsigned seconds;
  const char* verdict;
};

class LaserDetectTest : public LaserTest, public ::testing::WithParamInterface<DetectCase> {};

TEST_P(LaserDetectTest, Verdict) {
  const DetectCase& c = GetParam();
  SetProp("sim.laser.words", c.words);
  SetProp("sim.laser.period_ms", "20");
  unsigned seconds = c.seconds;
  pthread_t thread;
  ASSERT_EQ(pthread_create(
                &thread, nullptr,
                [](void* arg) -> void* {
                  return laser_8801_detect_background_thread(static_cast<unsigned*>(arg));
                },
                &seconds),
            0);
  ASSERT_TRUE(WaitUntil(
      [&] {
        std::string v = GetProp("sys.orba.laser_8801_detect_ret");
        return v == "success" || v == "failed";
      },
      3000 + 1000 * static_cast<int>(c.seconds)));
  EXPECT_EQ(GetProp("sys.orba.laser_8801_detect_ret"), c.verdict);
  WaitForDeinits(1);
}

INSTANTIATE_TEST_SUITE_P(Laser, LaserDetectTest,
                         ::testing::Values(DetectCase{"LiveAtZero", "0x002A0150", 0, "success"},
                                           DetectCase{"FrozenAtZero", "", 0, "success"},
                                           DetectCase{"LiveForTwoSeconds", "0x002A0150", 2, "success"},
                                           DetectCase{"FrozenForTwoSeconds", "", 2, "failed"}),
    CaseName<DetectCase>);

TEST_F(LaserTest, CommonLaserFamilyIsInert) {
  common_laser_data data{7, 8, 9};
  init_sensor_laser_data_engineermode(&data);
  EXPECT_EQ(data.RangeMilliMeter, 0);
  EXPECT_EQ(on_off_laser(true), 0);
  data = common_laser_data{1, 2, 3};
  EXPECT_EQ(get_sensor_laser_data(&data, 2), 1);
  EXPECT_EQ(data.TimeStamp + data.RangeStatus + data.RangeMilliMeter, 0);
  EXPECT_EQ(on_off_laser(false), 1);
  int distance = 5;
  int confidence = 6;
  EXPECT_EQ(auto_get_sensor_laser_data(1, &distance, &confidence), 0);
  EXPECT_EQ(crosstalk_cali(), 0);
  EXPECT_EQ(offset_cali(), 0);
  EXPECT_TRUE(LaserCalls().empty()) << "the old interface never reaches the TMF8801 library";
}

}  // namespace
}  // namespace orba::test
