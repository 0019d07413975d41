#include <gtest/gtest.h>
#include <string.h>

#include <string>
#include <vector>

#include <orbafactory/foundation.h>
#include "support/log_capture.h"

namespace {

using orba::test::LogCapture;

TEST(Validation, CharacterClasses) {
  struct Case {
    const char* s;
    int digit, integer, hex, nhex;
  };
  const Case cases[] = {
      {"123", 1, 1, 1, 1},  {"-12", 0, 1, 0, 0}, {"-", 0, 1, 0, 0},  {"1x", 0, 0, 0, 0},
      {"ab", 0, 0, 0, 1},   {"AB09", 0, 0, 1, 1}, {"", 1, 1, 1, 1},   {"--1", 0, 0, 0, 0},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(isDigitValue(c.s), c.digit) << c.s;
    EXPECT_EQ(is_Int(c.s), c.integer) << c.s;
    EXPECT_EQ(isHexValue(c.s), c.hex) << c.s;
    EXPECT_EQ(isNHexValue(c.s), c.nhex) << c.s;
  }
  EXPECT_EQ(isDigitValue(nullptr), 0);
  EXPECT_EQ(is_Int(nullptr), 1);
}

TEST(Validation, IntRejectionSpeaksAsDigitCheck) {
  LogCapture log;
  EXPECT_EQ(is_Int("-1x"), 0);
  ASSERT_EQ(log.Lines().size(), 1u) << log.Dump();
  EXPECT_EQ(log.Lines()[0].func, "isDigitValue");
  EXPECT_EQ(log.Lines()[0].text, "value[1]:x");
}

TEST(Validation, ScopeBoundsAreExclusive) {
  LogCapture log;
  EXPECT_EQ(is_in_scope("temp", 5, 0, 10), 1);
  EXPECT_EQ(is_in_scope("temp", 10, 0, 10), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG,
                      "out of scope: msg = temp : data = 10, lower_limit = 0, upper_limit = 10"));
  EXPECT_EQ(is_in_scope_d("gain", 1.5, 1.0, 2.0), 1);
  EXPECT_EQ(is_in_scope_d("gain", 1.0, 1.0, 2.0), 0);
  EXPECT_TRUE(log.Has(
      ANDROID_LOG_DEBUG,
      "out of scope: msg = gain : data = 1.00, lower_limit = 1.00, upper_limit = 2.00"));
}

TEST(NumberConversion, Parsers) {
  EXPECT_EQ(hex2Dec('f'), 15);
  EXPECT_EQ(hex2Dec('B'), 11);
  EXPECT_EQ(hex2Dec('g'), 0);
  EXPECT_EQ(atolhex("1Z", 2), 0x10ul);
  EXPECT_EQ(atolhex("ff", 1), 0xful);
  EXPECT_EQ(atolhex("ff", 0), 0ul);
  EXPECT_EQ(atolhex("1", 3), 0x100ul);  // places past the end count as zero digits

  struct Case {
    const char* s;
    int value;
  };
  const Case to_dec[] = {{"0x1G", 1}, {"0X10", 0}, {"-42abc", -42}, {"0x", 0},
                         {"0xfF", 255}, {"17", 17}, {"abc", 0}};
  for (const Case& c : to_dec) EXPECT_EQ(charToDec(c.s), c.value) << c.s;

  EXPECT_EQ(GetDEC_Value("temp=-12C", ';'), -12);
  EXPECT_EQ(GetDEC_Value("a;5", ';'), 0);
  EXPECT_EQ(GetDEC_Value("x - 7", ';'), 7);  // the sign counts only right before the digit
  EXPECT_EQ(GetDEC_Value("none", ';'), 0);
  EXPECT_EQ(GetDEC_Value(nullptr, ';'), 0);

  EXPECT_EQ(get_int_from_char('7'), 7);
  EXPECT_EQ(get_int_from_char('x'), 0);
  EXPECT_EQ(get_esbp_value("ABCDEFGHI5XYZ"), 5);
  EXPECT_EQ(get_esbp_value("short"), 0);
}

