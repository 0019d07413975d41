#include <string.h>

#include <orbafactory/persist.h>

#include "backup_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

class BackupAccessorsTest : public BackupPartitionTest {
 protected:
  Bytes Record() {
    Bytes r(kRecordSize, 0);
    EXPECT_EQ(get_XOLE_NV_item(r.data()), 0);
    return r;
  }
};

TEST_F(BackupAccessorsTest, SerialNumber) {
  struct Case {
    const char* sn;
    int set_status;
    int get_status;
  } cases[] = {
      {"ABCDEFGHIJ12345", 0, 0},     // exactly 15: the only length read back
      {"ABCDEFGHIJ123456", 0, -1},   // stored, but 16 characters are refused on the way out
      {"ABCDEFGHIJ1", 0, -1},        // 11: long enough to store
      {"ABCDEFGHIJ", -1, -1},        // 10: refused
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.sn);
    WriteImage(0, Bytes(2 * 4096, 0xFF));
    LogCapture log;
    EXPECT_EQ(set_sn_to_backup(c.sn), c.set_status);
    if (c.set_status != 0) {
      EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "sn_code is incorrect!!"));
    }
    char out[64] = {};
    EXPECT_EQ(get_sn_from_backup(out), c.get_status);
    if (c.get_status == 0) {
      EXPECT_STREQ(out, c.sn);
    }
  }
  EXPECT_EQ(set_sn_to_backup(nullptr), -1);
}

TEST_F(BackupAccessorsTest, ErasedSerialNumberIsReportedUnset) {
  Bytes r = Record();
  memset(r.data() + 1084, 0xFF, 32);
  ASSERT_EQ(put_XOLE_NV_item(r.data()), 0);
  LogCapture log;
  char out[64] = {};
  EXPECT_EQ(get_sn_from_backup(out), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "sn_code not initialized!")) << log.Dump();
}

TEST_F(BackupAccessorsTest, ThemeColour) {
  char out[32] = {};
  EXPECT_EQ(get_theme_color_from_backup(out), 0);
  EXPECT_STREQ(out, "N");
  EXPECT_EQ(set_theme_color_to_backup("midnight-blue"), 0);
  memset(out, 0, sizeof(out));
  EXPECT_EQ(get_theme_color_from_backup(out), 0);
  EXPECT_STREQ(out, "midnight-blue");
  // Cut to the 16-byte field, terminator included.
  EXPECT_EQ(set_theme_color_to_backup("a-colour-name-far-too-long"), 0);
  memset(out, 0, sizeof(out));
  EXPECT_EQ(get_theme_color_from_backup(out), 0);
  EXPECT_STREQ(out, "a-colour-name-f");
  LogCapture log;
  EXPECT_EQ(set_theme_color_to_backup(nullptr), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "theme_color is incorrect!!"));
}

TEST_F(BackupAccessorsTest, PcbCode) {
  struct Case {
    const char* input;
    int set_status;
    const char* stored;  // null: the field is left as it was
  } cases[] = {
      {"PCB0001", 0, "PCB0001"},
      {"AT+EGMR=1,5,\"QX2209-A\"", 0, "QX2209-A"},       // only the quoted code
      {"\"ABCDEFGHIJKLMNOPQRSTUVWXYZ\"", 0, "ABCDEFGHIJKLMNOPQRST"},  // cut to 20
      {"AT+EGMR=1,5,\"unterminated", -1, nullptr},
      {"\"Z\"", -1, nullptr},
      {"Z", -1, nullptr},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.input);
    ASSERT_EQ(set_pcb_to_backup("BEFORE"), 0);
    EXPECT_EQ(set_pcb_to_backup(c.input), c.set_status);
    char bare[64] = {}, at[64] = {};
    EXPECT_EQ(get_pcb(bare), 0);
    EXPECT_EQ(get_pcb_from_backup(at), 0);
    const std::string expected = c.stored != nullptr ? c.stored : "BEFORE";
    EXPECT_EQ(bare, expected);
    EXPECT_EQ(at, "+EGMR:\"" + expected + "\"");
  }
  // Two characters can be stored but are not a code to report.
  ASSERT_EQ(set_pcb_to_backup("AB"), 0);
  char out[64] = {};
  EXPECT_EQ(get_pcb(out), -1);
  EXPECT_EQ(get_pcb_from_backup(out), -1);
}

TEST_F(BackupAccessorsTest, EngineerModeFlagKeepsFirmwareBits) {
  Bytes r = Record();
  SetInt32(r, 1012, 0x7A5C3);  // firmware bits around the engineer-mode nibble
  r[1280] = 'y';
  ASSERT_EQ(put_XOLE_NV_item(r.data()), 0);

  ASSERT_EQ(backup_orba_em_mode_flag(1), 0);
  r = Record();
  EXPECT_EQ(Int32At(r, 1012), (0x7A5C3 & ~0xF00) | 0x100);
  EXPECT_EQ(r[1280], 'y');
  EXPECT_EQ(is_orba_em_mode_from_backup(), 1);

  ASSERT_EQ(backup_orba_em_mode_flag(0), 0);
  r = Record();
  EXPECT_EQ(Int32At(r, 1012), 0x7A5C3 & ~0xF00);
  EXPECT_EQ(r[1280], 'n');
  LogCapture log;
  EXPECT_EQ(is_orba_em_mode_from_backup(), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "uefi_orba_factory_flag = 7a0c3")) << log.Dump();
}

}  // namespace
}  // namespace orba::test
