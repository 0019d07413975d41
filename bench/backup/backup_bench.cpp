// get_XOLE_NV_item and put_XOLE_NV_item against the bare I/O they cannot avoid, on a partition
// image in tmpfs (/dev/shm), where the storage's own latency does not hide the library's
// overhead, and for scale on a disk-backed directory (/var/tmp), where synchronous writes cost
// what they cost on real storage:
//   get: open the device, read two 2 KiB slots, close;
//   put: open the device with O_SYNC, write two 2 KiB slots, fdatasync, close.
// Logging is switched off (as a release device's debug level would), so formatting log lines to
// the terminal is not what gets measured.

#include <android/log.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <orbafactory/persist.h>
#include <platform/host/device_root.h>

namespace {

class BenchDevice {
 public:
  explicit BenchDevice(const char* parent) {
    std::string templ = std::string(parent) + "/orba-backup-bench-XXXXXX";
    if (mkdtemp(templ.data()) == nullptr) abort();
    root_ = templ;
    for (const char* dir : {"/dev", "/dev/block", "/dev/block/platform", "/dev/block/platform/bootdevice",
                            "/dev/block/platform/bootdevice/by-name", "/dev/block/bootdevice",
                            "/dev/block/bootdevice/by-name", "/data", "/data/vendor",
                            "/data/vendor/engineermode"}) {
      mkdir((root_ + dir).c_str(), 0755);
    }
    image_ = root_ + "/dev/block/platform/bootdevice/by-name/backup";
    const std::vector<char> erased(32 * 1024, '\xFF');
    FILE* f = fopen(image_.c_str(), "wb");
    if (f == nullptr || fwrite(erased.data(), 1, erased.size(), f) != erased.size()) abort();
    fclose(f);
    if (symlink(image_.c_str(), (root_ + "/dev/block/bootdevice/by-name/backup").c_str()) != 0) abort();
    __android_log_set_minimum_priority(ANDROID_LOG_SILENT);
    Use();
    unsigned char record[XOLE_NV_ITEM_SIZE] = {};
    if (get_XOLE_NV_item(record) != 0) abort();  // restores and stores the defaults
    // The bare writes rewrite the slots with what they already hold, so the record stays valid.
    int fd = open(image_.c_str(), O_RDONLY);
    if (pread(fd, slots_[0], 2048, 0) != 2048 || pread(fd, slots_[1], 2048, 4096) != 2048) abort();
    close(fd);
  }
  // Points the library at this device.
  void Use() const {
    setenv(ORBA_DEVICE_ROOT_ENV, root_.c_str(), 1);
    orba_device_root_reset();
  }
  const unsigned char* slot(int n) const { return slots_[n]; }
  ~BenchDevice() {
    std::string cmd = "rm -rf '" + root_ + "'";
    if (system(cmd.c_str()) != 0) fprintf(stderr, "could not remove %s\n", root_.c_str());
  }
  const std::string& image() const { return image_; }

 private:
  std::string root_;
  std::string image_;
  unsigned char slots_[2][2048];
};

BenchDevice& Device(int where) {
  static BenchDevice shm("/dev/shm");
  static BenchDevice disk("/var/tmp");
  BenchDevice& d = where == 0 ? shm : disk;
  d.Use();
  return d;
}

// Argument 0: tmpfs; 1: disk.
void BM_Get_Library(benchmark::State& state) {
  Device(static_cast<int>(state.range(0)));
  unsigned char record[XOLE_NV_ITEM_SIZE];
  for (auto _ : state) {
    if (get_XOLE_NV_item(record) != 0) state.SkipWithError("get failed");
    benchmark::DoNotOptimize(record);
  }
}
BENCHMARK(BM_Get_Library)->Arg(0)->Arg(1);

void BM_Get_BareIO(benchmark::State& state) {
  const std::string path = Device(static_cast<int>(state.range(0))).image();
  unsigned char slot[2][2048];
  for (auto _ : state) {
    int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
    if (pread(fd, slot[0], 2048, 0) != 2048 || pread(fd, slot[1], 2048, 4096) != 2048) {
      state.SkipWithError("read failed");
    }
    close(fd);
    benchmark::DoNotOptimize(slot);
  }
}
BENCHMARK(BM_Get_BareIO)->Arg(0)->Arg(1);

void BM_Put_Library(benchmark::State& state) {
  Device(static_cast<int>(state.range(0)));
  unsigned char record[XOLE_NV_ITEM_SIZE] = {};
  get_XOLE_NV_item(record);
  for (auto _ : state) {
    if (put_XOLE_NV_item(record) != 0) state.SkipWithError("put failed");
  }
}
BENCHMARK(BM_Put_Library)->Arg(0)->Arg(1);

void BM_Put_BareIO(benchmark::State& state) {
  const BenchDevice& device = Device(static_cast<int>(state.range(0)));
  const std::string path = device.image();
  for (auto _ : state) {
    int fd = open(path.c_str(), O_RDWR | O_SYNC | O_CLOEXEC);
    if (pwrite(fd, device.slot(0), 2048, 0) != 2048 || pwrite(fd, device.slot(1), 2048, 4096) != 2048) {
      state.SkipWithError("write failed");
    }
    fdatasync(fd);
    close(fd);
  }
}
BENCHMARK(BM_Put_BareIO)->Arg(0)->Arg(1);

}  // namespace

BENCHMARK_MAIN();
