// Thermistor read-out from the vendor INI declaration, and the product filter from the feature
// file read through the AT-command service.

#include <string.h>

#include <string>

#include <orbafactory/devices.h>

#include "em_fixture.h"

namespace orba::test {
namespace {

constexpr char kIni[] = "/vendor/etc/ntc.ini";

class NtcTest : public EmTest {
 protected:
  void SetUp() override {
    EmTest::SetUp();
    StartAtcmd();
    WriteDeviceFile("/sys/class/thermal/thermal_zone1/temp", "25300\n");
    WriteDeviceFile("/sys/class/thermal/thermal_zone2/temp", "31000\n");
    WriteDeviceFile("/sys/class/thermal/thermal_zone3/temp", "-40000\n");
  }
  void Features(const std::string& ntc_value) {
    WriteDeviceFile("/etc/em_features.xml",
                    "<?xml version=\"1.0\"?>\n<features>\n"
                    "    <feature name=\"ntc_temperature\">" + ntc_value + "</feature>\n"
                    "</features>\n");
  }
};

struct IniCase {
  const char* name;
  const char* ini;  // null: no file
  int out_len;
  int type;
  int ret;
  const char* out;
};

class NtcIniTest : public NtcTest, public ::testing::WithParamInterface<IniCase> {};

TEST_P(NtcIniTest, BuildsTheResponse) {
  const IniCase& c = GetParam();
  if (c.ini != nullptr) WriteDeviceFile(kIni, c.ini);
  // The caller's buffer is exactly out_len bytes; what follows it is somebody else's.
  char memory[256 + 16];
  memset(memory, 0, sizeof(memory));
  memset(memory + c.out_len, '#', sizeof(memory) - static_cast<size_t>(c.out_len));
  EXPECT_EQ(get_ntc_temperature_ini(memory, c.out_len, c.type), c.ret);
  EXPECT_EQ(std::string(memory, strnlen(memory, static_cast<size_t>(c.out_len))), c.out);
  EXPECT_EQ(std::string(memory + c.out_len, sizeof(memory) - static_cast<size_t>(c.out_len)),
            std::string(sizeof(memory) - static_cast<size_t>(c.out_len), '#'))
      << "written past out_len";
}

constexpr char kTwoTypes[] =
    "[type_i]\n"
    "name1 = /sys/class/thermal/thermal_zone1/temp%1000\n"
    "name2 = /sys/class/thermal/thermal_zone2/temp%1000\n"
    "[type_ii]\n"
    "chg = /sys/class/thermal/thermal_zone2/temp%100\n";

INSTANTIATE_TEST_SUITE_P(
    Ntc, NtcIniTest,
    ::testing::Values(
        IniCase{"TypeOne", kTwoTypes, 200, 1, 1, "name1:25.3,name2:31.0"},
        IniCase{"TypeTwo", kTwoTypes, 200, 2, 1, "chg:310.0"},
        IniCase{"UnknownType", kTwoTypes, 200, 3, 0, ""},
        IniCase{"NoFile", nullptr, 200, 1, 0, ""},
        // the bound is used up by the first item; its last character is still cut
        IniCase{"ShortBound", kTwoTypes, 10, 1, 1, "name1:25."},
        // the first item fits with its terminator, the second is cut at the bound
        IniCase{"BoundInSecondItem", kTwoTypes, 16, 1, 1, "name1:25.3,name"},
        IniCase{"BoundAtItemEnd", kTwoTypes, 11, 1, 1, "name1:25.3"},
        IniCase{"ZeroBound", kTwoTypes, 0, 1, 1, ""},
        IniCase{"NoDivisor", "[type_i]\nboard = /sys/class/thermal/thermal_zone1/temp\n", 200, 1,
                -1, ""},
        IniCase{"NegativeDivisor", "[type_i]\nboard = /sys/class/thermal/thermal_zone1/temp%-5\n",
                200, 1, -1, ""},
        IniCase{"ZeroDivisorIsInfinite",
                "[type_i]\nboard = /sys/class/thermal/thermal_zone1/temp%0\n", 200, 1, 1,
                "board:inf"},
        IniCase{"UnreadableNode", "[type_i]\nboard = /sys/class/thermal/thermal_zone9/temp%1000\n",
                200, 1, -1, ""},
        IniCase{"OtherSectionsIgnored", "[ntc]\nboard = /x%1000\n", 200, 1, 1, ""}),
    [](const ::testing::TestParamInfo<IniCase>& info) { return std::string(info.param.name); });

TEST_F(NtcTest, NullOutputIsRefused) {
  WriteDeviceFile(kIni, kTwoTypes);
  EXPECT_EQ(get_ntc_temperature_ini(nullptr, 100, 1), 0);
  char out[8] = "keep";
  EXPECT_EQ(get_ntc_temperature_ini(out, -1, 1), 0);
  EXPECT_STREQ(out, "keep");
}

struct FilterCase {
  const char* name;
  const char* feature;  // null: the device declares no such feature
  const char* ntc;
  int type;
  int ret;
};

class NtcFilterTest : public NtcTest, public ::testing::WithParamInterface<FilterCase> {};

TEST_P(NtcFilterTest, Fitted) {
  const FilterCase& c = GetParam();
  if (c.feature != nullptr) {
    Features(c.feature);
  } else {
    WriteDeviceFile("/etc/em_features.xml",
                    "<?xml version=\"1.0\"?>\n<features>\n"
                    "    <feature name=\"laser_sensor\">TMF8801</feature>\n</features>\n");
  }
  EXPECT_EQ(product_ntc_filted(c.ntc, c.type), c.ret);
}

INSTANTIATE_TEST_SUITE_P(
    Ntc, NtcFilterTest,
    ::testing::Values(FilterCase{"TypeOneListed", "I[board,pa];II[chg]", "board", 1, 0},
                      FilterCase{"TypeTwoListed", "I[board,pa];II[chg]", "chg", 2, 0},
                      FilterCase{"OtherTypeUsesTheSecondList", "I[board,pa];II[chg]", "chg", 7, 0},
                      FilterCase{"NotInItsList", "I[board,pa];II[chg]", "chg", 1, -1},
                      FilterCase{"NoSecondList", "I[board,pa]", "chg", 2, -1},
                      FilterCase{"NoFeature", nullptr, "anything", 1, 0}),
    [](const ::testing::TestParamInfo<FilterCase>& info) { return std::string(info.param.name); });

TEST_F(NtcTest, FilterAppendsFittedLiveReadings) {
  Features("I[board,pa];II[chg]");
  char dst[128] = "x:1.0,";
  char reading[32] = "36500";
  filter_ntc_value(dst, reading, "board:%.1f,");
  EXPECT_STREQ(dst, "x:1.0,board:36.5,");
  char open_circuit[32] = "-40000";
  filter_ntc_value(dst, open_circuit, "pa:%.1f,");
  char unfitted[32] = "20000";
  filter_ntc_value(dst, unfitted, "cpu:%.1f,");
  EXPECT_STREQ(dst, "x:1.0,board:36.5,") << "open circuit and unfitted thermistors are skipped";
}

}  // namespace
}  // namespace orba::test
