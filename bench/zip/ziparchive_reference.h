#ifndef ORBA_BENCH_ZIP_ZIPARCHIVE_REFERENCE_H
#define ORBA_BENCH_ZIP_ZIPARCHIVE_REFERENCE_H

// The reference reader (Debian's libziparchive) behind a narrow interface: its ZipEntry type has
// the same name as ours, so the two never meet in one translation unit.

#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

namespace orba::bench {

// Opens `host_path`, finds every name, closes; the number of names found.
size_t ReferenceOpenFindAll(const char* host_path, const std::vector<std::string>& names);
// Extracts `name` into `out` (which holds its uncompressed size); true on success.
bool ReferenceExtract(const char* host_path, const char* name, uint8_t* out, size_t size);

}  // namespace orba::bench

#endif
