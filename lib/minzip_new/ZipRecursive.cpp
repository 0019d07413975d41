// Extracting a directory of an archive into a directory of the device.

#include <android-base/unique_fd.h>
#include <errno.h>
#include <fcntl.h>
#include <orbafactory/minzip.h>
#include <platform/devpath.h>
#include <platform/part_file.h>
#include <platform/log.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utime.h>

#include <memory>

#include "Label.h"

namespace {

constexpr unsigned kHostUnix = 3;
constexpr uint32_t kUnixTypeSymlink = 0xA;

bool StartsWith(const ZipEntry& e, const char* prefix, size_t prefix_len) {
  return e.name_length >= prefix_len && memcmp(e.name, prefix, prefix_len) == 0;
}

// A member name that is absolute or climbs with ".." would be written outside the target
// directory; archives from untrusted places use exactly that to overwrite system files.
bool StaysInside(const char* rel, size_t len) {
  if (len > 0 && rel[0] == '/') return false;
  size_t start = 0;
  while (start <= len) {
    const void* slash = memchr(rel + start, '/', len - start);
    const size_t end =
        slash != nullptr ? static_cast<size_t>(static_cast<const char*>(slash) - rel) : len;
    if (end - start == 2 && rel[start] == '.' && rel[start + 1] == '.') return false;
    start = end + 1;
  }
  return true;
}

// The path buffer of the walk; it only grows, by doubling past what is needed.
class PathBuffer {
 public:
  ~PathBuffer() { free(buf_); }
  bool Assemble(const char* dir, size_t dir_len, bool add_slash, const char* rel, size_t rel_len) {
    const size_t need = dir_len + (add_slash ? 1 : 0) + rel_len + 1;
    if (need > cap_) {
      char* grown = static_cast<char*>(realloc(buf_, need * 2));
      if (grown == nullptr) return false;
      buf_ = grown;
      cap_ = need * 2;
    }
    char* p = buf_;
    memcpy(p, dir, dir_len);
    p += dir_len;
    if (add_slash) *p++ = '/';
    memcpy(p, rel, rel_len);
    p[rel_len] = '\0';
    return true;
  }
  const char* c_str() const { return buf_; }

 private:
  char* buf_ = nullptr;
  size_t cap_ = 0;
};

}  // namespace

extern "C" {

bool mzExtractRecursive(const ZipArchive* archive, const char* zipDir, const char* targetDir,
                        const struct utimbuf* timestamp,
                        void (*callback)(const char* path, void* cookie), void* cookie,
                        struct selabel_handle* sehnd) {
  if (archive == nullptr || zipDir == nullptr || targetDir == nullptr) return false;
  if (zipDir[0] == '/') {
    ORBA_LOGE("mzExtractRecursive(): zipDir must be a relative path.\n");
    return false;
  }
  if (targetDir[0] != '/') {
    ORBA_LOGE("mzExtractRecursive(): targetDir must be an absolute path.\n");
    return false;
  }

  const size_t zip_dir_len = strlen(zipDir);
  const bool needs_slash = zip_dir_len > 0 && zipDir[zip_dir_len - 1] != '/';
  const size_t prefix_len = zip_dir_len + (needs_slash ? 1 : 0);
  char* prefix = static_cast<char*>(malloc(prefix_len + 1));
  if (prefix == nullptr) {
    ORBA_LOGE("Can't allocate %d bytes for zip path\n", static_cast<int>(prefix_len + 1));
    return false;
  }
  memcpy(prefix, zipDir, zip_dir_len);
  if (needs_slash) prefix[zip_dir_len] = '/';
  prefix[prefix_len] = '\0';
  std::unique_ptr<char, decltype(&free)> prefix_owner(prefix, &free);

  if (archive->entry_count == 0) {
    ORBA_LOGE("Extracted %d file(s)\n", 0);
    return true;
  }

  // The members under the prefix are one run of the sorted entries.
  const ZipEntry* const all_end = archive->entries + archive->entry_count;
  const ZipEntry* first = archive->entries;
  while (first != all_end && !StartsWith(*first, prefix, prefix_len)) ++first;
  const ZipEntry* last = first;
  while (last != all_end && StartsWith(*last, prefix, prefix_len)) ++last;

  // Check the whole run before writing anything, so a hostile archive leaves nothing behind.
  for (const ZipEntry* e = first; e != last; ++e) {
    if (!StaysInside(e->name + prefix_len, e->name_length - prefix_len)) {
      ORBA_LOGE("Refusing to extract \"%.*s\": it would land outside \"%s\"\n",
                static_cast<int>(e->name_length), e->name, targetDir);
      return false;
    }
  }

  const size_t target_len = strlen(targetDir);
  const bool target_slash = targetDir[target_len - 1] != '/';
  PathBuffer path;
  int extracted = 0;
  for (const ZipEntry* e = first; e != last; ++e) {
    const char* rel = e->name + prefix_len;
    const size_t rel_len = e->name_length - prefix_len;
    if (!path.Assemble(targetDir, target_len, target_slash, rel, rel_len)) {
      ORBA_LOGE("Can't assemble target path for \"%.*s\"\n", static_cast<int>(e->name_length),
                e->name);
      return false;
    }
    const char* target = path.c_str();

    // Directories come into being as the parents of the files in them.
    if (e->name_length > 0 && e->name[e->name_length - 1] == '/') {
      if (callback != nullptr) callback(target, cookie);
      continue;
    }

    if (dirCreateHierarchy(target, 0755, timestamp, true, sehnd) != 0) {
      ORBA_LOGE("Can't create containing directory for \"%s\": %s\n", target, strerror(errno));
      return false;
    }
    if ((e->version_made_by >> 8) == kHostUnix &&
        (e->external_attributes >> 28) == kUnixTypeSymlink) {
      ORBA_LOGE("Symlink entry \"%.*s\" will be output as a regular file.",
                static_cast<int>(e->name_length), e->name);
    }
    // A member is written beside its name and renamed into place whole: an extraction cut
    // short leaves no partial member under the name a reader trusts.
    std::unique_ptr<orba::platform::PartFile> part;
    {
      orba::minzip::ScopedCreateLabel label(sehnd, target, S_IFREG | 0644);
      part = std::make_unique<orba::platform::PartFile>(target, 0644);
    }
    if (!part->ok()) {
      ORBA_LOGE("Can't create target file \"%s\": %s\n", target, strerror(errno));
      return false;
    }
    const bool written = mzExtractZipEntryToFile(archive, e, part->fd()) && fsync(part->fd()) == 0;
    if (!written) {
      ORBA_LOGE("Error extracting \"%s\"\n", target);
      break;
    }
    if (timestamp != nullptr && utime(DevPath(part->part_path()), timestamp) != 0) {
      ORBA_LOGE("Error touching \"%s\"\n", target);
      break;
    }
    if (!part->Commit()) {
      ORBA_LOGE("Error extracting \"%s\"\n", target);
      break;
    }
    ORBA_LOGV("Extracted file \"%s\"\n", target);
    extracted++;
    if (callback != nullptr) callback(target, cookie);
  }
  ORBA_LOGV("Extracted %d file(s)\n", extracted);
  return true;
}

}  // extern "C"
