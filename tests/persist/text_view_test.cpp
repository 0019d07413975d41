// The records' text views, read by another process while the station keeps putting: every read
// finds a view, and every view is whole.

#include <dirent.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include <android-base/file.h>
#include <orbafactory/persist.h>

#include "backup_fixture.h"
#include "support/subprocess.h"

namespace orba::test {
namespace {

constexpr int kPuts = 400;

struct Tally {
  std::atomic<int> stop;
  std::atomic<int> reads;
  std::atomic<int> missing;
  std::atomic<int> torn;
};

class TextViewTest : public BackupPartitionTest {};

size_t Lines(const std::string& text) {
  size_t n = 0;
  for (size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at + 2)) ++n;
  return n;
}

TEST_F(TextViewTest, ReaderNeverFindsAViewMissingOrCutShort) {
  struct Case {
    const char* view;
    size_t lines;
    int (*get)(uint8_t*);
    int (*put)(uint8_t*);
    size_t record_size;
  };
  const Case cases[] = {
      {"/data/vendor/engineermode/nvram_item", 139, get_XOLE_NV_item, put_XOLE_NV_item,
       kRecordSize},
      {"/data/vendor/engineermode/back_nv_item", 18, get_back_nv_item, put_back_nv_item, 152},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.view);
    Bytes record(c.record_size, 0);
    ASSERT_EQ(c.get(record.data()), 0);
    ASSERT_EQ(c.put(record.data()), 0);  // the first view exists before the reader starts
    const std::string host = HostPath(c.view);
    struct stat st;
    ASSERT_EQ(stat(host.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0664u);

    auto* tally = static_cast<Tally*>(
        mmap(nullptr, sizeof(Tally), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ASSERT_NE(tally, MAP_FAILED);
    new (tally) Tally{};
    const size_t lines = c.lines;
    pid_t reader = StartChild([tally, host, lines] {
      while (tally->stop.load() == 0) {
        std::string text;
        tally->reads.fetch_add(1);
        if (!android::base::ReadFileToString(host, &text)) {
          tally->missing.fetch_add(1);
        } else if (Lines(text) != lines || text.size() < 2 ||
                   text.compare(text.size() - 2, 2, "\r\n") != 0) {
          tally->torn.fetch_add(1);
        }
      }
      return 0;
    });
    // Puts that change the view's length as well as its content.
    for (int i = 0; i < kPuts; ++i) {
      SetInt32(record, c.record_size == kRecordSize ? 76 : 16, (i % 2 == 0) ? i : -1000000 * i);
      ASSERT_EQ(c.put(record.data()), 0);
    }
    tally->stop = 1;
    EXPECT_EQ(WaitChild(reader), 0);
    EXPECT_GT(tally->reads.load(), 0);
    EXPECT_EQ(tally->missing.load(), 0) << "of " << tally->reads.load() << " reads";
    EXPECT_EQ(tally->torn.load(), 0) << "of " << tally->reads.load() << " reads";
    // Nothing left behind in the directory but the views themselves.
    const std::string dir = host.substr(0, host.rfind('/'));
    DIR* d = opendir(dir.c_str());
    ASSERT_NE(d, nullptr);
    for (dirent* e; (e = readdir(d)) != nullptr;) {
      EXPECT_EQ(std::string(e->d_name).find(".tmp"), std::string::npos) << e->d_name;
    }
    closedir(d);
    munmap(tally, sizeof(Tally));
  }
}

}  // namespace
}  // namespace orba::test
