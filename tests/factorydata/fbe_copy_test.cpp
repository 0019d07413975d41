// The copy family on real files: bytes, owner, mode and build-date stamps of what it places.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <orbafactory/factorydata.h>
#include <platform/host/device_init.h>

#include "factorydata_fixture.h"
#include "support/log_capture.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

// The profile's build date, as placed files carry it.
time_t BuildStamp(time_t utc) {
  struct tm fields;
  gmtime_r(&utc, &fields);
  return mktime(&fields);
}

std::string Pattern(size_t n) {
  std::string s(n, '\0');
  for (size_t i = 0; i < n; ++i) s[i] = static_cast<char>((i * 131 + i / 977) & 0xff);
  return s;
}

const std::string kZipHead("PK\x03\x04", 4);

class CopyTest : public FactoryDataTest {
 protected:
  // Owner, group, mode and times of a placed file.
  void ExpectPlaced(const std::string& device_path, bool directory = false) {
    struct stat st;
    ASSERT_EQ(stat(HostPath(device_path).c_str(), &st), 0) << device_path;
    EXPECT_EQ(st.st_uid, 1023u) << device_path;
    EXPECT_EQ(st.st_gid, 1023u) << device_path;
    EXPECT_EQ(st.st_mode & 07777, 0775u) << device_path;
    EXPECT_EQ(S_ISDIR(st.st_mode), directory) << device_path;
    if (!directory) {
      EXPECT_EQ(st.st_mtime, BuildStamp(1767225600)) << device_path;
      EXPECT_EQ(st.st_atime, BuildStamp(1767225600)) << device_path;
    }
  }
  bool Exists(const std::string& device_path) {
    return access(HostPath(device_path).c_str(), F_OK) == 0;
  }
  int CopyLines(const LogCapture& log) {
    int n = 0;
    for (const LogLine& l : log.Lines()) {
      if (l.priority == ANDROID_LOG_ERROR && l.text.rfind("copy ", 0) == 0) ++n;
    }
    return n;
  }
};

TEST_F(CopyTest, CopyAndCheckPlacesFiles) {
  struct Case {
    const char* name;
    std::string content;
    int remove_src;
    int copies;  // how many times the file is copied
  };
  const std::vector<Case> cases = {
      {"text.txt", "hello\n", 1, 1},
      {"empty.bin", "", 0, 1},
      {"big.bin", Pattern(3 * 1024 * 1024 + 7), 1, 1},
      {"good.zip", kZipHead + Pattern(5000), 1, 1},
      {"corrupt.zip", "not an archive at all", 1, 2},
      {"kept.zip", "ABCD", 2, 2},  // only bit 0 asks for removal
  };
  for (const Case& c : cases) {
    const std::string src = std::string("/data/staged/") + c.name;
    const std::string dst = std::string("/sdcard/placed/") + c.name;
    WriteDeviceFile(src, c.content);
    WriteStorage(std::string("placed/") + c.name, "old contents, longer than some sources");
    LogCapture log;
    EXPECT_EQ(fbe_copy_file_and_check(src.c_str(), dst.c_str(), c.remove_src), 0) << c.name;
    ExpectPlaced(dst);  // before reading: a read moves the access time
    EXPECT_EQ(ReadDeviceFile(dst), c.content) << c.name;
    EXPECT_EQ(Exists(src), (c.remove_src & 1) == 0) << c.name;
    EXPECT_EQ(CopyLines(log), c.copies) << c.name << log.Dump();
  }
}

TEST_F(CopyTest, ZipSignature) {
  WriteDeviceFile("/data/a.zip", kZipHead + "rest");
  WriteDeviceFile("/data/b.zip", "ABCDrest");
  WriteDeviceFile("/data/short.zip", "P");
  WriteDeviceFile("/data/empty.zip", "");
  WriteDeviceFile("/data/plain.txt", "ABCD");
  struct Case {
    const char* path;
    int rc;
    const char* message;
  };
  const Case cases[] = {
      {"/data/a.zip", 0, "ok"},
      {"/data/b.zip", -1, "Not a Zip archive (found 0x44434241)"},
      {"/data/short.zip", -1, "Not a Zip archive (found 0x00000050)"},
      {"/data/empty.zip", -1, "read /data/empty.zip Error:end of file"},
      {"/data/none.zip", -1, "open /data/none.zip, error:No such file or directory"},
      {"/data/plain.txt", 0, nullptr},
      {"/data/none.txt", 0, nullptr},
  };
  for (const Case& c : cases) {
    LogCapture log;
    EXPECT_EQ(ckeck_zip_signature(c.path), c.rc) << c.path;
    if (c.message != nullptr) {
      EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, c.message)) << log.Dump();
    }
  }
}

