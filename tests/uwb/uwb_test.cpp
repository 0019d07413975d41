// UWB test control against the vendor-library doubles, loaded with dlopen from the device's
// /vendor/lib64 as on the phone.

#include <string.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <orbafactory/uwb.h>
#include <platform/host/device_init.h>

#include "support/device_root.h"
#include "support/log_capture.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

constexpr char kTestLibrary[] = "/vendor/lib64/libuwb_factory_smt.so";
constexpr char kStoreLibrary[] = "/vendor/lib64/libuwbrwpersist.so";
// 36 bytes: status 0, attempts 100, acq_detect 96, acq_reject 4, rx_fail 2, sync_cir_ready 96,
// sfd_fail 0, sfd_found 94, phr_dec_error 1 (little endian).
constexpr char kNtfHex[] =
    "00000000640000006000000004000000020000006000000000000000"
    "5e00000001000000";

std::string BuiltLibrary(const std::string& name) {
  std::string bin = BinPath("orbafactory");
  return bin.substr(0, bin.rfind("/bin/")) + "/lib/vendor-doubles/" + name;
}

class UwbTest : public DeviceRootTest {
 protected:
  void SetUp() override {
    DeviceRootTest::SetUp();
    ASSERT_EQ(orba_init_property_area(), 0);
    WriteDeviceFile("/data/sim/uwb_calls", "");
    Install("libuwb_factory_smt.so", kTestLibrary);
    Install("libuwbrwpersist.so", kStoreLibrary);
  }
  void TearDown() override {
    close_uwb_handle();  // the handle is process-wide; every test starts without one
    DeviceRootTest::TearDown();
  }

  void Install(const std::string& built, const char* device_path) {
    std::ifstream in(BuiltLibrary(built), std::ios::binary);
    ASSERT_TRUE(in) << BuiltLibrary(built);
    std::stringstream bytes;
    bytes << in.rdbuf();
    WriteDeviceFile(device_path, bytes.str());
  }
  void SetProp(const char* name, const std::string& value) {
    ASSERT_EQ(orba_init_property_set(name, value.c_str()), 0);
  }
  std::vector<std::string> Calls() const {
    std::istringstream in(ReadDeviceFile("/data/sim/uwb_calls"));
    std::vector<std::string> calls;
    for (std::string line; std::getline(in, line);) calls.push_back(line);
    return calls;
  }
  void Open() {
    ASSERT_EQ(init_uwb_handle(), 0);
    ASSERT_EQ(orba_uci_hal_init(), 0);
  }
};

// Every forwarder, called with harmless arguments.
struct Forwarder {
  const char* name;
  int (*call)();
};

per_rx_ntf_data g_record;

const Forwarder kForwarders[] = {
    {"orba_uci_hal_init", [] { return orba_uci_hal_init(); }},
    {"orba_uci_hal_deinit", [] { return orba_uci_hal_deinit(); }},
    {"orba_uci_hal_set_rframe_config", [] { return orba_uci_hal_set_rframe_config(1); }},
    {"orba_uci_hal_set_channel_num", [] { return orba_uci_hal_set_channel_num(9); }},
    {"orba_uci_hal_set_rx_antenna_pair", [] { return orba_uci_hal_set_rx_antenna_pair(1); }},
    {"orba_uci_hal_set_tx_antenna_pair", [] { return orba_uci_hal_set_tx_antenna_pair(2); }},
    {"orba_uci_hal_set_tx_adaptive_payload_power",
     [] { return orba_uci_hal_set_tx_adaptive_payload_power(3); }},
    {"orba_uci_hal_set_number_of_sts_segments",
     [] { return orba_uci_hal_set_number_of_sts_segments(1); }},
    {"orba_uci_hal_set_calibration_value",
     [] { return orba_uci_hal_set_calibration_value(1, 2, 3, 4); }},
    {"orba_uci_hal_start_rx_test", [] { return orba_uci_hal_start_rx_test(); }},
    {"orba_uci_hal_stop_rx_test", [] { return orba_uci_hal_stop_rx_test(&g_record); }},
    {"orba_uci_hal_start_tx_test", [] { return orba_uci_hal_start_tx_test(); }},
    {"orba_uci_hal_stop_tx_test", [] { return orba_uci_hal_stop_tx_test(); }},
    {"orba_uci_hal_connectiviy_test", [] { return orba_uci_hal_connectiviy_test(); }},
    {"orba_uci_hal_set_rx_test_default_param",
     [] { return orba_uci_hal_set_rx_test_default_param(); }},
    {"orba_uci_hal_set_tx_test_default_param",
     [] { return orba_uci_hal_set_tx_test_default_param(); }},
};

TEST_F(UwbTest, ForwardersBeforeInitReachNothing) {
  for (const Forwarder& f : kForwarders) {
    LogCapture log;
    EXPECT_EQ(f.call(), -1) << f.name;
    EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "uwb library handle not init.")) << f.name;
  }
  EXPECT_TRUE(Calls().empty());
}

