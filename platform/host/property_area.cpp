#include "property_area.h"

#include <errno.h>
#include <fcntl.h>
#include <linux/futex.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <limits.h>

#include <algorithm>
#include <mutex>
#include <vector>

#include <android/log.h>
#include <platform/host/in_root.h>
#include <platform/host/device_root.h>

namespace orba::host {
namespace {

constexpr uint32_t kMagic = 0x4f525052;  // "RPRO"
constexpr uint32_t kVersion = 2;  // 2: the write journal
constexpr uint32_t kCapacity = ORBA_PROP_AREA_CAPACITY;
constexpr uint32_t kTableSize = kCapacity * 2;  // power of two, never more than half full
constexpr size_t kNameMax = ORBA_PROP_NAME_MAX - 1;
constexpr size_t kValueMax = PROP_VALUE_MAX - 1;
constexpr const char* kAreaPath = "/dev/__properties__";
constexpr uint32_t kJournalIdle = 0;
constexpr uint32_t kJournalArmed = 1;
// A live writer keeps an entry busy for microseconds; one busy for longer may have lost its
// writer, and a reader then asks for the entry to be repaired (which waits for a live one).
constexpr timespec kWriterGrace{0, 50 * 1000 * 1000};

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
// Record locks belong to the process, so threads are serialised here. Held also while the area
// file is opened or closed: closing any descriptor of it drops the process's record lock.
std::mutex g_write_mutex;
std::atomic<PropertyArea*> g_area{nullptr};
std::atomic<void (*)(int)> g_step_hook{nullptr};

// Every area mapped, for the life of the process (never destroyed: it outlives exit handlers).
// Guarded by g_open_mutex.
std::vector<PropertyArea*>& EveryArea() {
  static auto* every_area = new std::vector<PropertyArea*>;
  return *every_area;
}

void Step(int step) {
  if (void (*hook)(int) = g_step_hook.load(std::memory_order_acquire)) hook(step);
}

}  // namespace

struct PropertyArea::Header {
  std::atomic<uint32_t> magic;
  uint32_t version;
  uint32_t capacity;
  uint32_t table_size;
  std::atomic<uint32_t> serial;
  std::atomic<uint32_t> count;
  // The write under way, so that a writer's death can be undone: the entry, and its serial and
  // value from before the write. Armed before the entry is touched, idle once the write is whole.
  std::atomic<uint32_t> journal_state;
  uint32_t journal_index;
  uint32_t journal_serial;
  char journal_value[PROP_VALUE_MAX];
  uint32_t reserved[8];
};

namespace {
constexpr size_t kTableOffset = sizeof(PropertyArea::Header);
constexpr size_t kEntriesOffset = kTableOffset + sizeof(std::atomic<uint32_t>) * kTableSize;
constexpr size_t kAreaSize = kEntriesOffset + sizeof(prop_info) * kCapacity;

// The writers' lock across processes: a record lock on the whole file. The kernel drops it when
// its process dies, which is what tells a reader that a busy entry's writer is gone; flock()
// would stay held by a descriptor that the dead writer shared with the parent it was forked
// from. A process that may only read takes it shared: enough to know no writer is at work.
class FileLock {
 public:
  FileLock(int fd, bool exclusive) : fd_(fd) { Apply(exclusive ? F_WRLCK : F_RDLCK); }
  ~FileLock() { Apply(F_UNLCK); }
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

 private:
  void Apply(short type) {
    struct flock range = {};
    range.l_type = type;
    range.l_whence = SEEK_SET;
    while (fcntl(fd_, F_SETLKW, &range) != 0 && errno == EINTR) {}
  }

