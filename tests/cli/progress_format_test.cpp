// The progress line's arithmetic and layout, without a terminal.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tools/commands/progress.h"

namespace {

using orba::cli::FormatBytes;
using orba::cli::FormatTransfer;
using orba::cli::TransferState;

constexpr unsigned long long kMiB = 1ull << 20;

TEST(ProgressFormat, Bytes) {
  const std::vector<std::pair<unsigned long long, std::string>> cases = {
      {0, "0 B"},
      {1023, "1023 B"},
      {1024, "1.0 KiB"},
      {1536, "1.5 KiB"},
      {300 * kMiB, "300.0 MiB"},
      {5ull << 30, "5.0 GiB"},
      {3ull << 40, "3.0 TiB"},
      {5000ull << 40, "5000.0 TiB"},
  };
  for (const auto& c : cases) EXPECT_EQ(FormatBytes(c.first), c.second) << c.first;
}

TEST(ProgressFormat, RateAndTimeLeftPerMemberAndForTheRun) {
  TransferState s;
  s.member = 1;
  s.members = 3;
  s.name = "system/app/big.apk";
  s.member_done = 100 * kMiB;
  s.member_size = 300 * kMiB;
  s.member_seconds = 10;  // 10 MiB/s: 200 MiB to go is 20 s
  s.done = 150 * kMiB;
  s.total = 1200 * kMiB;
  s.seconds = 3;  // 50 MiB/s: 1050 MiB to go is 21 s
  struct Case {
    size_t width;
    std::string line;
  };
  const std::vector<Case> cases = {
      {200,
       "extracting 2/3 system/app/big.apk 100.0/300.0 MiB 10.0 MiB/s 0:20 left | all 0.1/1.2 GiB "
       "50.0 MiB/s 0:21 left"},
      // Narrower: the verb goes, then the name shrinks to keep its end, then the member's own
      // rate goes, then the name shrinks again.
      {100,
       "2/3 system/app/big.apk 100.0/300.0 MiB 10.0 MiB/s 0:20 left | all 0.1/1.2 GiB 50.0 MiB/s "
       "0:21 left"},
      {95,
       "2/3 ...app/big.apk 100.0/300.0 MiB 10.0 MiB/s 0:20 left | all 0.1/1.2 GiB 50.0 MiB/s "
       "0:21 left"},
      {80, "2/3 system/app/big.apk 100.0/300.0 MiB | all 0.1/1.2 GiB 50.0 MiB/s 0:21 left"},
      {70, "2/3 ...big.apk 100.0/300.0 MiB | all 0.1/1.2 GiB 50.0 MiB/s 0:21 left"},
  };
  for (const Case& c : cases) {
    std::string line = FormatTransfer("extracting", s, c.width);
    EXPECT_LT(line.size(), c.width);
    EXPECT_EQ(line, c.line) << c.width;
  }
}

TEST(ProgressFormat, HoursAndTheStartOfARun) {
  TransferState s;
  s.members = 1;
  s.name = "a.bin";
  s.member_size = s.total = 4000 * kMiB;
  s.member_done = s.done = kMiB;
  s.member_seconds = s.seconds = 1;  // 1 MiB/s, 3999 s to go
  EXPECT_EQ(FormatTransfer("copying", s, 120), "copying a.bin 0.0/3.9 GiB 1.0 MiB/s 1:06:39 left");
  s.member_done = s.done = 0;  // nothing yet: no rate to divide by
  EXPECT_EQ(FormatTransfer("copying", s, 120), "copying a.bin 0.0/3.9 GiB -/s -:-- left");
}

}  // namespace
