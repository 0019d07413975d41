#include "ziparchive_reference.h"

#include <ziparchive/zip_archive.h>

namespace orba::bench {

size_t ReferenceOpenFindAll(const char* host_path, const std::vector<std::string>& names) {
  ZipArchiveHandle handle;
  if (OpenArchive(host_path, &handle) != 0) {
    CloseArchive(handle);
    return 0;
  }
  size_t found = 0;
  ZipEntry entry;
  for (const std::string& name : names) found += FindEntry(handle, name, &entry) == 0;
  CloseArchive(handle);
  return found;
}

bool ReferenceExtract(const char* host_path, const char* name, uint8_t* out, size_t size) {
  ZipArchiveHandle handle;
  if (OpenArchive(host_path, &handle) != 0) {
    CloseArchive(handle);
    return false;
  }
  ZipEntry entry;
  const bool ok = FindEntry(handle, name, &entry) == 0 &&
                  ExtractToMemory(handle, &entry, out, static_cast<uint32_t>(size)) == 0;
  CloseArchive(handle);
  return ok;
}

}  // namespace orba::bench
