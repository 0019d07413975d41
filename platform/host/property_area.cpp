#include "property_area.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/futex.h>
#include <string.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <limits.h>
#include <mutex>
#include <vector>

#include <platform/devpath.h>
#include <platform/host/device_root.h>

namespace orba::host {
namespace {

constexpr uint32_t kMagic = 0x4f525052;  // "RPRO"
constexpr uint32_t kVersion = 1;
constexpr uint32_t kCapacity = ORBA_PROP_AREA_CAPACITY;
constexpr uint32_t kTableSize = kCapacity * 2;  // power of two, never more than half full
constexpr size_t kNameMax = ORBA_PROP_NAME_MAX - 1;
constexpr size_t kValueMax = PROP_VALUE_MAX - 1;
constexpr const char* kAreaPath = "/dev/__properties__";

static_assert(std::atomic<uint32_t>::is_always_lock_free, "shared-memory atomics must be lock-free");
static_assert((kTableSize & (kTableSize - 1)) == 0, "table size must be a power of two");

uint32_t HashName(const char* name, size_t len) {
  uint32_t h = 2166136261u;
  for (size_t i = 0; i < len; ++i) h = (h ^ static_cast<unsigned char>(name[i])) * 16777619u;
  return h;
}

void FutexWakeAll(std::atomic<uint32_t>* addr) {
  syscall(SYS_futex, reinterpret_cast<uint32_t*>(addr), FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}

// Sleeps while *addr == expected, at most `timeout` (null: forever). Spurious returns are fine:
// callers re-check.
void FutexWait(const std::atomic<uint32_t>* addr, uint32_t expected, const timespec* timeout) {
  syscall(SYS_futex, reinterpret_cast<const uint32_t*>(addr), FUTEX_WAIT, expected, timeout,
          nullptr, 0);
}

int64_t MonotonicNs() {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<int64_t>(ts.tv_sec) * 1000000000 + ts.tv_nsec;
}

std::mutex g_open_mutex;
std::mutex g_write_mutex;  // flock() does not serialise threads sharing one descriptor
std::atomic<PropertyArea*> g_area{nullptr};

}  // namespace

struct PropertyArea::Header {
  std::atomic<uint32_t> magic;
  uint32_t version;
  uint32_t capacity;
  uint32_t table_size;
  std::atomic<uint32_t> serial;
  std::atomic<uint32_t> count;
  uint32_t reserved[10];
};

namespace {
constexpr size_t kTableOffset = sizeof(PropertyArea::Header);
constexpr size_t kEntriesOffset = kTableOffset + sizeof(std::atomic<uint32_t>) * kTableSize;
constexpr size_t kAreaSize = kEntriesOffset + sizeof(prop_info) * kCapacity;

class FileLock {
 public:
  explicit FileLock(int fd) : fd_(fd) { while (flock(fd_, LOCK_EX) != 0 && errno == EINTR) {} }
  ~FileLock() { flock(fd_, LOCK_UN); }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  int fd_;
};

// Opens (and, with create, makes) the area file of the current root and maps it. Returns the
// mapping or MAP_FAILED; *fd_out receives the descriptor.
unsigned char* MapArea(bool create, int* fd_out) {
  DevPath path(kAreaPath);
  if (!path.ok()) return static_cast<unsigned char*>(MAP_FAILED);
  DevPath dir("/dev");
  if (create) mkdir(dir, 0755);
  // The device's services map this file shared and write into it as root: neither "/dev" nor the
  // file may be a link, or a planted one would have them write into a file of the host.
  int dir_fd = open(dir, O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  if (dir_fd < 0) return static_cast<unsigned char*>(MAP_FAILED);
  const char* leaf = kAreaPath + strlen("/dev/");
  int fd = openat(dir_fd, leaf, O_RDWR | O_NOFOLLOW | O_CLOEXEC | (create ? O_CREAT : 0), 0666);
  if (fd < 0 && !create) fd = openat(dir_fd, leaf, O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  close(dir_fd);
  if (fd < 0) return static_cast<unsigned char*>(MAP_FAILED);
  int prot = PROT_READ | ((fcntl(fd, F_GETFL) & O_ACCMODE) == O_RDWR ? PROT_WRITE : 0);

  struct stat st;
  if (fstat(fd, &st) != 0 || !S_ISREG(st.st_mode) ||
      (static_cast<size_t>(st.st_size) < kAreaSize && !create)) {
    close(fd);
    return static_cast<unsigned char*>(MAP_FAILED);
  }
  if (create) {
    FileLock lock(fd);
    if (fstat(fd, &st) != 0 ||
        (static_cast<size_t>(st.st_size) < kAreaSize && ftruncate(fd, kAreaSize) != 0)) {
      close(fd);
      return static_cast<unsigned char*>(MAP_FAILED);
    }
    void* m = mmap(nullptr, kAreaSize, prot, MAP_SHARED, fd, 0);
    if (m == MAP_FAILED) {
      close(fd);
      return static_cast<unsigned char*>(MAP_FAILED);
    }
    auto* h = static_cast<PropertyArea::Header*>(m);
    if (h->magic.load(std::memory_order_acquire) != kMagic) {
      h->version = kVersion;
      h->capacity = kCapacity;
      h->table_size = kTableSize;
      h->magic.store(kMagic, std::memory_order_release);
    }
    *fd_out = fd;
    return static_cast<unsigned char*>(m);
  }
  void* m = mmap(nullptr, kAreaSize, prot, MAP_SHARED, fd, 0);
  if (m == MAP_FAILED) {
    close(fd);
    return static_cast<unsigned char*>(MAP_FAILED);
  }
  auto* h = static_cast<PropertyArea::Header*>(m);
  if (h->magic.load(std::memory_order_acquire) != kMagic || h->version != kVersion ||
      h->capacity != kCapacity || h->table_size != kTableSize) {
    munmap(m, kAreaSize);
    close(fd);
    return static_cast<unsigned char*>(MAP_FAILED);
  }
  *fd_out = fd;
  return static_cast<unsigned char*>(m);
}

}  // namespace

PropertyArea::PropertyArea(int fd, unsigned char* base, uint32_t generation)
    : fd_(fd), base_(base), generation_(generation) {}

PropertyArea* PropertyArea::Get(bool create) {
  uint32_t generation = orba_device_root_generation();
  PropertyArea* area = g_area.load(std::memory_order_acquire);
  if (area != nullptr && area->generation_ == generation) return area;

  std::lock_guard<std::mutex> lock(g_open_mutex);
  area = g_area.load(std::memory_order_relaxed);
  if (area != nullptr && area->generation_ == generation) return area;
  int fd = -1;
  unsigned char* base = MapArea(create, &fd);
  if (base == MAP_FAILED) return nullptr;
  // An area of an earlier root stays mapped: callers may still hold prop_info pointers into it.
  // Every area mapped, for the life of the process (never destroyed: it outlives exit handlers).
  static auto* every_area = new std::vector<PropertyArea*>;
  area = new PropertyArea(fd, base, generation);
  every_area->push_back(area);
  g_area.store(area, std::memory_order_release);
  return area;
}

PropertyArea::Header* PropertyArea::header() const { return reinterpret_cast<Header*>(base_); }

std::atomic<uint32_t>* PropertyArea::table() const {
  return reinterpret_cast<std::atomic<uint32_t>*>(base_ + kTableOffset);
}

prop_info* PropertyArea::entries() const {
  return reinterpret_cast<prop_info*>(base_ + kEntriesOffset);
}

const prop_info* PropertyArea::Find(const char* name) const {
  size_t len = strnlen(name, ORBA_PROP_NAME_MAX);
  if (len == 0 || len > kNameMax) return nullptr;
  const std::atomic<uint32_t>* slots = table();
  const prop_info* all = entries();
  for (uint32_t i = HashName(name, len) & (kTableSize - 1);; i = (i + 1) & (kTableSize - 1)) {
    uint32_t v = slots[i].load(std::memory_order_acquire);
    if (v == 0 || v > kCapacity) return nullptr;
    const prop_info* pi = &all[v - 1];
    if (pi->name_len == len && memcmp(pi->name, name, len) == 0) return pi;
  }
}

uint32_t PropertyArea::ReadValue(const prop_info* pi, char* value) {
  for (;;) {
    uint32_t before = pi->serial.load(std::memory_order_acquire);
    if (before & 1u) {
      FutexWait(&pi->serial, before, nullptr);
      continue;
    }
    memcpy(value, pi->value, PROP_VALUE_MAX);
    std::atomic_thread_fence(std::memory_order_acquire);
    if (pi->serial.load(std::memory_order_relaxed) == before) {
      value[PROP_VALUE_MAX - 1] = '\0';
      return before;
    }
  }
}

int PropertyArea::Set(const char* name, const char* value, bool from_init) {
  if (name == nullptr) return -1;
  if (value == nullptr) value = "";
  size_t name_len = strnlen(name, ORBA_PROP_NAME_MAX);
  size_t value_len = strnlen(value, PROP_VALUE_MAX);
  if (name_len == 0 || name_len > kNameMax || value_len > kValueMax) {
    errno = EINVAL;
    return -1;
  }
  char padded[PROP_VALUE_MAX] = {};
  memcpy(padded, value, value_len);

  std::lock_guard<std::mutex> thread_lock(g_write_mutex);
  FileLock lock(fd_);
  Header* h = header();
  prop_info* pi = const_cast<prop_info*>(Find(name));
  if (pi != nullptr) {
    if (!from_init && strncmp(name, "ro.", 3) == 0) {
      errno = EPERM;
      return -1;
    }
    uint32_t serial = pi->serial.load(std::memory_order_relaxed);
    pi->serial.store(serial | 1u, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    memcpy(pi->value, padded, sizeof(padded));
    pi->serial.store((serial | 1u) + 1u, std::memory_order_release);
    FutexWakeAll(&pi->serial);
  } else {
    uint32_t index = h->count.load(std::memory_order_relaxed);
    if (index >= kCapacity) {
      errno = ENOSPC;
      return -1;
    }
    pi = &entries()[index];
    memset(pi->name, 0, sizeof(pi->name));
    memcpy(pi->name, name, name_len);
    pi->name_len = static_cast<uint32_t>(name_len);
    memcpy(pi->value, padded, sizeof(padded));
    pi->serial.store(0, std::memory_order_relaxed);
    h->count.store(index + 1, std::memory_order_release);
    std::atomic<uint32_t>* slots = table();
    uint32_t i = HashName(name, name_len) & (kTableSize - 1);
    while (slots[i].load(std::memory_order_relaxed) != 0) i = (i + 1) & (kTableSize - 1);
    slots[i].store(index + 1, std::memory_order_release);
  }
  h->serial.fetch_add(1, std::memory_order_release);
  FutexWakeAll(&h->serial);
  return 0;
}

bool PropertyArea::Wait(const prop_info* pi, uint32_t old_serial, uint32_t* new_serial,
                        const timespec* relative_timeout) const {
  const std::atomic<uint32_t>* target = pi != nullptr ? &pi->serial : &header()->serial;
  int64_t deadline = 0;
  if (relative_timeout != nullptr) {
    deadline = MonotonicNs() + static_cast<int64_t>(relative_timeout->tv_sec) * 1000000000 +
               relative_timeout->tv_nsec;
  }
  for (;;) {
    uint32_t current = target->load(std::memory_order_acquire);
    bool settled = pi == nullptr || (current & 1u) == 0;
    if (settled && current != old_serial) {
      if (new_serial != nullptr) *new_serial = current;
      return true;
    }
    if (relative_timeout == nullptr) {
      FutexWait(target, current, nullptr);
      continue;
    }
    int64_t left = deadline - MonotonicNs();
    if (left <= 0) return false;
    timespec ts{static_cast<time_t>(left / 1000000000), static_cast<long>(left % 1000000000)};
    FutexWait(target, current, &ts);
  }
}

uint32_t PropertyArea::Serial() const { return header()->serial.load(std::memory_order_acquire); }

uint32_t PropertyArea::Count() const { return header()->count.load(std::memory_order_acquire); }

const prop_info* PropertyArea::At(uint32_t index) const {
  return index < Count() ? &entries()[index] : nullptr;
}

}  // namespace orba::host