TEST_F(UwbTest, MissingLibraryFailsToLoad) {
  ASSERT_EQ(unlink(HostPath(kTestLibrary).c_str()), 0);
  LogCapture log;
  EXPECT_EQ(init_uwb_handle(), -1);
  EXPECT_NE(log.Dump().find("dlopen error: "), std::string::npos) << log.Dump();
  for (const Forwarder& f : kForwarders) EXPECT_EQ(f.call(), -1) << f.name;
  EXPECT_EQ(close_uwb_handle(), -1) << "nothing was opened";
}

TEST_F(UwbTest, LibraryWithoutTheSymbolsIsNeverCalled) {
  // Another real shared object in the test library's place: it loads, but exports none of them.
  Install("libuwbrwpersist.so", kTestLibrary);
  ASSERT_EQ(init_uwb_handle(), 0);
  for (const Forwarder& f : kForwarders) {
    LogCapture log;
    EXPECT_EQ(f.call(), -1) << f.name;
    EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "get function sym fail.")) << f.name;
  }
  EXPECT_TRUE(Calls().empty());
}

TEST_F(UwbTest, HandleOpensOnceAndClosesForGood) {
  ASSERT_EQ(init_uwb_handle(), 0);
  LogCapture log;
  // A second init keeps the first handle, even though the file is gone now.
  ASSERT_EQ(unlink(HostPath(kTestLibrary).c_str()), 0);
  EXPECT_EQ(init_uwb_handle(), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "uwb_api_handler already init")) << log.Dump();
  EXPECT_EQ(orba_uci_hal_start_tx_test(), 0);
  EXPECT_EQ(close_uwb_handle(), 0);
  EXPECT_EQ(orba_uci_hal_start_tx_test(), -1);
}

TEST_F(UwbTest, ForwardersPassArgumentsAndResultsThrough) {
  Open();
  SetProp("sim.uwb.orba_uci_hal_connectiviy_test.ret", "7");
  EXPECT_EQ(orba_uci_hal_connectiviy_test(), 7);
  EXPECT_EQ(orba_uci_hal_set_calibration_value(1, 250, 0x1122334455667788ull, 3), 0);
  EXPECT_EQ(orba_uci_hal_set_rframe_config(255), 0);
  std::vector<std::string> calls = Calls();
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_EQ(calls[0], "orba_uci_hal_init callback");
  EXPECT_EQ(calls[2], "orba_uci_hal_set_calibration_value 1 250 0x1122334455667788 3");
  EXPECT_EQ(calls[3], "orba_uci_hal_set_rframe_config 255");
}

TEST_F(UwbTest, ReceiveTestReturnsTheNotificationOfTheRun) {
  SetProp("sim.uwb.rx_ntf", kNtfHex);
  SetProp("sim.uwb.rx_ntf_delay_ms", "10");
  Open();
  ASSERT_EQ(uwb_set_rx_param(9, 1), 0);
  ASSERT_EQ(orba_uci_hal_start_rx_test(), 0);
  usleep(300 * 1000);
  per_rx_ntf_data out{};
  ASSERT_EQ(orba_uci_hal_stop_rx_test(&out), 0);
  EXPECT_EQ(out.attempts, 100u);
  EXPECT_EQ(out.acq_detect, 96u);
  EXPECT_EQ(out.sfd_found, 94u);
  EXPECT_EQ(out.phr_dec_error, 1u);
}

TEST_F(UwbTest, ReceiveTestWithoutNotificationIsAllZero) {
  Open();
  // Left over from an earlier run: the start of the next test clears it.
  per_rx_ntf_data stale;
  memset(&stale, 0xAB, sizeof(stale));
  orba_uwb_hal_callback(&stale);
  ASSERT_EQ(orba_uci_hal_start_rx_test(), 0);
  per_rx_ntf_data out;
  memset(&out, 0xCD, sizeof(out));
  ASSERT_EQ(orba_uci_hal_stop_rx_test(&out), 0);
  per_rx_ntf_data zero{};
  EXPECT_EQ(memcmp(&out, &zero, sizeof(out)), 0);
}

TEST_F(UwbTest, StopWithoutRecordDoesNotStop) {
  Open();
  LogCapture log;
  EXPECT_EQ(orba_uci_hal_stop_rx_test(nullptr), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "rx result buffer is null.")) << log.Dump();
  for (const std::string& call : Calls()) EXPECT_NE(call.rfind("orba_uci_hal_stop_rx_test", 0), 0u);
  EXPECT_EQ(orba_uwb_hal_callback(nullptr), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "rx data is null."));
}

struct SequenceCase {
  const char* name;
  const char* failing;        // the setter whose knob fails, or ""
  bool tx;
  int ret;
  const char* message;        // logged at error level, or ""
  std::vector<std::string> calls;  // after init
};

class UwbSequenceTest : public UwbTest, public ::testing::WithParamInterface<SequenceCase> {};