  int fd_;
};

// Gives the area file all its blocks, or fails (ENOSPC) leaving its size as it was.
bool AllocateWhole(int fd) {
  int rc;
  do {
    rc = fallocate(fd, 0, 0, static_cast<off_t>(kAreaSize));
  } while (rc != 0 && errno == EINTR);
  if (rc == 0) return true;
  if (errno != EOPNOTSUPP) return false;
  // A filesystem without fallocate: write the zeros ourselves where the file has none yet.
  struct stat st;
  if (fstat(fd, &st) != 0) return false;
  static const unsigned char kZeros[4096] = {};
  for (off_t at = st.st_size; at < static_cast<off_t>(kAreaSize);) {
    size_t n = std::min(sizeof(kZeros), kAreaSize - static_cast<size_t>(at));
    ssize_t w = pwrite(fd, kZeros, n, at);
    if (w < 0 && errno == EINTR) continue;
    if (w <= 0) {
      const int err = errno;
      // Back to the size it had: every mapper refuses an area shorter than the layout.
      while (ftruncate(fd, st.st_size) != 0 && errno == EINTR) {
      }
      errno = err;
      return false;
    }
    at += w;
  }
  return true;
}

// Opens (and, with create, makes) the area file of the current root and maps it. Returns the
// mapping or MAP_FAILED; *fd_out receives the descriptor.
unsigned char* MapArea(bool create, int* fd_out) {
  std::lock_guard<std::mutex> writers(g_write_mutex);
  android::base::unique_fd root = orba::platform::OpenDeviceRoot();
  if (root.get() < 0) return static_cast<unsigned char*>(MAP_FAILED);
  if (create) mkdirat(root.get(), "dev", 0755);
  // The device's services map this file shared and write into it as root: neither "/dev" nor the
  // file may be a link, even one that stays inside the root.
  int dir_fd = orba::platform::OpenBeneath(root.get(), "/dev", O_PATH | O_DIRECTORY | O_NOFOLLOW)
                   .release();
  if (dir_fd < 0) return static_cast<unsigned char*>(MAP_FAILED);
  const char* leaf = kAreaPath + strlen("/dev/");
  // The device's own user and root only: whoever can open the area can also hold its writers'
  // lock and freeze every property write of the device.
  int fd = openat(dir_fd, leaf, O_RDWR | O_NOFOLLOW | O_CLOEXEC | (create ? O_CREAT : 0), 0600);
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
    FileLock lock(fd, true);
    // Every block allocated now: a hole met later through the mapping, on a full disk, would
    // be SIGBUS in whichever process first wrote a new property there.
    if (fchmod(fd, 0600) != 0 || !AllocateWhole(fd)) {
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
    } else if (h->version != kVersion) {
      __android_log_print(ANDROID_LOG_ERROR, "libhostdevice",
                          "the property area has layout %u, this build reads %u: initialise a "
                          "new device root",
                          h->version, kVersion);
      munmap(m, kAreaSize);
      close(fd);
      return static_cast<unsigned char*>(MAP_FAILED);
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

PropertyArea::PropertyArea(int fd, unsigned char* base, uint32_t generation, bool writable)
    : fd_(fd), base_(base), generation_(generation), writable_(writable) {}

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
  const bool writable = (fcntl(fd, F_GETFL) & O_ACCMODE) == O_RDWR;
  area = new PropertyArea(fd, base, generation, writable);
  EveryArea().push_back(area);
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

namespace {
// A value is copied while its writer may be changing it; the serial tells the reader to retry.
// Byte-wise relaxed atomics make that overlap defined behaviour (and visible as such to the
// thread sanitizer) where a plain memcpy would be a data race.
void SeqlockCopy(char* to, const char* from, size_t begin = 0, size_t end = PROP_VALUE_MAX) {
  for (size_t i = begin; i < end; ++i) {
    __atomic_store_n(&to[i], __atomic_load_n(&from[i], __ATOMIC_RELAXED), __ATOMIC_RELAXED);
  }
}

// Whether a busy entry's writer finished within the grace period.
bool WriterFinishes(const prop_info* pi, uint32_t busy_serial) {
  FutexWait(&pi->serial, busy_serial, &kWriterGrace);
  return pi->serial.load(std::memory_order_acquire) != busy_serial;
}
}  // namespace

PropertyArea* PropertyArea::Owner(const prop_info* pi) {
  std::lock_guard<std::mutex> lock(g_open_mutex);
  for (PropertyArea* area : EveryArea()) {
    const prop_info* first = area->entries();
    if (pi >= first && pi < first + kCapacity) return area;
  }
  return nullptr;
}

void PropertyArea::RepairLocked() {
  Header* h = header();
  if (h->journal_state.load(std::memory_order_acquire) != kJournalArmed) return;
  uint32_t index = h->journal_index;
  if (index < h->count.load(std::memory_order_relaxed) && index < kCapacity) {
    prop_info* pi = &entries()[index];
    uint32_t serial = pi->serial.load(std::memory_order_relaxed);
    if (serial & 1u) {
      // The value may be half new: what it was before the write is the consistent copy.
      SeqlockCopy(pi->value, h->journal_value);
      pi->serial.store(serial + 1u, std::memory_order_release);
      FutexWakeAll(&pi->serial);
    }
    if (Find(pi->name) != pi) PublishLocked(index);  // counted, never made findable
    __android_log_print(ANDROID_LOG_WARN, "libhostdevice",
                        "property %s: its writer died in mid-write; the entry is whole again",
                        pi->name);
  }
  h->serial.fetch_add(1, std::memory_order_release);
  FutexWakeAll(&h->serial);
  h->journal_state.store(kJournalIdle, std::memory_order_release);
}

bool PropertyArea::AfterDeadWriter(const prop_info* pi, char* value, uint32_t* serial) {
  std::lock_guard<std::mutex> thread_lock(g_write_mutex);
  FileLock lock(fd_, writable_);
  // Holding the lock, no writer is alive: a busy entry is one whose writer died.
  if (writable_) {
    RepairLocked();
    return false;
  }
  const Header* h = header();
  const bool unfinished = h->journal_state.load(std::memory_order_acquire) == kJournalArmed &&
                          h->journal_index < kCapacity && &entries()[h->journal_index] == pi &&
                          (pi->serial.load(std::memory_order_acquire) & 1u) != 0;
  if (!unfinished) return false;
  memcpy(value, h->journal_value, PROP_VALUE_MAX);
  value[PROP_VALUE_MAX - 1] = '\0';
  *serial = h->journal_serial;
  return true;
}

uint32_t PropertyArea::ReadValue(const prop_info* pi, char* value) {
  for (;;) {
    uint32_t before = pi->serial.load(std::memory_order_acquire);
    if (before & 1u) {
      if (WriterFinishes(pi, before)) continue;
      // Mapped writable, the owner repairs the entry and the value is read again; mapped
      // read-only, it hands out the copy from before the unfinished write.
      PropertyArea* owner = Owner(pi);
      uint32_t serial = 0;
      if (owner != nullptr && owner->AfterDeadWriter(pi, value, &serial)) return serial;
      continue;
    }
    SeqlockCopy(value, pi->value);
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
  if (!writable_) {
    // Writing through a read-only mapping would fault; the caller gets an error instead.
    __android_log_print(ANDROID_LOG_ERROR, "libhostdevice",
                        "cannot set %s: the property area is open read-only", name);
    errno = EROFS;
    return -1;
  }
  char padded[PROP_VALUE_MAX] = {};
  memcpy(padded, value, value_len);

  std::lock_guard<std::mutex> thread_lock(g_write_mutex);
  FileLock lock(fd_, true);
  RepairLocked();  // the last writer may have died in mid-write
  Header* h = header();
  prop_info* pi = const_cast<prop_info*>(Find(name));
  if (pi != nullptr) {
    if (!from_init && strncmp(name, "ro.", 3) == 0) {
      errno = EPERM;
      return -1;
    }
    uint32_t serial = pi->serial.load(std::memory_order_relaxed);
    ArmJournalLocked(static_cast<uint32_t>(pi - entries()), serial, pi->value);
    Step(ORBA_PROP_STEP_JOURNAL_ARMED);
    pi->serial.store(serial | 1u, std::memory_order_relaxed);
    std::atomic_thread_fence(std::memory_order_release);
    Step(ORBA_PROP_STEP_SERIAL_ODD);
    SeqlockCopy(pi->value, padded, 0, PROP_VALUE_MAX / 2);
    Step(ORBA_PROP_STEP_VALUE_HALF);
    SeqlockCopy(pi->value, padded, PROP_VALUE_MAX / 2, PROP_VALUE_MAX);
    Step(ORBA_PROP_STEP_VALUE_COPIED);
    pi->serial.store((serial | 1u) + 1u, std::memory_order_release);
    FutexWakeAll(&pi->serial);
    Step(ORBA_PROP_STEP_SERIAL_EVEN);
  } else {
    uint32_t index = h->count.load(std::memory_order_relaxed);
    if (index >= kCapacity) {
      errno = ENOSPC;
      return -1;
    }
    ArmJournalLocked(index, 0, padded);
    pi = &entries()[index];
    memset(pi->name, 0, sizeof(pi->name));
    memcpy(pi->name, name, name_len);
    pi->name_len = static_cast<uint32_t>(name_len);
    memcpy(pi->value, padded, sizeof(padded));
    pi->serial.store(0, std::memory_order_relaxed);
    Step(ORBA_PROP_STEP_ENTRY_FILLED);
    h->count.store(index + 1, std::memory_order_release);
    Step(ORBA_PROP_STEP_ENTRY_COUNTED);
    PublishLocked(index);
    Step(ORBA_PROP_STEP_ENTRY_FINDABLE);
  }
  h->serial.fetch_add(1, std::memory_order_release);
  FutexWakeAll(&h->serial);
  h->journal_state.store(kJournalIdle, std::memory_order_release);
  return 0;
}

void PropertyArea::ArmJournalLocked(uint32_t index, uint32_t serial, const char* value) {
  Header* h = header();
  h->journal_index = index;
  h->journal_serial = serial;
  memcpy(h->journal_value, value, PROP_VALUE_MAX);
  h->journal_state.store(kJournalArmed, std::memory_order_release);
}

void PropertyArea::PublishLocked(uint32_t index) {
  const prop_info* pi = &entries()[index];
  std::atomic<uint32_t>* slots = table();
  uint32_t i = HashName(pi->name, pi->name_len) & (kTableSize - 1);
  while (slots[i].load(std::memory_order_relaxed) != 0) i = (i + 1) & (kTableSize - 1);
  slots[i].store(index + 1, std::memory_order_release);
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
    if (relative_timeout != nullptr && deadline - MonotonicNs() <= 0) return false;
    if (!settled) {
      // A live writer finishes within the grace; past it, the entry's owner repairs it.
      PropertyArea* owner = nullptr;
      if (!WriterFinishes(pi, current) && (owner = Owner(pi)) != nullptr && owner->writable_) {
        owner->AfterDeadWriter(pi, nullptr, nullptr);
      }
      continue;
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

extern "C" __attribute__((visibility("default"))) void orba_property_step_hook(
    void (*hook)(int step)) {
  orba::host::g_step_hook.store(hook, std::memory_order_release);
}
