#ifndef ORBA_PLATFORM_HOST_PROPERTY_AREA_H
#define ORBA_PLATFORM_HOST_PROPERTY_AREA_H

// The simulated device's property area: one file, $ORBA_DEVICE_ROOT/dev/__properties__, mapped
// shared by every process of the device. The layout is fixed-size so that every process maps the
// same thing and pointers into it (prop_info*) stay valid for the life of the mapping:
//
//   header | hash table of entry indices | entries
//
// Entries are appended and never removed (as on the phone). Readers take no lock: they find an
// entry through the hash table (slots are published with a release store once the entry is
// complete) and read its value under the entry's serial, used as a seqlock. Writers are
// serialised by a mutex within the process and a record lock across processes, and journal each
// write in the header first: a writer killed in mid-write leaves the entry busy (odd serial), and
// the next writer, or a reader tired of waiting, puts the journal's copy back. Waiters sleep on a
// futex on the entry serial or on the area serial, which works across processes because the
// mapping is a shared file mapping.

#include <stdint.h>
#include <sys/system_properties.h>
#include <time.h>

#include <atomic>

#include <platform/host/device_init.h>

struct prop_info {
  std::atomic<uint32_t> serial;  // even when stable, odd while a writer updates the value
  uint32_t name_len;
  char value[PROP_VALUE_MAX];
  char name[ORBA_PROP_NAME_MAX];
};

namespace orba::host {

class PropertyArea {
 public:
  // The area of the current device root, or null when there is no root, or (unless create) no
  // area yet. The object lives for the rest of the process.
  static PropertyArea* Get(bool create);

  const prop_info* Find(const char* name) const;
  // Copies a consistent value (NUL-terminated, at most PROP_VALUE_MAX bytes) and returns its
  // serial. An entry whose writer died in mid-write is repaired first, or, through a read-only
  // mapping, read as it was before that write.
  static uint32_t ReadValue(const prop_info* pi, char* value);
  int Set(const char* name, const char* value, bool from_init);
  bool Wait(const prop_info* pi, uint32_t old_serial, uint32_t* new_serial,
            const timespec* relative_timeout) const;
  uint32_t Serial() const;
  uint32_t Count() const;
  const prop_info* At(uint32_t index) const;

  struct Header;  // the area's first bytes, laid out in property_area.cpp

 private:
  PropertyArea(int fd, unsigned char* base, uint32_t generation, bool writable);

  // The area an entry lives in, among every area this process mapped.
  static PropertyArea* Owner(const prop_info* pi);
  // Called with the area locked against writers, so no writer is alive: undoes the write that
  // the journal holds, if its writer died before finishing it.
  void RepairLocked();
  // Takes the writers' lock and repairs (returns false: read again), or, read-only, copies the
  // value from before an unfinished write of pi (returns true).
  bool AfterDeadWriter(const prop_info* pi, char* value, uint32_t* serial);
  void ArmJournalLocked(uint32_t index, uint32_t serial, const char* value);
  void PublishLocked(uint32_t index);  // makes entry `index` findable by name

  Header* header() const;
  std::atomic<uint32_t>* table() const;
  prop_info* entries() const;

  int fd_;
  unsigned char* base_;
  uint32_t generation_;
  bool writable_;  // false: mapped read-only, as a process without write access to the file
};

}  // namespace orba::host

#endif
