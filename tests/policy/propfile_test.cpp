// key=value property files through the running AT-command service.

#include <android/log.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include <orbafactory/config.h>
#include <orbafactory/engineer.h>

#include "service_device.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

constexpr char kFile[] = "/system/etc/emmc_bom";

class PropFileTest : public ServiceDeviceTest {
 protected:
  void SetUp() override {
    ServiceDeviceTest::SetUp();
    WriteDeviceFile("/system/etc/.keep", "");
  }
  bool Exists(const char* device_path) {
    struct stat st;
    return stat(HostPath(device_path).c_str(), &st) == 0;
  }
};

TEST_F(PropFileTest, Get) {
  struct Case {
    const char* name;
    const char* content;  // null: no file
    const char* key;
    const char* value;
  };
  const char* bom = "vendor=hynix\nsize=128G\nmodel_id=H9HQ16\n";
  const std::vector<Case> cases = {
      {"first line", bom, "vendor", "hynix"},
      {"last line", bom, "model_id", "H9HQ16"},
      {"other letter case", bom, "SIZE", "128G"},
      {"tail of a longer key", bom, "id", "0"},
      {"absent key", bom, "speed", "0"},
      {"value cut at the next =", "vendor=a=b\nsize=1234567\n", "vendor", "a"},
      {"last line without newline", "vendor=hynix\nsize=64G", "size", "64G"},
      {"file under ten characters", "a=1\n", "a", "0"},
      {"no file", nullptr, "vendor", "0"},
  };
  for (const Case& c : cases) {
    remove(HostPath(kFile).c_str());
    if (c.content != nullptr) WriteDeviceFile(kFile, c.content);
    char* answer = get_property_file_item_value(kFile, c.key);
    EXPECT_EQ(answer, recv_buf) << c.name;
    EXPECT_STREQ(answer, c.value) << c.name;
  }
}

TEST_F(PropFileTest, SetWritesTheChangedItemLast) {
  struct Case {
    const char* name;
    const char* before;  // null: no file
    const char* key;
    const char* value;
    int ret;
    std::string after;
  };
  const char* two = "vendor=hynix\nsize=128G\n";
  const std::vector<Case> cases = {
      {"new file", nullptr, "vendor", "hynix", 0, "vendor=hynix\n"},
      {"lone newline is empty", "\n", "vendor", "hynix", 0, "vendor=hynix\n"},
      {"new key appended", two, "rev", "3", 0, "vendor=hynix\nsize=128G\nrev=3\n"},
      {"changed key moves last", two, "vendor", "samsung", 0, "size=128G\nvendor=samsung\n"},
      {"last key changed in place", two, "size", "256G", 0, "vendor=hynix\nsize=256G\n"},
      // The setter matches case-sensitively, so another case is a second item.
      {"other letter case", two, "VENDOR", "x", 0, "vendor=hynix\nsize=128G\nVENDOR=x\n"},
      // ... and anywhere in the text, so a key that ends a longer one takes its line.
      {"tail of a longer key", "model_id=H9\nsize=1\n", "id", "7", 0, "size=1\nid=7\n"},
      {"found on a line without newline", "vendor=hynix\nsize=1", "size", "2", -1,
       "vendor=hynix\nsize=1"},
  };
  for (const Case& c : cases) {
    remove(HostPath(kFile).c_str());
    if (c.before != nullptr) WriteDeviceFile(kFile, c.before);
    EXPECT_EQ(set_property_file_item_value(kFile, c.key, c.value), c.ret) << c.name;
    EXPECT_EQ(ReadDeviceFile(kFile), c.after) << c.name;
  }
}

