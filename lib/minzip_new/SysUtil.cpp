// Read-only file mappings: a whole file in one piece, or a file whose blocks are scattered over a
// block device and described by a block map, stitched into one contiguous view.

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <linux/fs.h>
#include <orbafactory/minzip.h>
#include <platform/devpath.h>
#include <platform/log.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

namespace {

using android::base::unique_fd;

// Room for the device path line of a block map, its newline and the terminator.
constexpr size_t kBlockDevLineMax = 4096;

struct FileCloser {
  void operator()(FILE* f) const { fclose(f); }
};

// An address-space reservation that is given back unless the mapping succeeds.
class Reservation {
 public:
  Reservation(void* addr, size_t length) : addr_(addr), length_(length) {}
  ~Reservation() {
    if (addr_ != MAP_FAILED) munmap(addr_, length_);
  }
  Reservation(const Reservation&) = delete;
  Reservation& operator=(const Reservation&) = delete;
  void* get() const { return addr_; }
  void* release() {
    void* a = addr_;
    addr_ = MAP_FAILED;
    return a;
  }

 private:
  void* addr_;
  size_t length_;
};

int MapWholeFile(const char* path, MemoryMap* out) {
  unique_fd fd(open(DevPath(path), O_RDONLY | O_CLOEXEC));
  if (fd.get() < 0) {
    ORBA_LOGE("Unable to open '%s': %s\n", path, strerror(errno));
    return -1;
  }
  struct stat st;
  if (fstat(fd.get(), &st) != 0) {
    ORBA_LOGE("fstat(%d) failed: %s\n", fd.get(), strerror(errno));
    return -1;
  }
  const size_t length = static_cast<size_t>(st.st_size);
  void* addr = mmap(nullptr, length, PROT_READ, MAP_PRIVATE, fd.get(), 0);
  if (addr == MAP_FAILED) {
    ORBA_LOGE("mmap(%d, R, PRIVATE, %d, 0) failed: %s\n", static_cast<int>(length), fd.get(),
              strerror(errno));
    return -1;
  }
  MappedRange* range = static_cast<MappedRange*>(malloc(sizeof(MappedRange)));
  if (range == nullptr) {
    ORBA_LOGE("malloc failed: %s\n", strerror(errno));
    munmap(addr, length);
    return -1;
  }
  range->addr = addr;
  range->length = length;
  out->base = static_cast<unsigned char*>(addr);
  out->length = length;
  out->range_count = 1;
  out->ranges = range;
  return 0;
}

// Bytes readable through `fd`: a block device's capacity or a plain file's size.
bool DeviceSize(int fd, size_t* size) {
  struct stat st;
  if (fstat(fd, &st) != 0) return false;
  if (S_ISBLK(st.st_mode)) {
    uint64_t bytes = 0;
    if (ioctl(fd, BLKGETSIZE64, &bytes) != 0) return false;
    *size = static_cast<size_t>(bytes);
  } else {
    *size = static_cast<size_t>(st.st_size);
  }
  return true;
}

int MapBlockMap(const char* map_path, MemoryMap* out) {
  std::unique_ptr<FILE, FileCloser> mapf(fopen(DevPath(map_path), "re"));
  if (mapf == nullptr) {
    ORBA_LOGE("Unable to open '%s': %s\n", map_path, strerror(errno));
    return -1;
  }

  char block_dev[kBlockDevLineMax + 2];
  if (fgets(block_dev, sizeof(block_dev), mapf.get()) == nullptr) {
    ORBA_LOGE("failed to read block device from header\n");
    return -1;
  }
  block_dev[strcspn(block_dev, "\n")] = '\0';

  size_t size = 0;
  unsigned int blksize = 0;
  unsigned int range_count = 0;
  if (fscanf(mapf.get(), "%zu %u\n%u\n", &size, &blksize, &range_count) != 3) {
    ORBA_LOGE("failed to parse block map header\n");
    return -1;
  }
  size_t blocks = 0;
  size_t reserved = 0;
  if (blksize != 0) blocks = size / blksize + (size % blksize != 0 ? 1 : 0);
  // Every range covers at least one block, so a count above the block count can only be a lie;
  // refusing it keeps the range table's allocation bounded by the file's own size.
  if (size == 0 || blksize == 0 || range_count == 0 || range_count > blocks ||
      __builtin_mul_overflow(blocks, static_cast<size_t>(blksize), &reserved)) {
    ORBA_LOGE("invalid data in block map file: size %zu, blksize %u, range_count %u\n", size,
              blksize, range_count);
    return -1;
  }

  Reservation reservation(mmap(nullptr, reserved, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0),
                          reserved);
  if (reservation.get() == MAP_FAILED) {
    ORBA_LOGE("failed to reserve address space: %s\n", strerror(errno));
    return -1;
  }
  unique_fd fd(open(DevPath(block_dev), O_RDONLY | O_CLOEXEC));
  if (fd.get() < 0) {
    ORBA_LOGE("failed to open block device %s: %s\n", block_dev, strerror(errno));
    return -1;
  }
  // Pages past the end of the device map without complaint but fault when read, so a range
  // beyond it is refused up front rather than left to crash the reader.
  size_t device_size = SIZE_MAX;
  if (!DeviceSize(fd.get(), &device_size)) device_size = SIZE_MAX;
  // The range table grows with the ranges actually read, so a header that claims billions of
  // them costs memory only in proportion to the map file that backs the claim.
  unsigned int capacity = range_count < 64 ? range_count : 64;
  std::unique_ptr<MappedRange, decltype(&free)> ranges(
      static_cast<MappedRange*>(calloc(capacity, sizeof(MappedRange))), &free);
  if (ranges == nullptr) {
    ORBA_LOGE("malloc failed: %s\n", strerror(errno));
    return -1;
  }

  unsigned char* next = static_cast<unsigned char*>(reservation.get());
  size_t remaining = reserved;
  for (unsigned int i = 0; i < range_count; ++i) {
    size_t start = 0;
    size_t end = 0;
    if (fscanf(mapf.get(), "%zu %zu\n", &start, &end) != 2) {
      ORBA_LOGE("failed to parse range %d in block map\n", static_cast<int>(i));
      return -1;
    }
    size_t length = 0;
    size_t offset = 0;
    if (end <= start ||
        __builtin_mul_overflow(end - start, static_cast<size_t>(blksize), &length) ||
        __builtin_mul_overflow(start, static_cast<size_t>(blksize), &offset) ||
        offset > static_cast<size_t>(LLONG_MAX) || length > remaining || offset > device_size ||
        device_size - offset < length) {
      ORBA_LOGE("unexpected range in block map: %zu %zu\n", start, end);
      return -1;
    }
    void* addr = mmap(next, length, PROT_READ, MAP_PRIVATE | MAP_FIXED, fd.get(),
                      static_cast<off_t>(offset));
    if (addr == MAP_FAILED) {
      ORBA_LOGE("failed to map block %d: %s\n", static_cast<int>(i), strerror(errno));
      return -1;
    }
    if (i == capacity) {
      capacity = range_count - capacity < capacity ? range_count : capacity * 2;
      auto* grown =
          static_cast<MappedRange*>(realloc(ranges.get(), capacity * sizeof(MappedRange)));
      if (grown == nullptr) {
        ORBA_LOGE("malloc failed: %s\n", strerror(errno));
        return -1;
      }
      ranges.release();
      ranges.reset(grown);
    }
    ranges.get()[i].addr = addr;
    ranges.get()[i].length = length;
    next += length;
    remaining -= length;
  }
  if (remaining != 0) {
    ORBA_LOGE("ranges in block map are invalid: remaining_size = %zu\n", remaining);
    return -1;
  }

  out->base = static_cast<unsigned char*>(reservation.release());
  out->length = size;
  out->range_count = static_cast<int>(range_count);
  out->ranges = ranges.release();
  ORBA_LOGI("mmapped %d ranges\n", out->range_count);
  return 0;
}

}  // namespace

extern "C" {

int sysMapFile(const char* path, MemoryMap* out) {
  if (path == nullptr || out == nullptr) return -1;
  const int rc = path[0] == '@' ? MapBlockMap(path + 1, out) : MapWholeFile(path, out);
  if (rc != 0) {
    ORBA_LOGE("Map of '%s' failed\n", path);
    return -1;
  }
  return 0;
}

void sysReleaseMap(MemoryMap* map) {
  if (map == nullptr) return;
  for (int i = 0; i < map->range_count; ++i) {
    if (munmap(map->ranges[i].addr, map->ranges[i].length) != 0) {
      ORBA_LOGE("munmap(%p, %d) failed: %s\n", map->ranges[i].addr,
                static_cast<int>(map->ranges[i].length), strerror(errno));
    }
  }
  free(map->ranges);
  map->ranges = nullptr;
  map->range_count = 0;
}

}  // extern "C"
