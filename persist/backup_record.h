#ifndef ORBA_PERSIST_BACKUP_RECORD_H
#define ORBA_PERSIST_BACKUP_RECORD_H

// The XOLE NV record: its place in the backup partition, the offsets the library itself reads
// or writes, and the built-in default record.

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

namespace orba::persist {

constexpr size_t kXoleNvSize = 1592;
constexpr size_t kSlotSize = 2048;    // every slot read and write moves this many bytes
constexpr off_t kSlotStride = 4096;   // slot n starts at n * 4096
constexpr unsigned kQuarantineSlot = 2;
// Copies 0 and 1 and the quarantine slot: the range a record ladder holds locked.
constexpr off_t kXoleNvLockStart = 0;
constexpr off_t kXoleNvLockLength = kQuarantineSlot * kSlotStride + kSlotSize;

constexpr size_t kDigestedBytes = 524;
constexpr size_t kDigestOffset = 524;
constexpr size_t kDigestSize = 16;
constexpr size_t kExtensionOffset = 540;
constexpr size_t kExtensionSize = kXoleNvSize - kExtensionOffset;
constexpr unsigned char kExtensionMarker = 'V';
// The older layout digested one word less and kept its digest four bytes earlier.
constexpr size_t kLegacyDigestedBytes = 520;
constexpr size_t kLegacyDigestOffset = 520;

constexpr size_t kXoleSvOffset = 16;
constexpr size_t kXoleSvSize = 52;
constexpr size_t kPcbOffset = 412;
constexpr size_t kPcbSize = 24;
constexpr size_t kThemeColorOffset = 616;
constexpr size_t kThemeColorSize = 16;
constexpr size_t kUefiFactoryFlagOffset = 1012;
constexpr size_t kSnOffset = 1084;
constexpr size_t kSnSize = 32;
constexpr size_t kEmAuthorizedOffset = 1280;

constexpr uint32_t kEmModeMask = 0xF00;
constexpr uint32_t kEmModeEnabled = 0x100;

// The partition path every slot write uses, whatever get_backup_path found.
constexpr const char kPlatformBackupPath[] = "/dev/block/platform/bootdevice/by-name/backup";

// The 1592-byte record that replaces one that fails every check.
const unsigned char* DefaultXoleNv();

// Little-endian field access on record bytes.
int32_t GetInt32(const unsigned char* record, size_t offset);
void PutInt32(unsigned char* record, size_t offset, int32_t value);
float GetFloat32(const unsigned char* record, size_t offset);
void PutFloat32(unsigned char* record, size_t offset, float value);

// Slot I/O on a descriptor the caller opened with the two functions below, which log a failure
// as the exported slot functions do. Reads and writes return 1 on success, 0 on failure.
int OpenXoleNvForRead();
int OpenXoleNvForWrite();
int ReadXoleNvSlot(int fd, unsigned char* record, unsigned slot);
int WriteXoleNvSlot(int fd, unsigned char* record, unsigned slot);
int VerifyXoleNv(unsigned char* record);

// Writes the key=value text view of the record ("/data/vendor/engineermode/nvram_item").
void WriteXoleNvDump(const unsigned char* record);

}  // namespace orba::persist

#endif
