// Light-sensor colour values: the station's line parsed into the factory record and properties.

#include <string.h>

#include <string>

#include <orbafactory/persist.h>
#include <orbafactory/sensors.h>

#include "cali_fixture.h"

namespace orba::test {
namespace {

constexpr char kPrefix0[] = "AT+ALSCALI=0000,";    // 16 characters before the values
constexpr char kPrefix1[] = "AT+MSCCTCALI=0000,";  // 18

struct AlsCase {
  const char* name;
  int type;
  const char* tail;  // after the type's prefix
  int ret;
  float values[5];   // stored c, r, g, b, w when ret is 7
};

class AlsTest : public CaliTest, public ::testing::WithParamInterface<AlsCase> {
 protected:
  float Field(size_t offset) {
    uint8_t nv[XOLE_NV_ITEM_SIZE] = {};
    EXPECT_EQ(get_XOLE_NV_item(nv), 0);
    float v;
    memcpy(&v, nv + offset, sizeof(v));
    return v;
  }
};

TEST_P(AlsTest, ParsesStoresAndPublishes) {
  const AlsCase& c = GetParam();
  std::string line = std::string(c.type == 0 ? kPrefix0 : kPrefix1) + c.tail;
  ASSERT_EQ(strlen(kPrefix0), 16u);
  ASSERT_EQ(strlen(kPrefix1), 18u);
  EXPECT_EQ(als_cct_parse_rgbcw(line.c_str(), c.type), c.ret);

  const size_t base = c.type == 0 ? 732 : 1392;
  const size_t other = c.type == 0 ? 1392 : 732;
  const std::string prop = c.type == 0 ? "persist.sys.metal_data" : "persist.sys.mscct.metal_data";
  const char* channels = "crgbw";
  if (c.ret == 7) {
    for (int i = 0; i < 5; ++i) {
      EXPECT_FLOAT_EQ(Field(base + 4 * i), c.values[i]) << channels[i];
      char text[32];
      snprintf(text, sizeof(text), "%f", c.values[i]);
      EXPECT_EQ(GetProp((prop + "." + channels[i]).c_str()), text) << channels[i];
    }
    EXPECT_FLOAT_EQ(Field(base + 20), 1.0f);
    EXPECT_EQ(GetProp((prop + "_written").c_str()), "1");
  } else {
    // Nothing is written when the line is refused.
    EXPECT_EQ(GetProp((prop + ".c").c_str()), "");
    EXPECT_EQ(GetProp((prop + "_written").c_str()), "");
  }
  EXPECT_FLOAT_EQ(Field(other + 20), 0.0f) << "the other set is left as it was";
}

INSTANTIATE_TEST_SUITE_P(
    Lines, AlsTest,
    ::testing::Values(
        AlsCase{"OrdinarySet", 0, "1.5;2;3;4;5", 7, {1.5f, 2, 3, 4, 5}},
        AlsCase{"MultispectralSet", 1, "10;20;30;40;50", 7, {10, 20, 30, 40, 50}},
        // after b, separators belong to w's token, and atof reads its leading number
        AlsCase{"TrailingSeparatorsInW", 0, "1;2;3;4;5;6", 7, {1, 2, 3, 4, 5}},
        AlsCase{"ThreeSeparatorsLeaveB", 0, "1.5;2;3;4", 9, {}},
        AlsCase{"EmptyLastToken", 0, "1;2;3;4;", 9, {}},
        AlsCase{"MeasuredMinusOneIsRefused", 0, "1;2;-1;4;5", 9, {}},
        AlsCase{"OnlyPrefix", 0, "", 9, {}},
        AlsCase{"MultispectralPrefixIsLonger", 1, "", 9, {}}),
    [](const ::testing::TestParamInfo<AlsCase>& info) { return std::string(info.param.name); });

TEST_F(AlsTest, UnreadableRecordStoresNothing) {
  ASSERT_EQ(remove(HostPath(kBackupDevice).c_str()), 0);
  EXPECT_EQ(als_cct_parse_rgbcw("AT+ALSCALI=0000,1;2;3;4;5", 0), 4);
  EXPECT_EQ(GetProp("persist.sys.metal_data.c"), "");
}

TEST_F(AlsTest, NullLineIsTooShort) { EXPECT_EQ(als_cct_parse_rgbcw(nullptr, 0), 9); }

}  // namespace
}  // namespace orba::test
