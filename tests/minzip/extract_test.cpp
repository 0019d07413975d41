#include <android/log.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <orbafactory/minzip.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <algorithm>
#include <string>
#include <vector>

#include "support/device_root.h"
#include "support/log_capture.h"
#include "zip_builder.h"

namespace orba::test {
namespace {

std::string Pattern(size_t n, unsigned seed) {
  std::string s(n, '\0');
  for (size_t i = 0; i < n; ++i) {
    seed = seed * 1103515245u + 12345u;
    s[i] = "abcdefgh\n"[(seed >> 16) % 9];
  }
  return s;
}

bool CollectChunk(const unsigned char* data, int length, void* cookie) {
  auto* chunks = static_cast<std::vector<std::string>*>(cookie);
  chunks->emplace_back(reinterpret_cast<const char*>(data), static_cast<size_t>(length));
  return true;
}
bool Refuse(const unsigned char*, int, void*) { return false; }

void RecordPath(const char* path, void* cookie) {
  static_cast<std::vector<std::string>*>(cookie)->push_back(path);
}

bool Contains(const std::vector<std::string>& v, const std::string& s) {
  return std::find(v.begin(), v.end(), s) != v.end();
}

TEST(ZipContents, DeflatedInChunksStoredInOne) {
  const std::string text = Pattern(100000, 1);
  OpenedZip zip(BuildZip({{"d", RawDeflate(text), ZIP_DEFLATED, 100000}, {"s", text}}).bytes);
  ASSERT_EQ(zip.rc(), 0);
  std::vector<std::string> chunks;
  ASSERT_TRUE(
      mzProcessZipEntryContents(zip.get(), mzFindZipEntry(zip.get(), "d"), CollectChunk, &chunks));
  std::vector<size_t> sizes;
  std::string joined;
  for (const std::string& c : chunks) {
    sizes.push_back(c.size());
    joined += c;
  }
  EXPECT_EQ(sizes, (std::vector<size_t>{32768, 32768, 32768, 1696}));
  EXPECT_EQ(joined, text);

  chunks.clear();
  ASSERT_TRUE(
      mzProcessZipEntryContents(zip.get(), mzFindZipEntry(zip.get(), "s"), CollectChunk, &chunks));
  ASSERT_EQ(chunks.size(), 1u);
  EXPECT_EQ(chunks[0], text);

  LogCapture log;
  EXPECT_FALSE(
      mzProcessZipEntryContents(zip.get(), mzFindZipEntry(zip.get(), "d"), Refuse, nullptr));
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "Process function elected to fail (in inflate)\n"));
}

TEST(ZipContents, ReadIntoBufferNeedsRoomForEveryChunk) {
  OpenedZip zip(BuildZip({{"f", "0123456789"}}).bytes);
  ASSERT_EQ(zip.rc(), 0);
  const ZipEntry* e = mzFindZipEntry(zip.get(), "f");
  char buf[16] = {};
  EXPECT_TRUE(mzReadZipEntry(zip.get(), e, buf, 10));
  EXPECT_STREQ(buf, "0123456789");
  LogCapture log;
  char small[9] = {};
  EXPECT_FALSE(mzReadZipEntry(zip.get(), e, small, 9));
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "Can't extract entry to buffer.\n")) << log.Dump();
}

struct BadMember {
  const char* what;
  Member member;
  std::vector<std::string> messages;
};

TEST(ZipContents, FailuresAreReportedByEveryExtractor) {
  const std::string text = Pattern(1000, 2);
  const std::string deflated = RawDeflate(text);
  const BadMember cases[] = {
      {"header size too small",
       {"f", deflated, ZIP_DEFLATED, 999},
       {"Size mismatch on inflated file (1000 vs 999)\n"}},
      {"header size too large",
       {"f", deflated, ZIP_DEFLATED, 1001},
       {"Size mismatch on inflated file (1000 vs 1001)\n"}},
      {"corrupt stream",
       {"f", std::string(40, '\xff'), ZIP_DEFLATED, 1000},
       {"zlib inflate call failed (zerr=-3)\n"}},
      {"truncated stream",
       {"f", deflated.substr(0, deflated.size() / 2), ZIP_DEFLATED, 1000},
       {"zlib inflate call failed (zerr=-5)\n"}},
      {"unknown method",
       {"f", text, 12, 1000},
       {"Unsupported compression type 12 for entry 'f'\n"}},
      {"stored sizes disagree",
       {"f", text, ZIP_STORED, 2000},
       {"Stored entry 'f' has mismatched sizes (2000 vs 1000)\n"}},
  };
  for (const BadMember& c : cases) {
    SCOPED_TRACE(c.what);
    OpenedZip zip(BuildZip({c.member}).bytes);
    ASSERT_EQ(zip.rc(), 0);
    const ZipEntry* e = mzFindZipEntry(zip.get(), "f");
    std::string out(static_cast<size_t>(e->uncompressed_length), '\0');
    {
      LogCapture log;
      EXPECT_FALSE(
          mzExtractZipEntryToBuffer(zip.get(), e, reinterpret_cast<unsigned char*>(out.data())));
      for (const std::string& m : c.messages) {
        EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, m)) << log.Dump();
      }
      EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "Can't extract entry to memory buffer.\n"));
    }
    {
      LogCapture log;
      std::string big(4096, '\0');
      EXPECT_FALSE(mzReadZipEntry(zip.get(), e, big.data(), static_cast<int>(big.size())));
      for (const std::string& m : c.messages) {
        EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, m)) << log.Dump();
      }
    }
  }
}