TEST_P(UwbSequenceTest, StopsAtTheFirstRefusal) {
  const SequenceCase& c = GetParam();
  Open();
  if (*c.failing != '\0') SetProp((std::string("sim.uwb.") + c.failing + ".ret").c_str(), "3");
  LogCapture log;
  int ret = c.tx ? uwb_set_tx_param(5, 1, 2, 3, 4) : uwb_set_rx_param(9, 2);
  EXPECT_EQ(ret, c.ret);
  if (*c.message != '\0') {
    EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, c.message)) << log.Dump();
  }
  std::vector<std::string> calls = Calls();
  calls.erase(calls.begin());  // orba_uci_hal_init
  EXPECT_EQ(calls, c.calls);
}

INSTANTIATE_TEST_SUITE_P(
    Uwb, UwbSequenceTest,
    ::testing::Values(
        SequenceCase{"TxAll", "", true, 0, "",
                     {"orba_uci_hal_set_channel_num 5", "orba_uci_hal_set_tx_antenna_pair 1",
                      "orba_uci_hal_set_rframe_config 2",
                      "orba_uci_hal_set_tx_adaptive_payload_power 3",
                      "orba_uci_hal_set_number_of_sts_segments 4"}},
        SequenceCase{"TxAntennaRefused", "orba_uci_hal_set_tx_antenna_pair", true, -1,
                     "uwb set tx antenna fail.",
                     {"orba_uci_hal_set_channel_num 5", "orba_uci_hal_set_tx_antenna_pair 1"}},
        SequenceCase{"TxSegmentsRefused", "orba_uci_hal_set_number_of_sts_segments", true, -1,
                     "uwb set segment fail.",
                     {"orba_uci_hal_set_channel_num 5", "orba_uci_hal_set_tx_antenna_pair 1",
                      "orba_uci_hal_set_rframe_config 2",
                      "orba_uci_hal_set_tx_adaptive_payload_power 3",
                      "orba_uci_hal_set_number_of_sts_segments 4"}},
        SequenceCase{"RxChannelRefused", "orba_uci_hal_set_channel_num", false, -1,
                     "uwb set channel num.", {"orba_uci_hal_set_channel_num 9"}},
        SequenceCase{"RxAntennaRefused", "orba_uci_hal_set_rx_antenna_pair", false, -1,
                     "uwb set rx antennal fail.",
                     {"orba_uci_hal_set_channel_num 9", "orba_uci_hal_set_rx_antenna_pair 2"}}),
    [](const ::testing::TestParamInfo<SequenceCase>& info) { return std::string(info.param.name); });

// The store library is loaded by bare name from the device's /vendor/lib64, with no loader
// path set: these cases run the CLI as a shell of `orbafactory-sim env` would.
class UwbStoreTest : public UwbTest {
 protected:
  ProgramResult CalStore(const std::string& which) {
    return RunProgram({BinPath("orbafactory"), "--root", root(), "-v", "uwb", "cal-store", which,
                       "0x10"});
  }
  std::string StoreCalls() const { return ReadDeviceFile("/data/sim/uwbpersist_calls"); }
};

TEST_F(UwbStoreTest, StoresThroughTheLibraryOnThePath) {
  WriteDeviceFile("/data/sim/uwbpersist_calls", "");
  ProgramResult all = CalStore("all");
  EXPECT_EQ(all.status, 0) << all.err;
  ProgramResult smt = CalStore("smt");
  EXPECT_EQ(smt.status, 0) << smt.err;
  EXPECT_EQ(StoreCalls(),
            "Uwb_WriteAllCalDataToPersist 0x10\nset_property_for_uwb\n"
            "Uwb_WriteSmtCalDataToPersist 0x10\nset_property_for_uwb\n");
}

TEST_F(UwbStoreTest, StoreFailuresAreMinusOne) {
  WriteDeviceFile("/data/sim/uwbpersist_calls", "");
  SetProp("sim.uwbpersist.Uwb_WriteAllCalDataToPersist.ret", "5");
  ProgramResult refused = CalStore("all");
  EXPECT_EQ(refused.status, 1);
  EXPECT_NE(refused.err.find("failed (5)"), std::string::npos) << refused.err;

  Install("libuwb_factory_smt.so", kStoreLibrary);  // loads, without the store's functions
  ProgramResult no_symbol = CalStore("all");
  EXPECT_NE(no_symbol.err.find("get function sym fail."), std::string::npos) << no_symbol.err;
  EXPECT_NE(no_symbol.err.find("failed (-1)"), std::string::npos) << no_symbol.err;

  ASSERT_EQ(unlink(HostPath(kStoreLibrary).c_str()), 0);
  ProgramResult missing = CalStore("smt");
  EXPECT_NE(missing.err.find("dlopen uwb save data lib fail. errno:"), std::string::npos)
      << missing.err;
  EXPECT_EQ(StoreCalls(), "Uwb_WriteAllCalDataToPersist 0x10\n");
}

}  // namespace
}  // namespace orba::test