TEST_F(CopyTest, FbeCopyFileEdges) {
  // A missing source is not an error, and leaves the destination alone.
  WriteStorage("keep.txt", "mine");
  EXPECT_EQ(fbe_copy_file("/data/none", "/sdcard/keep.txt"), 0);
  EXPECT_EQ(ReadDeviceFile("/sdcard/keep.txt"), "mine");
  // A destination that cannot be created fails.
  WriteDeviceFile("/data/src", "data");
  EXPECT_EQ(fbe_copy_file("/data/src", "/sdcard/no/such/dir/f"), -1);
  // A move whose copy failed keeps its source.
  WriteStorage("taken/inside", "x");
  EXPECT_EQ(fbe_copy_file_and_check("/data/src", "/sdcard/taken", 1), 0);
  EXPECT_EQ(ReadDeviceFile("/data/src"), "data");
  // A file copied onto itself survives.
  EXPECT_EQ(fbe_copy_file("/data/src", "/data/src"), 0);
  EXPECT_EQ(ReadDeviceFile("/data/src"), "data");
}

TEST_F(CopyTest, BuildDateAndSizes) {
  WriteDeviceFile("/data/f", "12345");
  struct Case {
    const char* value;
    time_t utc;
  };
  for (const Case& c : {Case{"1767225600", 1767225600}, Case{"", 1384936600},
                        Case{"1000000000", 1000000000}}) {
    ASSERT_EQ(orba_init_property_set("ro.build.date.utc", c.value), 0);
    EXPECT_EQ(fbe_set_build_date("/data/f"), 0);
    struct stat st;
    ASSERT_EQ(stat(HostPath("/data/f").c_str(), &st), 0);
    EXPECT_EQ(st.st_mtime, BuildStamp(c.utc)) << c.value;
    EXPECT_EQ(st.st_atime, BuildStamp(c.utc)) << c.value;
  }
  EXPECT_EQ(fbe_set_build_date("/data/none"), -1);
  EXPECT_NE(fbe_set_file_permission("/data/none"), 0);
  EXPECT_EQ(get_file_size("/data/f"), 5);
  EXPECT_EQ(get_file_size("/data/none"), 0);
}

TEST_F(CopyTest, CopyBeforeInitMovesTheFile) {
  WriteDeviceFile("/data/staged/v.mp4", Pattern(70000));
  EXPECT_EQ(copy_files_before_init("/data/staged/v.mp4", "/sdcard/v.mp4"), 0);
  ExpectPlaced("/sdcard/v.mp4");
  EXPECT_EQ(ReadDeviceFile("/sdcard/v.mp4"), Pattern(70000));
  EXPECT_FALSE(Exists("/data/staged/v.mp4"));
  // Nothing to move: the source's removal is what fails.
  EXPECT_EQ(copy_files_before_init("/data/staged/v.mp4", "/sdcard/w.mp4"), -1);
}

TEST_F(CopyTest, CopyFileLoopMovesATree) {
  WriteDeviceFile("/data/stage/a.txt", "a");
  WriteDeviceFile("/data/stage/sub/b.zip", kZipHead + "b");
  WriteDeviceFile("/data/stage/sub/deeper/c.bin", Pattern(1500000));
  ASSERT_EQ(mkdir(HostPath("/data/stage/empty").c_str(), 0755), 0);
  LogCapture log;
  ASSERT_EQ(mkdir(HostPath("/data/media/0/tree").c_str(), 0755), 0);
  EXPECT_EQ(copy_file_loop("/data/stage", "/sdcard/tree"), 0);
  for (const char* f : {"/sdcard/tree/a.txt", "/sdcard/tree/sub/b.zip",
                        "/sdcard/tree/sub/deeper/c.bin"}) {
    ExpectPlaced(f);
  }
  EXPECT_EQ(ReadDeviceFile("/sdcard/tree/a.txt"), "a");
  EXPECT_EQ(ReadDeviceFile("/sdcard/tree/sub/b.zip"), kZipHead + "b");
  EXPECT_EQ(ReadDeviceFile("/sdcard/tree/sub/deeper/c.bin"), Pattern(1500000));
  for (const char* d : {"/sdcard/tree/sub", "/sdcard/tree/sub/deeper", "/sdcard/tree/empty"}) {
    ExpectPlaced(d, true);
  }
  EXPECT_FALSE(Exists("/data/stage"));
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "/data/stage/empty is empty")) << log.Dump();
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "enter src_dir: /data/stage/sub/deeper"));

  EXPECT_EQ(copy_file_loop("/data/stage", "/sdcard/tree"), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG,
                      "access /data/stage error:No such file or directory"));
}

