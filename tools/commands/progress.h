#ifndef ORBA_TOOLS_COMMANDS_PROGRESS_H
#define ORBA_TOOLS_COMMANDS_PROGRESS_H

// Progress of a long transfer (ZIP extraction, copies) in bytes, on a terminal:
//
//   extracting 2/3 sub/b.bin 120.0/300.0 MiB 45.2 MiB/s 0:03 left | all 130.0/310.0 MiB ...
//
// (the whole run's part goes on with its own rate and time left).
//
// The library's copy and extraction calls report nothing while they run, so a watcher thread
// looks at how many bytes have reached each destination. When stdout is not a terminal nothing
// is shown and no thread starts: scripts see only results.

#include <stddef.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace orba::cli {

// One member of a transfer: where its bytes land on the device and how many there will be.
struct TransferItem {
  std::string name;         // as shown
  std::string device_path;  // the destination being written
  unsigned long long size;
};

// What one line of progress shows.
struct TransferState {
  size_t member = 0;  // 0-based index of the member in hand
  size_t members = 0;
  std::string name;
  unsigned long long member_done = 0, member_size = 0;
  double member_seconds = 0;  // since the member was first seen in hand
  unsigned long long done = 0, total = 0;
  double seconds = 0;  // since the transfer began
};

// "1.5 MiB", "512 B".
std::string FormatBytes(unsigned long long bytes);
// The progress line for a terminal `width` columns wide: the verb and the member's name give way
// to fit; the whole-run part is left out when there is only one member.
std::string FormatTransfer(const char* verb, const TransferState& state, size_t width);

class TransferProgress {
 public:
  // `verb` leads the line ("extracting"). Shows nothing unless stdout is a terminal.
  TransferProgress(const char* verb, std::vector<TransferItem> items);
  ~TransferProgress();
  TransferProgress(const TransferProgress&) = delete;
  TransferProgress& operator=(const TransferProgress&) = delete;

  // For work that reports each member as it ends, in the items' order (ZIP extraction). Work
  // that does not is followed by its destinations alone: the member in hand is the one part
  // written.
  void MemberDone();
  // Stops the watcher and leaves the last state on its line. Called by the destructor too.
  void Finish();

 private:
  void Watch();
  void Poll();
  void Draw();

  const char* verb_;
  std::vector<TransferItem> items_;
  std::vector<unsigned long long> seen_;  // bytes at each destination, as last looked at
  std::vector<bool> complete_;
  unsigned long long total_ = 0;
  size_t current_ = 0;
  std::atomic<size_t> reported_{0};
  std::atomic<bool> reporting_{false};  // MemberDone has been called: trust it over the sizes
  double start_ = 0, member_start_ = 0, last_poll_ = 0;
  bool shown_ = false;

  std::mutex mutex_;
  std::condition_variable wake_;
  bool stop_ = false;
  std::thread watcher_;
};

}  // namespace orba::cli

#endif