TEST_F(PropFileTest, SetKeepsFilesSmall) {
  // 2000 characters or more: the file is cleared and keeps the one item set.
  std::string big;
  for (int i = 0; big.size() < 2000; ++i) big += "item" + std::to_string(i) + "=value\n";
  WriteDeviceFile(kFile, big);
  EXPECT_EQ(set_property_file_item_value(kFile, "item3", "new"), 0);
  EXPECT_EQ(ReadDeviceFile(kFile), "item3=new\n");

  // Just below the limit, a new item that does not fit is refused and nothing changes.
  std::string near(1990, 'x');
  near += "\n";
  WriteDeviceFile(kFile, near);
  LogCapture log;
  EXPECT_EQ(set_property_file_item_value(kFile, "k", std::string(60, 'v').c_str()), -1);
  EXPECT_EQ(ReadDeviceFile(kFile), near);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, std::string("No memory:57,") + std::string(60, 'v') + ",64"))
      << log.Dump();
}

TEST_F(PropFileTest, SetKeepsEveryLineAfterTheChangedOne) {
  std::string rest;
  for (int i = 0; rest.size() < 1500; ++i) rest += "key" + std::to_string(i) + "=v\n";
  WriteDeviceFile(kFile, "first=1\n" + rest);
  EXPECT_EQ(set_property_file_item_value(kFile, "first", "2"), 0);
  EXPECT_EQ(ReadDeviceFile(kFile), rest + "first=2\n");
}

TEST_F(PropFileTest, Delete) {
  struct Case {
    const char* name;
    const char* before;  // null: no file
    const char* key;
    int ret;
    std::string after;  // "" with no file: still no file
  };
  const std::vector<Case> cases = {
      {"middle item", "a=1\nb=2\nc=3\n", "b", 0, "a=1\nc=3\n"},
      {"only item leaves a newline", "vendor=hynix\n", "vendor", 0, "\n"},
      {"absent key", "a=1\nb=2\n", "z", 0, "a=1\nb=2\n"},
      {"no file", nullptr, "a", 0, ""},
      {"lone newline", "\n", "a", 0, "\n"},
      {"line without newline", "a=1\nb=2", "b", -1, "a=1\nb=2"},
  };
  for (const Case& c : cases) {
    remove(HostPath(kFile).c_str());
    if (c.before != nullptr) WriteDeviceFile(kFile, c.before);
    EXPECT_EQ(delete_property_file_item(kFile, c.key), c.ret) << c.name;
    EXPECT_EQ(ReadDeviceFile(kFile), c.after) << c.name;
    if (c.before == nullptr) {
      EXPECT_FALSE(Exists(kFile)) << c.name;
    }
  }
}

TEST_F(PropFileTest, RoundTrip) {
  const std::vector<std::pair<std::string, std::string>> items = {
      {"camera_front_id", "s5k3p9"}, {"camera_rear_id", "imx586"}, {"tof", "tmf8801"}};
  for (const auto& [key, value] : items) {
    ASSERT_EQ(set_property_file_item_value(kFile, key.c_str(), value.c_str()), 0);
  }
  for (const auto& [key, value] : items) {
    EXPECT_STREQ(get_property_file_item_value(kFile, key.c_str()), value.c_str()) << key;
  }
  ASSERT_EQ(delete_property_file_item(kFile, "camera_rear_id"), 0);
  EXPECT_STREQ(get_property_file_item_value(kFile, "camera_rear_id"), "0");
  EXPECT_STREQ(get_property_file_item_value(kFile, "tof"), "tmf8801");
}

TEST_F(PropFileTest, WithoutTheServiceNothingIsWritten) {
  WriteDeviceFile(kFile, "vendor=hynix\nsize=128G\n");
  StopService();
  EXPECT_EQ(set_property_file_item_value(kFile, "size", "1T"), -1);
  EXPECT_EQ(delete_property_file_item(kFile, "vendor"), 0);  // it sees no file to delete from
  EXPECT_STREQ(get_property_file_item_value(kFile, "vendor"), "0");
  EXPECT_EQ(ReadDeviceFile(kFile), "vendor=hynix\nsize=128G\n");
}

}  // namespace
}  // namespace orba::test
