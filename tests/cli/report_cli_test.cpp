// What orbafactory tells a user while and after it works: byte progress on a terminal (and none
// into a pipe), and failures that name their cause, where a device path resolved, and how to
// reach a host file given by mistake.

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <regex>
#include <string>
#include <vector>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace {

using orba::test::BinPath;
using orba::test::RunProgram;

class ReportCliTest : public orba::test::DeviceRootTest {
 protected:
  std::vector<std::string> Command(std::vector<std::string> args) const {
    args.insert(args.begin(), {BinPath("orbafactory"), "--root", root()});
    return args;
  }
  orba::test::ProgramResult Cli(std::vector<std::string> args) const {
    return RunProgram(Command(std::move(args)));
  }
  // A stored (uncompressed) archive at a device path, of the named device files.
  void MakeArchive(const std::string& zip, const std::string& dir,
                   const std::vector<std::string>& members) {
    std::string list;
    for (const std::string& m : members) list += " '" + m + "'";
    ASSERT_EQ(RunProgram({"/bin/sh", "-c",
                          "cd '" + HostPath(dir) + "' && zip -q -0 '" + HostPath(zip) + "'" + list})
                  .status,
              0);
  }
  // The frames a terminal was sent: each redraw starts with "\r" and ends erasing the line.
  static std::vector<std::string> Frames(const std::string& tty) {
    std::vector<std::string> frames;
    static const std::regex kFrame("\r([^\r\n]*)\x1b\\[K");
    for (std::sregex_iterator it(tty.begin(), tty.end(), kFrame), end; it != end; ++it) {
      frames.push_back((*it)[1]);
    }
    return frames;
  }
};

TEST_F(ReportCliTest, ExtractionShowsBytesPerMemberAndForTheRunOnATerminalOnly) {
  WriteDeviceFile("/data/in/big.bin", std::string(3 << 20, 'a'));
  WriteDeviceFile("/data/in/mid.bin", std::string(1 << 20, 'b'));
  WriteDeviceFile("/data/in/z.txt", "tail\n");
  MakeArchive("/data/a.zip", "/data/in", {"big.bin", "mid.bin", "z.txt"});

  auto tty =
      orba::test::RunOnTerminal(Command({"zip", "extract", "/data/a.zip", "/data/out"}), 200);
  ASSERT_EQ(tty.status, 0) << tty.err;
  std::vector<std::string> frames = Frames(tty.out);
  ASSERT_FALSE(frames.empty()) << tty.out;
  // The last frame is the finished run: the last member whole, and every byte of the run.
  EXPECT_TRUE(std::regex_match(frames.back(),
                               std::regex("extracting 3/3 z\\.txt 5/5 B .* \\| all 4\\.0/4\\.0 MiB "
                                          "[0-9.]+ [KMG]iB/s 0:00 left")))
      << frames.back();
  for (const std::string& f : frames) {
    EXPECT_TRUE(std::regex_search(f, std::regex("^extracting [123]/3 (big|mid|z)\\.")))
        << f;  // a member in hand, never one past the end
  }
  EXPECT_NE(tty.out.find("path=/data/out files=3 size=4194309 seconds="), std::string::npos)
      << tty.out;
  EXPECT_EQ(ReadDeviceFile("/data/out/big.bin").size(), 3u << 20);

  auto piped = Cli({"zip", "extract", "/data/a.zip", "/data/out2"});
  ASSERT_EQ(piped.status, 0) << piped.err;
  EXPECT_TRUE(
      std::regex_match(piped.out, std::regex("path=/data/out2 files=3 size=4194309 "
                                             "seconds=[0-9]+\\.[0-9]\n")))
      << piped.out;
  EXPECT_EQ(piped.err, "");
}

TEST_F(ReportCliTest, CopyProgressFitsANarrowTerminal) {
  WriteDeviceFile("/data/staged/a/long-name-of-a-firmware-image.bin", std::string(2 << 20, 'f'));
  WriteDeviceFile("/data/staged/b.bin", std::string(1 << 20, 'g'));
  WriteDeviceFile("/data/one.bin", std::string(1 << 20, 'o'));
  ASSERT_EQ(mkdir(HostPath("/data/placed").c_str(), 0755), 0);

  struct Case {
    std::vector<std::string> args;
    unsigned short columns;
    const char* last_frame;  // regex
  };
  const std::vector<Case> cases = {
      {{"copy", "file", "/data/one.bin", "/data/two.bin"},
       120,
       "copying /data/one\\.bin 1\\.0/1\\.0 MiB [0-9.]+ [KMG]iB/s 0:00 left"},
      {{"copy", "tree", "/data/staged", "/data/placed"},
       60,
       "2/2 .* \\| all 3\\.0/3\\.0 MiB [0-9.]+ [KMG]iB/s 0:00 left"},
  };
  for (const Case& c : cases) {
    auto r = orba::test::RunOnTerminal(Command(c.args), c.columns);
    ASSERT_EQ(r.status, 0) << c.args[1] << ": " << r.err;
    std::vector<std::string> frames = Frames(r.out);
    ASSERT_FALSE(frames.empty()) << r.out;
    EXPECT_TRUE(std::regex_match(frames.back(), std::regex(c.last_frame))) << frames.back();
    for (const std::string& f : frames) EXPECT_LT(f.size(), c.columns) << f;
  }
  EXPECT_EQ(ReadDeviceFile("/data/placed/a/long-name-of-a-firmware-image.bin").size(), 2u << 20);
}

