// Archive bytes straight from the fuzzer: open, look up, extract every way there is.

#include <orbafactory/minzip.h>
#include <stddef.h>
#include <stdint.h>

#include <string>
#include <vector>

#include "fuzz_env.h"

namespace {

constexpr long kMaxExtract = 1 << 20;
constexpr unsigned kMaxRecursiveEntries = 16;

bool Count(const unsigned char* data, int length, void* cookie) {
  if (length > 0) *static_cast<size_t*>(cookie) += data[0] + static_cast<size_t>(length);
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  orba::fuzz::SetUpDevice();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  ZipArchive za;
  if (mzOpenZipArchive(data, size, &za) != 0) return 0;

  long total = 0;
  for (unsigned i = 0; i < za.entry_count; ++i) {
    const ZipEntry* e = &za.entries[i];
    const std::string name(e->name, e->name_length);
    if (mzFindZipEntry(&za, name.c_str()) == nullptr) abort();  // every name must be found

    size_t seen = 0;
    mzProcessZipEntryContents(&za, e, Count, &seen);
    char small[64];
    mzReadZipEntry(&za, e, small, sizeof(small));
    if (e->uncompressed_length <= kMaxExtract) {
      std::vector<unsigned char> out(static_cast<size_t>(e->uncompressed_length) + 1);
      mzExtractZipEntryToBuffer(&za, e, out.data());
      total += e->uncompressed_length;
    }
  }

  if (za.entry_count <= kMaxRecursiveEntries && total <= kMaxExtract) {
    mzExtractRecursive(&za, "", "/out", nullptr, nullptr, nullptr, nullptr);
    dirUnlinkHierarchy("/out");
  }
  mzCloseZipArchive(&za);
  return 0;
}