class ZipExtract : public DeviceRootTest {
 protected:
  // Maps and opens a device file as an archive.
  bool Open(const std::string& device_path) {
    if (sysMapFile(device_path.c_str(), &map_) != 0) return false;
    mapped_ = true;
    opened_ = mzOpenZipArchive(map_.base, map_.length, &za_) == 0;
    return opened_;
  }
  void Close() {
    if (opened_) mzCloseZipArchive(&za_);
    if (mapped_) sysReleaseMap(&map_);
    opened_ = mapped_ = false;
  }
  void TearDown() override {
    Close();
    DeviceRootTest::TearDown();
  }
  bool Exists(const std::string& device_path) {
    struct stat st;
    return lstat(HostPath(device_path).c_str(), &st) == 0;
  }

  MemoryMap map_ = {};
  ZipArchive za_ = {};
  bool mapped_ = false;
  bool opened_ = false;
};

TEST_F(ZipExtract, ToFileWritesEveryByte) {
  const std::string text = Pattern(200000, 3);
  WriteDeviceFile("/data/a.zip", BuildZip({{"f", RawDeflate(text), ZIP_DEFLATED, 200000}}).bytes);
  ASSERT_TRUE(Open("/data/a.zip"));
  const std::string out = HostPath("/data/out.bin");
  int fd = open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  ASSERT_GE(fd, 0);
  EXPECT_TRUE(mzExtractZipEntryToFile(&za_, mzFindZipEntry(&za_, "f"), fd));
  close(fd);
  EXPECT_EQ(ReadHostFile(out), text);

  LogCapture log;
  fd = open(out.c_str(), O_RDONLY);
  EXPECT_FALSE(mzExtractZipEntryToFile(&za_, mzFindZipEntry(&za_, "f"), fd));
  close(fd);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "Can't extract entry to file.\n")) << log.Dump();
  bool write_error = false;
  for (const LogLine& l : log.Lines()) {
    write_error |= l.text.rfind("Error writing 32768 bytes from zip file from ", 0) == 0 &&
                   l.text.find(": Bad file descriptor") != std::string::npos;
  }
  EXPECT_TRUE(write_error) << log.Dump();
}