// A file that exists on the host at an absolute path, but not in the device.
class HostFile {
 public:
  explicit HostFile(const std::string& content) {
    char templ[] = "/tmp/orba-host-XXXXXX";
    int fd = mkstemp(templ);
    path_ = templ;
    if (fd >= 0) {
      if (write(fd, content.data(), content.size()) != static_cast<ssize_t>(content.size())) {
        path_.clear();
      }
      close(fd);
    }
  }
  ~HostFile() { unlink(path_.c_str()); }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

TEST_F(ReportCliTest, FailuresNameTheCauseAndWhereThePathResolved) {
  WriteDeviceFile("/data/local/tmp/junk.zip", "this is not an archive at all");
  WriteDeviceFile("/data/local/tmp/plain", "x");
  WriteDeviceFile("/data/local/tmp/src/f.txt", "f");
  struct Case {
    std::vector<std::string> args;
    std::vector<std::string> said;  // all in stderr, in this order
  };
  const std::vector<Case> cases = {
      {{"zip", "list", "/data/nosuch.zip"},
       {"orbafactory: zip list: cannot map /data/nosuch.zip: No such file or directory\n",
        "  device path /data/nosuch.zip resolves to " + root() +
            "/data/nosuch.zip on this host\n"}},
      {{"zip", "test", "/data"}, {"zip test: cannot map /data: Is a directory\n"}},
      // The library's own reason, which the log would have shown with -v.
      {{"zip", "list", "/data/local/tmp/junk.zip"},
       {"zip list: /data/local/tmp/junk.zip is not a valid archive: "}},
      {{"zip", "extract", "/data/local/tmp/junk.zip", "/data/out"}, {"is not a valid archive: "}},
      {{"copy", "file", "/data/local/tmp/plain", "/nodir/x"},
       {"copy file: /data/local/tmp/plain -> /nodir/x failed: /nodir: No such file or directory\n",
        "  device path /nodir/x resolves to " + root() + "/nodir/x on this host\n"}},
      // A file where the target directory should be.
      {{"zip", "extract", "/data/local/tmp/a.zip", "/data/local/tmp/plain/sub"},
       {"zip extract: 0 of 1 files extracted into /data/local/tmp/plain/sub: "
        "/data/local/tmp/plain: Not a directory\n"}},
      // Moved files are gone from the staged tree; the one that could not move is still there.
      {{"copy", "tree", "/data/local/tmp/src", "/data/missing"},
       {"copy tree: 1 of 1 files not moved into /data/missing (they stay in /data/local/tmp/src): "
        "/data/missing: No such file or directory\n"}},
  };
  MakeArchive("/data/local/tmp/a.zip", "/data/local/tmp", {"plain"});
  for (const Case& c : cases) {
    auto r = Cli(c.args);
    EXPECT_EQ(r.status, 1) << c.args[0] << " " << c.args[1] << ": " << r.err;
    size_t at = 0;
    for (const std::string& text : c.said) {
      size_t found = r.err.find(text, at);
      EXPECT_NE(found, std::string::npos) << "wanted: " << text << "\ngot: " << r.err;
      if (found != std::string::npos) at = found + text.size();
    }
    EXPECT_EQ(r.err.find("note:"), std::string::npos) << r.err;  // not host paths
    EXPECT_EQ(r.err.find("no cause was logged"), std::string::npos) << r.err;
  }
  EXPECT_EQ(ReadDeviceFile("/data/local/tmp/src/f.txt"), "f");
}

TEST_F(ReportCliTest, AHostPathGetsHowToReachIt) {
  HostFile host("not in the device");
  ASSERT_FALSE(host.path().empty());
  auto r = Cli({"md5", host.path()});
  EXPECT_EQ(r.status, 1);
  const std::string& p = host.path();
  const std::string name = p.substr(p.rfind('/') + 1);
  for (const std::string& text : {
           "md5: cannot read " + p + ": No such file or directory\n",
           "  device path " + p + " resolves to " + root() + p + " on this host\n",
           "device paths, which lie under the simulated device's root " + root(),
           "cp " + p + " " + root() + "/data/local/tmp/ and give /data/local/tmp/" + name + "\n",
       }) {
    EXPECT_NE(r.err.find(text), std::string::npos) << "wanted: " << text << "\ngot: " << r.err;
  }

  // The relative path it suggests reaches the host file from where the command was given.
  std::smatch m;
  ASSERT_TRUE(std::regex_search(r.err, m, std::regex("as a relative path \\(([^)]+)\\)"))) << r.err;
  auto again = Cli({"md5", m[1]});
  EXPECT_EQ(again.status, 0) << again.err;
  const std::string digest = again.out.substr(again.out.rfind("md5=") + 4, 32);
  EXPECT_EQ(digest, RunProgram({"/bin/sh", "-c", "md5sum < '" + p + "'"}).out.substr(0, 32));
}

}  // namespace
