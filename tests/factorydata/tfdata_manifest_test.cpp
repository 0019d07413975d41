// The two manifest formats, the variant sections and the "ALL" fallback, manifest detection
// through the AT-command service, and the package archives added to the list.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include <orbafactory/factorydata.h>
#include <platform/host/device_init.h>

#include "factorydata_fixture.h"
#include "support/log_capture.h"

namespace orba::test {
namespace {

using Files = std::vector<std::string>;

class ManifestTest : public FactoryDataTest {};

TEST_F(ManifestTest, IniSectionsAndFallback) {
  struct Case {
    const char* name;
    const char* ini;
    const char* variant;  // null: the device's own (ro.orba.oem.name = ORBA)
    int include_all;
    Files expected;  // empty: no list
  };
  const char* kBoth =
      "[ORBA]\nsize = 2\nfile1 = Movies/orbaDemoVideo_ORBA.mp4\nfile2 = Music/a.flac\n"
      "[ALL]\nsize = 1\nfile1 = Pictures/all.jpg\n";
  const char* kAllOnly = "[ALL]\nsize = 2\nfile1 = x/one.mp4\nfile2 = two.lrc\n";
  const std::vector<Case> cases = {
      {"own section", kBoth, nullptr, 0,
       {"/sdcard/Movies/orbaDemoVideo_ORBA.mp4", "/sdcard/Music/a.flac"}},
      {"fallback to ALL", kAllOnly, nullptr, 0, {"/sdcard/x/one.mp4", "/sdcard/two.lrc"}},
      {"named section", kBoth, "ORBA", 0,
       {"/sdcard/Movies/orbaDemoVideo_ORBA.mp4", "/sdcard/Music/a.flac"}},
      {"other variant, ALL allowed", kBoth, "EU", 1, {"/sdcard/Pictures/all.jpg"}},
      {"other variant, ALL not allowed", kBoth, "EU", 0, {}},
      {"only bit 0 allows ALL", kBoth, "EU", 2, {}},
      {"section names keep their case", kBoth, "orba", 1, {"/sdcard/Pictures/all.jpg"}},
      {"size larger than the entries", "[ORBA]\nsize = 3\nfile1 = a\nfile2 = b\n", nullptr, 0,
       {}},
      {"entries beyond size are not read", "[ORBA]\nsize = 1\nfile1 = a\nfile2 = b\n", nullptr,
       0, {"/sdcard/a"}},
      {"size 0 and no ALL", "[ORBA]\nsize = 0\nfile1 = a\n", nullptr, 0, {}},
      {"ALL with size 0", "[ALL]\nsize = 0\n", "EU", 1, {}},
  };
  for (const Case& c : cases) {
    WriteStorage(".clear_sdcard.ini", c.ini);
    ListPtr list(c.variant == nullptr ? get_tf_data_from_ini()
                                      : get_tf_data_from_ini_by_oem(c.variant, c.include_all));
    EXPECT_EQ(Paths(list.get()), c.expected) << c.name;
  }
}

TEST_F(ManifestTest, IniFailuresAreLogged) {
  LogCapture log;
  EXPECT_EQ(get_tf_data_from_ini(), nullptr);
  EXPECT_TRUE(log.Has(ANDROID_LOG_INFO, "cannot parse file: /sdcard/.clear_sdcard.ini"))
      << log.Dump();

  WriteStorage(".clear_sdcard.ini", "[ORBA]\nsize = 3\nfile1 = a\nfile2 = b\n");
  EXPECT_EQ(get_tf_data_from_ini(), nullptr);
  EXPECT_TRUE(log.Has(ANDROID_LOG_INFO, "ORBA:size = 3")) << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "not found ORBA:file3")) << log.Dump();

  WriteStorage(".clear_sdcard.ini", "[ALL]\nsize = 1\nfile1 = a\n");
  EXPECT_EQ(get_tf_data_from_ini_by_oem("EU", 0), nullptr);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "include N = false, don't get")) << log.Dump();
  // The variant is at most a property value long.
  EXPECT_EQ(get_tf_data_from_ini_by_oem(std::string(92, 'V').c_str(), 1), nullptr);
  EXPECT_EQ(get_tf_data_from_ini_by_oem(nullptr, 1), nullptr);
}

TEST_F(ManifestTest, VariantDefaultsToN) {
  ASSERT_EQ(orba_init_property_set("ro.orba.oem.name", ""), 0);
  WriteStorage(".clear_sdcard.ini", "[N]\nsize = 1\nfile1 = n.mp4\n[ALL]\nsize = 1\nfile1 = all\n");
  ListPtr list(get_tf_data_from_ini());
  EXPECT_EQ(Paths(list.get()), Files{"/sdcard/n.mp4"});
}

