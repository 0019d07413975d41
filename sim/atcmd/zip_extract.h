#ifndef ORBA_SIM_ATCMD_ZIP_EXTRACT_H
#define ORBA_SIM_ATCMD_ZIP_EXTRACT_H

#include <stdint.h>

#include <string_view>

namespace orba::sim {

// The uzipFile method: extracts the archive at the device path `zip` into the device directory
// `dest_dir` (made when missing) with the library's own ZIP reader. `member`, when not empty,
// selects one member, or a directory of them ("dir" or "dir/"): it is a name to compare, never
// an option or a pattern. Every file lands beneath `dest_dir` whatever the archive's names or the
// links already there say; members that would not are skipped. 0 when every selected member was
// extracted (and at least one was selected), else -1.
//
// The archive is read from a private copy: whoever can write the device's storage could truncate
// a mapped archive under the reader, and a page past the new end is SIGBUS for the whole
// service. A copy cut short by such a truncation fails as a damaged archive.
int32_t ExtractZipInDevice(std::string_view zip, std::string_view dest_dir,
                           std::string_view member);

// Called once the archive is mapped, before anything is read from it: lets a test change the
// device's archive at the worst moment. Null removes it.
void SetZipMappedHook(void (*hook)());

}  // namespace orba::sim

#endif
