#ifndef ORBA_PERSIST_BACK_NV_RECORD_H
#define ORBA_PERSIST_BACK_NV_RECORD_H

// The back-NV record of the secondary sensors and its two slots in the backup partition.

#include <stddef.h>
#include <sys/types.h>

namespace orba::persist {

constexpr size_t kBackNvSize = 152;
constexpr size_t kBackNvSlotSize = 2048;
constexpr size_t kBackNvDigestSize = 16;
constexpr off_t kBackNvSlotOffset[2] = {10240, 20480};
constexpr off_t kBackNvLockStart = 10240;
constexpr off_t kBackNvLockLength = 20480 + 2048 - 10240;
// Opened by this name always; the by-name lookup of the XOLE NV record is not used.
constexpr const char kBackNvPath[] = "/dev/block/platform/bootdevice/by-name/backup";

}  // namespace orba::persist

#endif