// Archives written by Info-ZIP and by Python: every member, stored or deflated, extracted
// through every path, must equal the file it was made from.
TEST_F(ZipExtract, ArchivesFromOtherToolsRoundTrip) {
  const std::string src = HostPath("/src");
  WriteDeviceFile("/src/empty.txt", "");
  WriteDeviceFile("/src/small.txt", "hello zip\n");
  WriteDeviceFile("/src/big.bin", Pattern(300000, 4));
  WriteDeviceFile("/src/sub/deeper/x.txt", Pattern(70000, 5));
  ASSERT_EQ(mkdir((src + "/emptydir").c_str(), 0755), 0);
  ASSERT_EQ(symlink("small.txt", (src + "/link").c_str()), 0);
  ASSERT_EQ(mkdir(HostPath("/data").c_str(), 0755), 0);
  const std::vector<std::string> files = {"empty.txt", "small.txt", "big.bin", "sub/deeper/x.txt"};

  const char* kPython = R"(
import os, sys, zipfile
out, src = sys.argv[1], sys.argv[2]
with zipfile.ZipFile(out, 'w') as z:
    n = 0
    for root, dirs, names in os.walk(src):
        for d in sorted(dirs):
            z.write(os.path.join(root, d), os.path.relpath(os.path.join(root, d), src) + '/')
        for f in sorted(names):
            p = os.path.join(root, f)
            if os.path.islink(p):
                continue
            n += 1
            z.write(p, os.path.relpath(p, src),
                    compress_type=zipfile.ZIP_DEFLATED if n % 2 else zipfile.ZIP_STORED)
)";
  ASSERT_TRUE(RunPython(kPython, {HostPath("/data/py.zip"), src}));
  ASSERT_TRUE(RunShell("cd '" + src + "' && zip -q -r -y '" + HostPath("/data/info.zip") + "' ."));
  ASSERT_TRUE(
      RunShell("cd '" + src + "' && zip -q -r -y -0 '" + HostPath("/data/info0.zip") + "' ."));

  for (const char* archive : {"/data/py.zip", "/data/info.zip", "/data/info0.zip"}) {
    SCOPED_TRACE(archive);
    ASSERT_TRUE(Open(archive));
    for (const std::string& f : files) {
      const ZipEntry* e = mzFindZipEntry(&za_, f.c_str());
      ASSERT_NE(e, nullptr) << f;
      std::string out(static_cast<size_t>(e->uncompressed_length), '\0');
      ASSERT_TRUE(mzExtractZipEntryToBuffer(&za_, e, reinterpret_cast<unsigned char*>(out.data())));
      EXPECT_EQ(out, ReadHostFile(src + "/" + f)) << f;
    }

    const std::string target = std::string("/data/out") + archive;
    std::vector<std::string> reported;
    LogCapture log;
    ASSERT_TRUE(
        mzExtractRecursive(&za_, "", target.c_str(), nullptr, RecordPath, &reported, nullptr));
    for (const std::string& f : files) {
      EXPECT_EQ(ReadDeviceFile(target + "/" + f), ReadHostFile(src + "/" + f)) << f;
      EXPECT_TRUE(Contains(reported, target + "/" + f)) << f;
    }
    if (mzFindZipEntry(&za_, "link") != nullptr) {
      EXPECT_EQ(ReadDeviceFile(target + "/link"), "small.txt");
      EXPECT_TRUE(
          log.Has(ANDROID_LOG_ERROR, "Symlink entry \"link\" will be output as a regular file."))
          << log.Dump();
    }
    // Directory entries are reported, but an empty one is not made.
    EXPECT_TRUE(Contains(reported, target + "/emptydir/"));
    EXPECT_FALSE(Exists(target + "/emptydir"));
    Close();
  }
  ASSERT_TRUE(Open("/data/info.zip"));
  EXPECT_NE(mzFindZipEntry(&za_, "link"), nullptr) << "zip -y stores the link itself";
}

