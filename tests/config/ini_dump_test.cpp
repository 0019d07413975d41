// Every dump layout, byte for byte, and writing a dictionary out and reading it back.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include <orbafactory/config.h>
#include "config/ini_test_util.h"
#include "support/device_root.h"

namespace {

using orba::test::Capture;
using orba::test::Dict;
using orba::test::Entries;
using orba::test::ErrorCapture;
using orba::test::LoadText;

TEST(IniDump, DictionaryDump) {
  Dict d(dictionary_new(0));
  EXPECT_EQ(Capture([&](FILE* f) { dictionary_dump(d.get(), f); }), "empty dictionary\n");
  dictionary_set(d.get(), "s", nullptr);
  dictionary_set(d.get(), "s:key", "v");
  dictionary_set(d.get(), "a-key-longer-than-twenty", "x");
  EXPECT_EQ(Capture([&](FILE* f) { dictionary_dump(d.get(), f); }),
            "                   s\t[UNDEF]\n"
            "               s:key\t[v]\n"
            "a-key-longer-than-twenty\t[x]\n");
  EXPECT_EQ(Capture([&](FILE* f) { dictionary_dump(nullptr, f); }), "");
}

TEST(IniDump, FlatDump) {
  Dict d = LoadText("[Sec]\nKey = a ; b\nEmpty =\n");
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(Capture([&](FILE* f) { iniparser_dump(d.get(), f); }),
            "[Sec]=UNDEF\n[Sec:Key]=[a ; b]\n[Sec:Empty]=[]\n");
}

TEST(IniDump, IniLayout) {
  Dict d = LoadText(
      "top = 0\n"
      "[Alpha]\nKey = 1\nLonger_Key_Name = two words\n"
      "[Beta]\n"
      "[Alpha2]\nk = 3\n");
  ASSERT_NE(d, nullptr);
  iniparser_set(d.get(), "Beta:Null", nullptr);
  const std::string alpha =
      "\n[Alpha]\n"
      "Key                            = 1\n"
      "Longer_Key_Name                = two words\n"
      "\n";
  EXPECT_EQ(Capture([&](FILE* f) { iniparser_dumpsection_ini(d.get(), "Alpha", f); }), alpha);
  EXPECT_EQ(Capture([&](FILE* f) { iniparser_dumpsection_ini(d.get(), "alpha", f); }), "");
  // Sections in slot order; keys outside every section are not written.
  EXPECT_EQ(Capture([&](FILE* f) { iniparser_dump_ini(d.get(), f); }),
            alpha +
                "\n[Beta]\n"
                "Null                           = \n"
                "\n"
                "\n[Alpha2]\n"
                "k                              = 3\n"
                "\n"
                "\n");
}

TEST(IniDump, IniLayoutWithoutSections) {
  Dict d(dictionary_new(0));
  iniparser_set(d.get(), "a:b", "1");
  iniparser_set(d.get(), ":c", "two");
  iniparser_set(d.get(), "d:e", nullptr);
  EXPECT_EQ(Capture([&](FILE* f) { iniparser_dump_ini(d.get(), f); }),
            "a:b = 1\n:c = two\nd:e = (null)\n");
  Dict empty(dictionary_new(0));
  EXPECT_EQ(Capture([&](FILE* f) { iniparser_dump_ini(empty.get(), f); }), "");
}

class IniDumpPath : public orba::test::DeviceRootTest {};

TEST_F(IniDumpPath, RoundTrip) {
  const char* text =
      "[General]\n"
      "Name = Factory Line 3\n"
      "Command = echo a; echo b # not a comment\n"
      "Quoted = \"x = 'y'\"\n"
      "Empty = ''\n"
      "Hex = 0x10\n"
      "[Paths]\n"
      "Log = /data/vendor/log\n"
      "[lower]\n"
      "MiXeD = Case\n";
  Dict first = LoadText(text);
  ASSERT_NE(first, nullptr);
  WriteDeviceFile("/data/out/.keep", "");
  ASSERT_EQ(iniparser_dump_path(first.get(), "/data/out/dump.ini"), 0);

  Dict second(iniparser_load("/data/out/dump.ini"));
  ASSERT_NE(second, nullptr) << ReadDeviceFile("/data/out/dump.ini");
  EXPECT_EQ(Entries(second.get()), Entries(first.get()));
  EXPECT_EQ(iniparser_getint(second.get(), "General:Hex", 0), 16);

  // And once more, through a buffer.
  Dict third = LoadText(ReadDeviceFile("/data/out/dump.ini"));
  ASSERT_NE(third, nullptr);
  EXPECT_EQ(Entries(third.get()), Entries(first.get()));
}

TEST_F(IniDumpPath, Failures) {
  Dict d = LoadText("[s]\nk = v\n");
  ASSERT_NE(d, nullptr);
  ErrorCapture errors;
  // The reporter's result is what the caller gets.
  EXPECT_EQ(iniparser_dump_path(d.get(), "/no/such/dir/x.ini"), ErrorCapture::kReturn);
  EXPECT_EQ(errors.messages(),
            (std::vector<std::string>{"iniparser: cannot open /no/such/dir/x.ini\n"}));

  // Without a dictionary an existing file is left alone.
  WriteDeviceFile("/data/keep.ini", "[s]\nk = v\n");
  EXPECT_EQ(iniparser_dump_path(nullptr, "/data/keep.ini"), -1);
  EXPECT_EQ(ReadDeviceFile("/data/keep.ini"), "[s]\nk = v\n");
  EXPECT_EQ(iniparser_dump_path(d.get(), nullptr), -1);
}

}  // namespace
