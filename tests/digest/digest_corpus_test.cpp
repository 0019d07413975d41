// A random corpus checked against the system's sha256sum and md5sum, run as real processes,
// through the exported functions and through every SHA-256 block path this CPU can run.

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "digest_test_util.h"
#include "support/device_root.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

class DigestCorpusTest : public DeviceRootTest {};

// path -> digest, from the "<hex>  <path>" lines of the coreutils tools.
std::map<std::string, std::string> RunSumTool(const char* tool, const std::vector<std::string>& paths) {
  std::vector<std::string> argv = {tool};
  argv.insert(argv.end(), paths.begin(), paths.end());
  const ProgramResult r = RunProgram(argv);
  EXPECT_EQ(r.status, 0) << tool << ": " << r.err;
  std::map<std::string, std::string> sums;
  std::istringstream in(r.out);
  std::string hex, path;
  while (in >> hex >> path) sums[path] = hex;
  return sums;
}

TEST_F(DigestCorpusTest, MatchesCoreutilsOnRandomFiles) {
  std::mt19937 rng(20261122);
  std::vector<size_t> sizes = {0, 1, 55, 56, 57, 63, 64, 65, 119, 120, 127, 128,
                               10239, 10240, 10241, 20487, (1u << 20) + 3};
  for (int i = 0; i < 40; ++i) sizes.push_back(std::uniform_int_distribution<size_t>(0, 70000)(rng));

  std::vector<std::string> device_paths, host_paths, contents;
  for (size_t i = 0; i < sizes.size(); ++i) {
    std::string data(sizes[i], '\0');
    for (char& c : data) c = static_cast<char>(rng());
    device_paths.push_back("/data/corpus/f" + std::to_string(i));
    host_paths.push_back(HostPath(device_paths.back()));
    WriteDeviceFile(device_paths.back(), data);
    contents.push_back(std::move(data));
  }
  const auto sha = RunSumTool("/usr/bin/sha256sum", host_paths);
  const auto md5 = RunSumTool("/usr/bin/md5sum", host_paths);
  ASSERT_EQ(sha.size(), sizes.size());
  ASSERT_EQ(md5.size(), sizes.size());

  for (size_t i = 0; i < sizes.size(); ++i) {
    SCOPED_TRACE("size " + std::to_string(sizes[i]));
    const std::string& data = contents[i];
    EXPECT_EQ(Sha256Hex(data), sha.at(host_paths[i]));
    for (const BlockPath& p : RunnablePaths()) EXPECT_EQ(DigestWith(p.fn, data), sha.at(host_paths[i])) << p.name;
    EXPECT_EQ(Md5Hex(data), md5.at(host_paths[i]));

    // Incremental SHA-256 in uneven pieces.
    Sha256Context sctx;
    SHA256_init(&sctx);
    for (size_t pos = 0; pos < data.size();) {
      const size_t n = std::min(data.size() - pos, std::uniform_int_distribution<size_t>(1, 300)(rng));
      SHA256_update(&sctx, data.data() + pos, static_cast<int>(n));
      pos += n;
    }
    EXPECT_EQ(Hex(SHA256_final(&sctx), 32), sha.at(host_paths[i]));

    // And the file routine, through the device path.
    Md5Context mctx;
    MD5_Init(&mctx);
    ASSERT_EQ(MD5_Update_File(&mctx, device_paths[i].c_str()), 0);
    unsigned char out[16];
    MD5_Final(out, &mctx);
    EXPECT_EQ(Hex(out, 16), md5.at(host_paths[i]));
  }
}

}  // namespace
}  // namespace orba::test