TEST(NumberConversion, HexBitKeepsTheSignOfBit31) {
  LogCapture log;
  EXPECT_EQ(getHexToBinaryBit("80000000", 31), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_INFO, "-2147483648,31,-1")) << log.Dump();
  EXPECT_EQ(getHexToBinaryBit("4", 2), 1);
  EXPECT_EQ(getHexToBinaryBit("4", 1), 0);
  EXPECT_EQ(getHexToBinaryBit("ffffffff", 0), 1);
}

TEST(NumberConversion, ItofFormatsIntoOneBuffer) {
  LogCapture log;
  char* first = itof(1.5);
  EXPECT_STREQ(first, "1.500000");
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "num = 1.500000, buffer = 1.500000"));
  EXPECT_EQ(itof(-2.25), first);
  EXPECT_STREQ(first, "-2.250000");
  EXPECT_LT(strlen(itof(1e300)), 92u);  // does not overflow its buffer
}

TEST(HexText, StrToHexReportsEachFailure) {
  LogCapture log;
  unsigned char out[4] = {};
  EXPECT_EQ(str_to_hex(out, "0a1B", 2), 2);
  EXPECT_EQ(out[0], 0x0A);
  EXPECT_EQ(out[1], 0x1B);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "test:1b"));

  struct Case {
    const char* src;
    int len;
    const char* report;
  };
  const Case failures[] = {
      {"0a1", 4, "src str len error:3"},
      {"0a1b2c", 2, "src str len error:6"},
      {"0g", 4, "char not a hex:g"},
      {"g0", 4, "char not a hex:g"},
  };
  for (const Case& c : failures) {
    LogCapture fail_log;
    EXPECT_EQ(str_to_hex(out, c.src, c.len), -1) << c.src;
    auto lines = fail_log.Lines();
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(lines.back().priority, ANDROID_LOG_ERROR);
    EXPECT_NE(lines.back().raw.find(std::string("MODULE:ENGINEER_MODE ") + c.report),
              std::string::npos)
        << fail_log.Dump();
  }
  EXPECT_EQ(str_to_hex(nullptr, "00", 1), -1);
  EXPECT_EQ(str_to_hex(out, "", 1), 0);
}

TEST(HexText, BytePackersAndRenderers) {
  unsigned char out[8] = {};
  EXPECT_EQ(hex2Ascii("de:ad-BE ef", out), 4);
  EXPECT_EQ(std::vector<unsigned char>(out, out + 4),
            (std::vector<unsigned char>{0xde, 0xad, 0xbe, 0xef}));
  EXPECT_EQ(hex2Ascii("123", out), 1);
  EXPECT_EQ(out[1], 0x30);  // the odd digit waits in the high nibble, uncounted

  EXPECT_EQ(hex_to_byte("0A1F", out), 2);
  EXPECT_EQ(out[0], 0x0A);
  EXPECT_EQ(out[1], 0x1F);
  EXPECT_EQ(hex_to_byte("0a", out), 1);
  EXPECT_EQ(out[0], static_cast<unsigned char>(('a' - '0') & 0x0F));

  EXPECT_STREQ(char_to_hex("1234", out, 2), "1234");
  EXPECT_EQ(out[0], 0x12);
  EXPECT_EQ(out[1], 0x34);

  const unsigned char bytes[] = {0x00, 0xAB, 0x7F};
  char text[16] = "junk";
  EXPECT_EQ(byte_to_hex(bytes, text, 3), 0);
  EXPECT_STREQ(text, "00AB7F");
  byte_to_hex(bytes, text, 0);
  EXPECT_STREQ(text, "");
  char appended[16] = "SN:";
  hexToAscii(bytes, appended, 3);
  EXPECT_STREQ(appended, "SN:00ab7f");

  char rendered[16] = {};
  str2hstr("A\n", rendered);
  EXPECT_STREQ(rendered, "41A");  // no leading zero below 0x10
}

}  // namespace
