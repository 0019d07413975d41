#include <android/log.h>
#include <gtest/gtest.h>
#include <orbafactory/minzip.h>

#include <functional>
#include <string>
#include <vector>

#include "support/log_capture.h"
#include "zip_builder.h"

namespace orba::test {
namespace {

bool HasLineContaining(const LogCapture& log, int prio, const std::string& text) {
  for (const LogLine& l : log.Lines()) {
    if (l.priority == prio && l.text.find(text) != std::string::npos) return true;
  }
  return false;
}

std::vector<std::string> Names(const ZipArchive* za) {
  std::vector<std::string> names;
  for (unsigned i = 0; i < za->entry_count; ++i) {
    names.emplace_back(za->entries[i].name, za->entries[i].name_length);
  }
  return names;
}

BuiltZip TwoMembers(const std::string& comment = "") {
  return BuildZip({{"one.txt", "first"}, {"two.txt", "second"}}, comment);
}

struct BadArchive {
  const char* what;
  std::function<std::string()> bytes;
  int prio;
  std::vector<std::string> messages;  // each must appear in a line of this priority
};

TEST(ZipOpen, RejectsMalformedArchivesWithTheirMessage) {
  const BadArchive cases[] = {
      {"21 bytes",
       [] { return std::string(21, 'P'); },
       ANDROID_LOG_ERROR,
       {"is too small to be zip (21)"}},
      {"blank",
       [] { return std::string(4096, '\0'); },
       ANDROID_LOG_WARN,
       {"Not a Zip archive (found 0x00000000)"}},
      {"end record only",
       [] { return BuildZip({}).bytes; },
       ANDROID_LOG_WARN,
       {"Found Zip archive, but it looks empty"}},
      {"truncated",
       [] {
         BuiltZip z = TwoMembers();
         return z.bytes.substr(0, z.central[1]);
       },
       ANDROID_LOG_ERROR,
       {"Could not find end-of-central-directory in Zip"}},
      {"directory offset past the end",
       [] {
         BuiltZip z = TwoMembers();
         Put32(z.bytes, z.end_record + 16, static_cast<uint32_t>(z.bytes.size()));
         return z.bytes;
       },
       ANDROID_LOG_ERROR,
       {"Invalid entries=2 offset="}},
      {"more entries than headers",
       [] {
         BuiltZip z = TwoMembers(std::string(100, 'c'));
         Put16(z.bytes, z.end_record + 8, 3);
         return z.bytes;
       },
       ANDROID_LOG_ERROR,
       {"Missed a central dir sig (at 2)"}},
      {"header runs off the end",
       [] {
         BuiltZip z = TwoMembers();
         Put32(z.bytes, z.end_record + 16, static_cast<uint32_t>(z.bytes.size() - 30));
         return z.bytes;
       },
       ANDROID_LOG_ERROR,
       {"Ran off the end (at 0)"}},
      {"name runs off the end",
       [] {
         BuiltZip z = TwoMembers();
         Put16(z.bytes, z.central[1] + 28, 200);
         return z.bytes;
       },
       ANDROID_LOG_ERROR,
       {"Filename ran off the end (at 1)"}},
      {"name of 4096 characters",
       [] {
         return BuildZip({{std::string(4096, 'n'), "x"}}).bytes;
       },
       ANDROID_LOG_ERROR,
       {"Filename too long (4096 chatacters)", "Invalid filename (at 0)"}},
      {"byte 127 in a name",
       [] {
         return BuildZip({{"ok", "1"}, {"bad\x7f", "2"}}).bytes;
       },
       ANDROID_LOG_ERROR,
       {"Filename contains invalid character '177'", "Invalid filename (at 1)"}},
      {"control character in a name",
       [] {
         return BuildZip({{"tab\there", "1"}}).bytes;
       },
       ANDROID_LOG_ERROR,
       {"Filename contains invalid character '011'", "Invalid filename (at 0)"}},
      {"made on an unknown system",
       [] {
         Member m{"f", "data"};
         m.made_by = 0x0a14;
         return BuildZip({m}).bytes;
       },
       ANDROID_LOG_ERROR,
       {"Incompatible \"version made by\": 0x0a (at 0)"}},
      {"local header offset past the end",
       [] {
         BuiltZip z = TwoMembers();
         Put32(z.bytes, z.central[1] + 42, static_cast<uint32_t>(z.bytes.size() - 10));
         return z.bytes;
       },
       ANDROID_LOG_ERROR,
       {"Bad offset to local header: "}},
      {"local header signature",
       [] {
         BuiltZip z = TwoMembers();
         Put32(z.bytes, z.local[1], 0x04034b51);
         return z.bytes;
       },
       ANDROID_LOG_ERROR,
       {"Missed a local header sig (at 1)"}},
      {"data past the end",
       [] {
         BuiltZip z = TwoMembers();
         Put32(z.bytes, z.central[0] + 20, 0xfffffff0u);
         return z.bytes;
       },
       ANDROID_LOG_ERROR,
       {"Data ran off the end (at 0)"}},
      {"local extra field pushes the data past the end",
       [] {
         BuiltZip z = TwoMembers();
         Put16(z.bytes, z.local[1] + 28, 0xffff);
         return z.bytes;
       },
       ANDROID_LOG_ERROR,
       {"Data ran off the end (at 1)"}},
      {"two entries sharing one member's bytes",
       [] {
         BuiltZip z = TwoMembers();
         Put32(z.bytes, z.central[1] + 42, static_cast<uint32_t>(z.local[0]));
         Put32(z.bytes, z.central[1] + 20, 5);
         return z.bytes;
       },
       ANDROID_LOG_ERROR,
       {"Overlapping members in Zip"}},
      {"data reaching into the next member",
       [] {
         BuiltZip z = TwoMembers();
         Put32(z.bytes, z.central[0] + 20, 40);
         return z.bytes;
       },
       ANDROID_LOG_ERROR,
       {"Overlapping members in Zip"}},
  };
  for (const BadArchive& c : cases) {
    SCOPED_TRACE(c.what);
    LogCapture log;
    OpenedZip zip(c.bytes());
    EXPECT_EQ(zip.rc(), -1);
    EXPECT_EQ(zip.get()->entries, nullptr);
    EXPECT_EQ(zip.get()->index, nullptr);
    EXPECT_EQ(zip.get()->entry_count, 0u);
    for (const std::string& m : c.messages) {
      EXPECT_TRUE(HasLineContaining(log, c.prio, m)) << m << "\n" << log.Dump();
    }
    EXPECT_TRUE(HasLineContaining(log, ANDROID_LOG_ERROR, "Parsing archive ")) << log.Dump();
  }
}

TEST(ZipOpen, SortsByNameAndKeepsTheFirstOfEqualNames) {
  BuiltZip z = BuildZip({{"b", "first b"},
                         {"ab", "ab"},
                         {"a/", ""},
                         {"b", "second b"},
                         {"a", "a"},
                         {"a/b", "a/b"},
                         {"B", "upper"}});
  LogCapture log;
  OpenedZip zip(z.bytes);
  ASSERT_EQ(zip.rc(), 0) << log.Dump();
  EXPECT_EQ(Names(zip.get()), (std::vector<std::string>{"B", "a", "a/", "a/b", "ab", "b", "b"}));
  EXPECT_EQ(zip.Extract("b"), "first b");
  EXPECT_EQ(zip.get()->entries[5].compressed_length, 7);
  EXPECT_EQ(zip.get()->entries[6].compressed_length, 8) << "equal names keep directory order";
  EXPECT_TRUE(log.Has(ANDROID_LOG_WARN, "WARNING: duplicate entry 'b' in Zip\n")) << log.Dump();
  EXPECT_EQ(zip.Extract("a/b"), "a/b");
  EXPECT_EQ(zip.Extract("B"), "upper") << "lookups are case-sensitive";
  EXPECT_EQ(zip.Extract("a/b/"), "<missing>");
  EXPECT_EQ(zip.Extract(""), "<missing>");
  EXPECT_EQ(zip.get()->index->entry_count, 6u);
  EXPECT_EQ(zip.get()->index->size, 16u) << "mzHashSize(7) rounded up";
}

TEST(ZipOpen, ReadsFieldsAndToleratesCommentsAndLocalExtras) {
  Member m{"dir/file.bin", RawDeflate(std::string(5000, 'q')), ZIP_DEFLATED, 5000};
  m.local_extra = std::string(17, 'E');  // the central header carries none
  m.external_attributes = 0x81a40000;
  BuiltZip z = BuildZip({m, {"x", "y"}}, std::string(4464, 'C'));
  OpenedZip zip(z.bytes);
  ASSERT_EQ(zip.rc(), 0);
  const ZipEntry* e = mzFindZipEntry(zip.get(), "dir/file.bin");
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(e->offset, static_cast<long>(30 + 12 + 17));
  EXPECT_EQ(e->compression, ZIP_DEFLATED);
  EXPECT_EQ(e->uncompressed_length, 5000);
  EXPECT_EQ(e->mod_time, 0x5a210000u);
  EXPECT_EQ(e->crc32, 0x12345678u);
  EXPECT_EQ(e->version_made_by, 0x0314);
  EXPECT_EQ(e->external_attributes, 0x81a40000u);
  EXPECT_EQ(zip.Extract("dir/file.bin"), std::string(5000, 'q'));
  EXPECT_EQ(zip.get()->mapping.length, z.bytes.size());
}

}  // namespace
}  // namespace orba::test