TEST_F(ZipExtract, RecursiveTakesOneDirectoryAndStampsIt) {
  WriteDeviceFile("/data/a.zip", BuildZip({{"top.txt", "top"},
                                           {"ab", "ab"},
                                           {"a/c/d.txt", RawDeflate("deep"), ZIP_DEFLATED, 4},
                                           {"a/", ""},
                                           {"a/b", "b"}})
                                     .bytes);
  ASSERT_TRUE(Open("/data/a.zip"));
  const struct utimbuf stamp = {1000000000, 1234567890};
  std::vector<std::string> reported;
  LogCapture log;
  ASSERT_TRUE(mzExtractRecursive(&za_, "a", "/data/out", &stamp, RecordPath, &reported, nullptr));
  EXPECT_EQ(reported, (std::vector<std::string>{"/data/out/", "/data/out/b", "/data/out/c/d.txt"}));
  EXPECT_EQ(ReadDeviceFile("/data/out/b"), "b");
  EXPECT_EQ(ReadDeviceFile("/data/out/c/d.txt"), "deep");
  EXPECT_FALSE(Exists("/data/out/ab"));
  EXPECT_FALSE(Exists("/data/out/top.txt"));
  EXPECT_TRUE(log.Has(ANDROID_LOG_VERBOSE, "Extracted 2 file(s)\n")) << log.Dump();
  for (const char* p : {"/data/out/b", "/data/out/c/d.txt"}) {
    struct stat st;
    ASSERT_EQ(stat(HostPath(p).c_str(), &st), 0) << p;
    EXPECT_EQ(st.st_mtime, 1234567890) << p;
  }
  struct stat st;
  ASSERT_EQ(stat(HostPath("/data/out/b").c_str(), &st), 0);
  EXPECT_EQ(st.st_mode & 0777, 0644u);

  // A trailing slash on either side changes nothing.
  ASSERT_TRUE(mzExtractRecursive(&za_, "a/", "/data/out2/", nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(ReadDeviceFile("/data/out2/c/d.txt"), "deep");
}

TEST_F(ZipExtract, RecursiveRefusesBadArguments) {
  WriteDeviceFile("/data/a.zip", BuildZip({{"f", "x"}}).bytes);
  ASSERT_TRUE(Open("/data/a.zip"));
  LogCapture log;
  EXPECT_FALSE(mzExtractRecursive(&za_, "/abs", "/data/out", nullptr, nullptr, nullptr, nullptr));
  EXPECT_TRUE(
      log.Has(ANDROID_LOG_ERROR, "mzExtractRecursive(): zipDir must be a relative path.\n"));
  EXPECT_FALSE(mzExtractRecursive(&za_, "", "data/out", nullptr, nullptr, nullptr, nullptr));
  EXPECT_TRUE(
      log.Has(ANDROID_LOG_ERROR, "mzExtractRecursive(): targetDir must be an absolute path.\n"));
  EXPECT_FALSE(Exists("/data/out"));
}

TEST_F(ZipExtract, RecursiveRefusesMembersLandingOutsideTheTarget) {
  const struct {
    const char* zip_dir;
    std::vector<Member> members;
  } cases[] = {
      {"", {{"good.txt", "g"}, {"../evil", "x"}}},
      {"", {{"good.txt", "g"}, {"/evil", "x"}}},
      {"", {{"good.txt", "g"}, {"sub/../../evil", "x"}}},
      {"", {{"good.txt", "g"}, {"../", ""}}},
      {"a", {{"a/good.txt", "g"}, {"a/../../evil", "x"}}},
      {"a", {{"a/good.txt", "g"}, {"a//evil", "x"}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.members[1].name);
    WriteDeviceFile("/data/in/a.zip", BuildZip(c.members).bytes);
    ASSERT_TRUE(Open("/data/in/a.zip"));
    LogCapture log;
    EXPECT_FALSE(
        mzExtractRecursive(&za_, c.zip_dir, "/data/in/out", nullptr, nullptr, nullptr, nullptr));
    bool refused = false;
    for (const LogLine& l : log.Lines()) refused |= l.text.rfind("Refusing to extract", 0) == 0;
    EXPECT_TRUE(refused) << log.Dump();
    EXPECT_FALSE(Exists("/data/in/out")) << "nothing is written, not even the good member";
    EXPECT_FALSE(Exists("/data/evil"));
    EXPECT_FALSE(Exists("/evil"));
    Close();
  }

  // Dots that are not a whole component are ordinary names.
  WriteDeviceFile("/data/in/b.zip",
                  BuildZip({{"a..b", "1"}, {"..hidden", "2"}, {"x/.../y", "3"}}).bytes);
  ASSERT_TRUE(Open("/data/in/b.zip"));
  ASSERT_TRUE(mzExtractRecursive(&za_, "", "/data/in/out", nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(ReadDeviceFile("/data/in/out/a..b"), "1");
  EXPECT_EQ(ReadDeviceFile("/data/in/out/..hidden"), "2");
  EXPECT_EQ(ReadDeviceFile("/data/in/out/x/.../y"), "3");
}

TEST_F(ZipExtract, FailedMemberStopsTheWalk) {
  WriteDeviceFile(
      "/data/a.zip",
      BuildZip({{"1", "one"}, {"2", std::string(20, '\xff'), ZIP_DEFLATED, 100}, {"3", "three"}})
          .bytes);
  ASSERT_TRUE(Open("/data/a.zip"));
  LogCapture log;
  EXPECT_TRUE(mzExtractRecursive(&za_, "", "/data/out", nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(ReadDeviceFile("/data/out/1"), "one");
  EXPECT_FALSE(Exists("/data/out/3"));
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "Error extracting \"/data/out/2\"\n")) << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_VERBOSE, "Extracted 1 file(s)\n")) << log.Dump();
  Close();

  // A member whose directory is already a file cannot be placed at all.
  WriteDeviceFile("/data/b.zip", BuildZip({{"f", "file"}, {"f/g", "under a file"}}).bytes);
  ASSERT_TRUE(Open("/data/b.zip"));
  EXPECT_FALSE(mzExtractRecursive(&za_, "", "/data/out", nullptr, nullptr, nullptr, nullptr));
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR,
                      "Can't create containing directory for \"/data/out/f/g\": Not a directory\n"))
      << log.Dump();
}

}  // namespace
}  // namespace orba::test