TEST_F(ManifestTest, LineManifest) {
  struct Case {
    const char* name;
    std::string text;
    Files expected;
  };
  const std::vector<Case> cases = {
      {"files and other lines", "d:Movies\nf:a/b.mp4\nf c.jpg \r\n# f:no\n\nf:last.lrc",
       {"/sdcard/a/b.mp4", "/sdcard/c.jpg", "/sdcard/last.lrc"}},
      {"empty manifest", "", {}},
      {"marker without a path", "f\nf:\n", {}},
      {"over-long line and its tail skipped",
       "f:" + std::string(300, 'x') + "\nf:ok\n", {"/sdcard/ok"}},
      {"longest line kept", "f:" + std::string(253, 'y') + "\n",
       {"/sdcard/" + std::string(247, 'y')}},
  };
  for (const Case& c : cases) {
    WriteStorage(".clear_sdcard.cfg", c.text);
    ListPtr a(get_tf_data_from_cfg());
    ListPtr b(get_tf_data_from_cfg_by_oem());
    EXPECT_EQ(Paths(a.get()), c.expected) << c.name;
    EXPECT_EQ(Paths(b.get()), c.expected) << c.name;
  }
}

TEST_F(ManifestTest, LineManifestMissing) {
  LogCapture log;
  EXPECT_EQ(get_tf_data_from_cfg(), nullptr);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "/sdcard/.clear_sdcard.cfg open fail!")) << log.Dump();
}

TEST_F(ManifestTest, TypeDetectionThroughTheService) {
  StartService();
  struct Case {
    const char* name;
    const char* ini;  // null: absent
    const char* cfg;
    int type;
    Files list;
  };
  const std::vector<Case> cases = {
      {"none", nullptr, nullptr, 0, {}},
      {"line manifest", nullptr, "f:cfg.mp4\n", 1, {"/sdcard/cfg.mp4"}},
      {"INI preferred", "[ALL]\nsize = 1\nfile1 = ini.mp4\n", "f:cfg.mp4\n", 2,
       {"/sdcard/ini.mp4"}},
      {"9-character INI counts as absent", "[ALL]\nx=1", "f:cfg.mp4\n", 1, {"/sdcard/cfg.mp4"}},
      {"10-character INI counts", "[ALL]\nx=12", "f:cfg.mp4\n", 2, {}},
      {"9-character line manifest", nullptr, "f:abc.mp4", 0, {}},
  };
  for (const Case& c : cases) {
    remove(StoragePath(".clear_sdcard.ini").c_str());
    remove(StoragePath(".clear_sdcard.cfg").c_str());
    if (c.ini != nullptr) WriteStorage(".clear_sdcard.ini", c.ini);
    if (c.cfg != nullptr) WriteStorage(".clear_sdcard.cfg", c.cfg);
    EXPECT_EQ(get_tfdata_type(), c.type) << c.name;
    ListPtr list(get_tf_data_file_list());
    EXPECT_EQ(Paths(list.get()), c.list) << c.name;
  }
}

TEST_F(ManifestTest, ListByVariantFollowsTheType) {
  StartService();
  WriteStorage(".clear_sdcard.cfg", "f:cfg.mp4\n");
  ListPtr cfg(get_tf_data_file_list_by_oem("EU", 0));
  EXPECT_EQ(Paths(cfg.get()), Files{"/sdcard/cfg.mp4"});

  WriteStorage(".clear_sdcard.ini", "[EU]\nsize = 1\nfile1 = eu.mp4\n[ALL]\nsize = 1\nfile1 = a\n");
  ListPtr eu(get_tf_data_file_list_by_oem("EU", 0));
  ListPtr fallback(get_tf_data_file_list_by_oem("IN", 3));
  ListPtr none(get_tf_data_file_list_by_oem("IN", 2));
  EXPECT_EQ(Paths(eu.get()), Files{"/sdcard/eu.mp4"});
  EXPECT_EQ(Paths(fallback.get()), Files{"/sdcard/a"});
  EXPECT_EQ(none, nullptr);
}

TEST_F(ManifestTest, PackageArchivesJoinTheList) {
  StartService();
  {
    LogCapture log;
    EXPECT_EQ(get_tfdata_oem_app_list(1), nullptr);
    EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "Missing TF_Data!")) << log.Dump();
    WriteStorage(".clear_sdcard.cfg", "d:only directories here\n");
    EXPECT_EQ(get_tfdata_oem_app_list(1), nullptr);
    EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "TF_Data ERROR!")) << log.Dump();
  }
  WriteStorage(".clear_sdcard.cfg", "f:Movies/demo.mp4\n");
  for (const char* name : {"OEM_apps.zip", "apps.zip", "ogc_x.zip", "Dyn_y.zip", "preload_z.zip",
                           "oem_upper.ZIP", "oem_no.zap", "music.zip", "zip", "preload_dir.zipx"}) {
    WriteStorage(name, "PK");
  }
  ListPtr without(get_tfdata_oem_app_list(0));
  EXPECT_EQ(Paths(without.get()), Files{"/sdcard/Movies/demo.mp4"});

  ListPtr with(get_tfdata_oem_app_list(1));
  Files paths = Paths(with.get());
  ASSERT_FALSE(paths.empty());
  EXPECT_EQ(paths.front(), "/sdcard/Movies/demo.mp4");
  std::sort(paths.begin() + 1, paths.end());
  EXPECT_EQ(paths, (Files{"/sdcard/Movies/demo.mp4", "/sdcard/Dyn_y.zip", "/sdcard/OEM_apps.zip",
                          "/sdcard/apps.zip", "/sdcard/ogc_x.zip", "/sdcard/preload_z.zip"}));
}

}  // namespace
}  // namespace orba::test
