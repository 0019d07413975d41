#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>
#include <string>
#include <vector>

#include "support/device_root.h"
#include "support/subprocess.h"

namespace {

using orba::test::BinPath;
using orba::test::RunProgram;

class CliTest : public orba::test::DeviceRootTest {
 protected:
  orba::test::ProgramResult Cli(std::vector<std::string> args) {
    args.insert(args.begin(), {BinPath("orbafactory"), "--root", root()});
    return RunProgram(args);
  }
  std::string HostOutput(const std::string& command) {
    return RunProgram({"/bin/sh", "-c", command}).out;
  }
};

TEST_F(CliTest, UsageErrorsAndHelp) {
  struct Case {
    std::vector<std::string> args;
    int status;
    const char* stream_text;  // expected in stdout (status 0) or stderr
  };
  const std::vector<Case> cases = {
      {{"--help"}, 0, "families:"},
      {{"zip", "--help"}, 0, "zip extract FILE [DIR]"},
      {{"nosuch"}, 2, "no family 'nosuch'"},
      {{"zip", "nosuch"}, 2, "no command 'zip nosuch'"},
      {{"zip", "list"}, 2, "usage: orbafactory zip list FILE"},
      {{"md5"}, 2, "usage: orbafactory md5 FILE..."},
      {{"--bogus"}, 2, "unknown option --bogus"},
  };
  for (const Case& c : cases) {
    auto r = Cli(c.args);
    EXPECT_EQ(r.status, c.status) << c.args[0];
    const std::string& text = c.status == 0 ? r.out : r.err;
    EXPECT_NE(text.find(c.stream_text), std::string::npos) << text;
  }
}

TEST_F(CliTest, NoDeviceIsItsOwnExitStatus) {
  unsetenv("ORBA_DEVICE_ROOT");
  auto r = RunProgram({BinPath("orbafactory"), "md5", "/etc/passwd"});
  setenv("ORBA_DEVICE_ROOT", root().c_str(), 1);
  EXPECT_EQ(r.status, 3);
  EXPECT_NE(r.err.find("orbafactory-sim init"), std::string::npos) << r.err;
  EXPECT_EQ(r.out, "");
}

TEST_F(CliTest, APartitionImageNeedsNoDevice) {
  std::string image = root() + "/pulled.img";
  std::ofstream(image, std::ios::binary) << std::string(64 * 1024, '\xff');  // erased flash
  unsetenv("ORBA_DEVICE_ROOT");
  auto r = RunProgram({BinPath("orbafactory"), "nv", "get", "xole_sv", "--image", image});
  auto without = RunProgram({BinPath("orbafactory"), "nv", "get", "xole_sv"});
  setenv("ORBA_DEVICE_ROOT", root().c_str(), 1);
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "xole\n");
  EXPECT_EQ(without.status, 3);
}

TEST_F(CliTest, DigestsMatchTheStandardTools) {
  std::string data;
  for (int i = 0; i < 5000; ++i) data += std::to_string(i * 7919) + "\n";
  WriteDeviceFile("/data/local/tmp/blob", data);
  std::string host = HostPath("/data/local/tmp/blob");
  std::string md5 = HostOutput("md5sum < '" + host + "'").substr(0, 32);
  std::string sha = HostOutput("sha256sum < '" + host + "'").substr(0, 64);
  EXPECT_EQ(Cli({"md5", "/data/local/tmp/blob"}).out,
            "path=/data/local/tmp/blob md5=" + md5 + "\n");
  EXPECT_EQ(Cli({"sha256", "/data/local/tmp/blob"}).out,
            "path=/data/local/tmp/blob sha256=" + sha + "\n");
  auto missing = Cli({"md5", "/data/local/tmp/blob", "/no/such"});
  EXPECT_EQ(missing.status, 1);  // the good file is still reported
  EXPECT_EQ(missing.out, "path=/data/local/tmp/blob md5=" + md5 + "\n");
}

TEST_F(CliTest, ZipRoundTripThroughInfoZip) {
  WriteDeviceFile("/data/local/tmp/src/a.txt", "alpha\n");
  WriteDeviceFile("/data/local/tmp/src/sub/b.bin", std::string(100000, 'b'));
  ASSERT_EQ(RunProgram({"/bin/sh", "-c",
                        "cd '" + HostPath("/data/local/tmp/src") + "' && zip -qr ../t.zip a.txt sub"})
                .status,
            0);
  auto list = Cli({"zip", "list", "/data/local/tmp/t.zip"});
  ASSERT_EQ(list.status, 0) << list.err;
  EXPECT_NE(list.out.find("name=sub/b.bin size=100000 compressed_size="), std::string::npos)
      << list.out;
  EXPECT_NE(list.out.find(" method=deflated crc32="), std::string::npos) << list.out;
  EXPECT_EQ(Cli({"zip", "test", "/data/local/tmp/t.zip"}).status, 0);
  auto extract = Cli({"zip", "extract", "/data/local/tmp/t.zip", "/data/local/tmp/out"});
  ASSERT_EQ(extract.status, 0) << extract.err;
  EXPECT_EQ(ReadDeviceFile("/data/local/tmp/out/sub/b.bin"), std::string(100000, 'b'));
  EXPECT_EQ(ReadDeviceFile("/data/local/tmp/out/a.txt"), "alpha\n");
  EXPECT_EQ(Cli({"zip", "extract", "/data/local/tmp/t.zip", "relative"}).status, 2);

  WriteDeviceFile("/data/local/tmp/junk.zip", "this is not an archive at all");
  EXPECT_EQ(Cli({"zip", "list", "/data/local/tmp/junk.zip"}).status, 1);
}

TEST_F(CliTest, AMemberCutShortLeavesNoFileUnderItsName) {
  ASSERT_EQ(RunProgram({"/bin/sh", "-c",
                        "mkdir -p '" + HostPath("/data/local/tmp/src") + "' && cd '" +
                            HostPath("/data/local/tmp/src") +
                            "' && seq 1 200000 > big.txt && zip -q ../t.zip big.txt"})
                .status,
            0);
  // Bytes of the compressed stream changed a good way in: the member fails after much of it
  // has been written.
  ASSERT_EQ(RunProgram({"/bin/sh", "-c",
                        "printf yyyy | dd of='" + HostPath("/data/local/tmp/t.zip") +
                            "' bs=1 seek=150000 conv=notrunc status=none"})
                .status,
            0);
  auto extract = Cli({"zip", "extract", "/data/local/tmp/t.zip", "/data/local/tmp/out"});
  EXPECT_EQ(extract.status, 1) << extract.out;
  // Neither the member's name nor a temporary file beside it.
  EXPECT_EQ(HostOutput("ls -A '" + HostPath("/data/local/tmp/out") + "'"), "");
}

}  // namespace