TEST_F(CopyTest, CopyFileLoopCountsAFailedCopy) {
  WriteDeviceFile("/data/stage/a.txt", "a");
  // The destination name is taken by a directory that is not empty: the copy cannot happen.
  WriteStorage("tree/a.txt/occupied", "x");
  EXPECT_EQ(copy_file_loop("/data/stage", "/sdcard/tree"), 0);
  EXPECT_EQ(ReadDeviceFile("/data/stage/a.txt"), "a");
}

TEST_F(CopyTest, CopyFileTranverseMakesParents) {
  WriteDeviceFile("/data/s.txt", "s");
  LogCapture log;
  EXPECT_EQ(copy_file_tranverse("/data/s.txt", "/sdcard/a/b/c.txt", 1), 0);
  ExpectPlaced("/sdcard/a/b/c.txt");
  EXPECT_EQ(ReadDeviceFile("/sdcard/a/b/c.txt"), "s");
  ExpectPlaced("/sdcard/a", true);
  ExpectPlaced("/sdcard/a/b", true);
  EXPECT_FALSE(Exists("/data/s.txt"));
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "parser begin, continue;"));
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "mkdir /sdcard/a/b"));
  EXPECT_FALSE(log.Has(ANDROID_LOG_DEBUG, "mkdir /sdcard"));  // exists already
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG,
                      "src_path:/data/s.txt, dest_path:/sdcard/a/b/c.txt, remove_src:1, ret:0"));

  EXPECT_EQ(copy_file_tranverse("/data/s.txt", "plain", 0), -1);
  EXPECT_EQ(copy_file_tranverse("/data/s.txt", ("/sdcard/" + std::string(250, 'n')).c_str(), 0),
            -1);
}

TEST_F(CopyTest, PlainCopy) {
  for (size_t n : {size_t{0}, size_t{2048}, size_t{5000}}) {
    WriteDeviceFile("/data/p", Pattern(n));
    WriteDeviceFile("/data/q", std::string(9000, 'z'));
    EXPECT_EQ(copy_file("/data/p", "/data/q"), 0) << n;
    EXPECT_EQ(ReadDeviceFile("/data/q"), Pattern(n)) << n;
    struct stat st;
    ASSERT_EQ(stat(HostPath("/data/q").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0775u);
  }
  EXPECT_EQ(copy_file("/data/none", "/data/q"), -1);
  EXPECT_EQ(copy_file("/data/p", "/data/no/dir/q"), -1);
  EXPECT_EQ(copy_file("/data/p", "/data/p"), -1);
  EXPECT_EQ(ReadDeviceFile("/data/p"), Pattern(5000));
}

TEST_F(CopyTest, UnzipOneMember) {
  const std::string zip = HostPath("/data/a.zip");
  ProgramResult made = RunProgram(
      {"/usr/bin/python3", "-c",
       "import sys, zipfile\n"
       "z = zipfile.ZipFile(sys.argv[1], 'w')\n"
       "z.writestr('dir/inner.txt', 'inner ' * 1000, zipfile.ZIP_DEFLATED)\n"
       "z.writestr('top.txt', 'top', zipfile.ZIP_STORED)\n"
       "z.close()\n",
       zip});
  ASSERT_EQ(made.status, 0) << made.err;
  std::string inner;
  for (int i = 0; i < 1000; ++i) inner += "inner ";

  EXPECT_EQ(upzip_file("/data/a.zip", "dir/inner.txt", "/data/out.txt"), 0);
  EXPECT_EQ(ReadDeviceFile("/data/out.txt"), inner);
  // The target is not truncated first.
  EXPECT_EQ(upzip_file("/data/a.zip", "top.txt", "/data/out.txt"), 0);
  EXPECT_EQ(ReadDeviceFile("/data/out.txt"), "top" + inner.substr(3));

  LogCapture log;
  EXPECT_EQ(upzip_file("/data/a.zip", "inner.txt", "/data/x"), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "mzFindZipEntry inner.txt error\n"));
  EXPECT_EQ(upzip_file("/data/none.zip", "top.txt", "/data/x"), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_DEBUG, "failed to map file /data/none.zip\n"));
  WriteDeviceFile("/data/bad.zip", "not a zip file, long enough to be looked at........");
  EXPECT_EQ(upzip_file("/data/bad.zip", "top.txt", "/data/x"), -1);
  EXPECT_TRUE(log.Has(ANDROID_LOG_ERROR, "Can't open /data/bad.zip\n(bad)\n")) << log.Dump();
  EXPECT_EQ(upzip_file("/data/a.zip", "top.txt", "/data/no/dir/x"), -1);
  EXPECT_FALSE(Exists("/data/x"));
}

}  // namespace
}  // namespace orba::test
