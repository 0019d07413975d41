// Counting, sizing and access checks of the listed files, on real files of the storage.

#include <cutils/properties.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include <orbafactory/factorydata.h>
#include <platform/host/device_init.h>

#include "factorydata_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

class InventoryTest : public FactoryDataTest {
 protected:
  // Lists the storage files named, through a line manifest.
  ListPtr ListOf(const std::string& lines) {
    WriteStorage(".clear_sdcard.cfg", lines);
    return ListPtr(get_tf_data_from_cfg());
  }
};

TEST_F(InventoryTest, SizeAndNumber) {
  WriteStorage("Movies/a.mp4", std::string(1000, 'a'));
  WriteStorage("Music/b.flac", std::string(24, 'b'));
  WriteStorage("empty.lrc", "");
  struct Case {
    const char* name;
    const char* manifest;
    double size;
    int number;
    const char* report;
  };
  const Case cases[] = {
      {"all present", "f:Movies/a.mp4\nf:Music/b.flac\nf:empty.lrc\n", 1024, 3, ""},
      {"one missing", "f:Movies/a.mp4\nf:gone.mp4\nf:Music/b.flac\n", 1024, -1,
       "lost:/sdcard/gone.mp4\n"},
      {"two missing", "f:x\nf:Music/b.flac\nf:y/z\n", 24, -1, "lost:/sdcard/x\nlost:/sdcard/y/z\n"},
  };
  for (const Case& c : cases) {
    ListPtr list = ListOf(c.manifest);
    EXPECT_EQ(get_tf_data_file_size(list.get()), c.size) << c.name;
    char report[256] = "";
    EXPECT_EQ(get_tf_data_file_number(report, sizeof(report), list.get()), c.number) << c.name;
    EXPECT_STREQ(report, c.report) << c.name;
  }
}

TEST_F(InventoryTest, ReportRoomAndBadArguments) {
  ListPtr list = ListOf("f:gone1\nf:gone2\n");
  // "/sdcard/gone1" is 13 characters: a line needs more than 21 bytes of room.
  char report[64] = "prior;";
  EXPECT_EQ(get_tf_data_file_number(report, 21, list.get()), -1);
  EXPECT_STREQ(report, "prior;");
  EXPECT_EQ(get_tf_data_file_number(report, 22, list.get()), -1);
  EXPECT_STREQ(report, "prior;lost:/sdcard/gone1\n");

  char empty[8] = "";
  EXPECT_EQ(get_tf_data_file_number(nullptr, 100, list.get()), -1);
  EXPECT_EQ(get_tf_data_file_number(empty, sizeof(empty), nullptr), -1);
  EXPECT_EQ(get_tf_data_file_size(nullptr), 0);

  LogCapture log;
  get_tf_data_file_size(list.get());
  EXPECT_TRUE(log.Has(ANDROID_LOG_INFO, "stat(/sdcard/gone1):No such file or directory"))
      << log.Dump();
}

// Access checks need a user without root's override; they run in an unprivileged child.
int CheckLockedMedia() {
  tf_data_list* list = get_tf_data_from_cfg();
  int r = is_tf_file_permission_abormal("/sdcard/Movies/locked.mp4") * 1 +
          is_tf_file_permission_abormal("/sdcard/Movies/open.mp4") * 2 +
          is_tf_file_permission_abormal("/sdcard/gone.mp4") * 4 +
          check_tfdata_time_permission_abnormal(list) * 8 + isAllTfFilePermissionOk() * 16;
  tf_data_list_free(list);
  return r;
}

int CheckOpenMedia() {
  tf_data_list* list = get_tf_data_from_cfg();
  int r = check_tfdata_time_permission_abnormal(list) + isAllTfFilePermissionOk() * 2;
  tf_data_list_free(list);
  return r;
}

TEST_F(InventoryTest, MediaPermissions) {
  WriteStorage("Movies/locked.mp4", "v");
  WriteStorage("Movies/open.mp4", "v");
  WriteStorage("notes.txt", "n");
  chmod(StoragePath("Movies/locked.mp4").c_str(), 0600);
  chmod(StoragePath("Movies/open.mp4").c_str(), 0666);
  chmod(StoragePath("notes.txt").c_str(), 0600);
  chmod(StoragePath("Movies").c_str(), 0777);
  char mode[PROPERTY_VALUE_MAX];
  property_get("persist.sys.factory.mode", mode, "");
  ASSERT_STREQ(mode, "yes");

  // Locked media: abnormal, the list check fails and so does the factory check.
  WriteStorage(".clear_sdcard.cfg", "f:gone.mp4\nf:Movies/open.mp4\nf:Movies/locked.mp4\n");
  EXPECT_EQ(RunUnprivileged(root(), CheckLockedMedia), 1);

  // A locked file that is not media is skipped by the factory check, but not by the list check.
  WriteStorage(".clear_sdcard.cfg", "f:gone.mp4\nf:Movies/open.mp4\nf:notes.txt\n");
  EXPECT_EQ(RunUnprivileged(root(), CheckOpenMedia), 2);
  WriteStorage(".clear_sdcard.cfg", "f:gone.mp4\nf:Movies/open.mp4\n");
  EXPECT_EQ(RunUnprivileged(root(), CheckOpenMedia), 3);

  // Outside factory mode nothing is checked.
  ASSERT_EQ(orba_init_property_set("persist.sys.factory.mode", "no"), 0);
  WriteStorage(".clear_sdcard.cfg", "f:Movies/locked.mp4\n");
  EXPECT_EQ(RunUnprivileged(root(), CheckOpenMedia), 2);
}

TEST_F(InventoryTest, PermissionMessages) {
  WriteStorage("ok.mp4", "v");
  LogCapture log;
  EXPECT_EQ(is_tf_file_permission_abormal("/sdcard/ok.mp4"), 0);
  EXPECT_EQ(is_tf_file_permission_abormal("/sdcard/none.mp4"), 0);
  EXPECT_EQ(check_tfdata_time_permission_abnormal(nullptr), 0);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "okay: RW_permission_ok for path: /sdcard/ok.mp4"));
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "skip file:/sdcard/none.mp4 not exist!!"));
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "error: tf_data_list is NULL")) << log.Dump();
}

}  // namespace
}  // namespace orba::test
