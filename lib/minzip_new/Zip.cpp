// Indexing a ZIP archive that is mapped into memory: the central directory is validated entry by
// entry, the entries are kept sorted by name (for extracting whole directories) and hashed (for
// lookups). Nothing is copied; entries point into the mapping.

#include <orbafactory/minzip.h>
#include <platform/log.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>

#include <algorithm>

namespace {

constexpr uint32_t kLocalHeaderSig = 0x04034b50;
constexpr uint32_t kCentralHeaderSig = 0x02014b50;
constexpr uint32_t kEndRecordSig = 0x06054b50;
constexpr size_t kLocalHeaderLen = 30;
constexpr size_t kCentralHeaderLen = 46;
constexpr size_t kEndRecordLen = 22;
constexpr unsigned kMaxNameLen = 4095;
constexpr unsigned kHostMsDos = 0;
constexpr unsigned kHostUnix = 3;

inline uint16_t Get16(const unsigned char* p) { return static_cast<uint16_t>(p[0] | p[1] << 8); }
inline uint32_t Get32(const unsigned char* p) {
  return static_cast<uint32_t>(p[0]) | static_cast<uint32_t>(p[1]) << 8 |
         static_cast<uint32_t>(p[2]) << 16 | static_cast<uint32_t>(p[3]) << 24;
}

unsigned int NameHash(const char* name, unsigned int length) {
  unsigned int h = 2;
  for (unsigned int i = 0; i < length; ++i) h = h * 31 + static_cast<unsigned char>(name[i]);
  return h;
}

int CompareEntryNames(const void* table_item, const void* loose_item) {
  const ZipEntry* a = static_cast<const ZipEntry*>(table_item);
  const ZipEntry* b = static_cast<const ZipEntry*>(loose_item);
  if (a->name_length != b->name_length) return a->name_length < b->name_length ? -1 : 1;
  return memcmp(a->name, b->name, a->name_length);
}

// Name order: the common prefix decides, then the shorter name comes first. Names hold only
// printable ASCII (checked while parsing), so a byte compare is the same as strncmp.
bool NameLess(const ZipEntry& a, const ZipEntry& b) {
  const unsigned int common = std::min(a.name_length, b.name_length);
  const int c = memcmp(a.name, b.name, common);
  if (c != 0) return c < 0;
  return a.name_length < b.name_length;
}

bool ValidName(const char* name, unsigned int length) {
  if (length > kMaxNameLen) {
    ORBA_LOGE("Filename too long (%d chatacters)\n", static_cast<int>(length));
    return false;
  }
  for (unsigned int i = 0; i < length; ++i) {
    const unsigned char c = static_cast<unsigned char>(name[i]);
    if (c < 32 || c > 126) {
      ORBA_LOGE("Filename contains invalid character '%03o'\n", c);
      return false;
    }
  }
  return true;
}

// Bytes of the archive a member owns, from its local header to the end of its data.
struct Span {
  size_t start;
  size_t end;
  bool operator<(const Span& o) const { return start < o.start; }
};

// Members whose bytes overlap let a small archive inflate to an enormous size (one deflate stream
// shared by thousands of entries), and no archive writer produces them: refuse the archive.
bool SpansDisjoint(Span* spans, unsigned int count) {
  if (!std::is_sorted(spans, spans + count)) std::sort(spans, spans + count);
  for (unsigned int i = 1; i < count; ++i) {
    if (spans[i].start < spans[i - 1].end) {
      ORBA_LOGE("Overlapping members in Zip (local headers at %zu and %zu)\n", spans[i - 1].start,
                spans[i].start);
      return false;
    }
  }
  return true;
}

int ParseCentralDirectory(const unsigned char* base, size_t length, ZipArchive* za) {
  if (length < kEndRecordLen) {
    ORBA_LOGE("Archive %p is too small to be zip (%zd)\n", base, static_cast<ssize_t>(length));
    return -1;
  }
  const uint32_t first = Get32(base);
  if (first != kLocalHeaderSig) {
    if (first == kEndRecordSig) {
      ORBA_LOGW("Found Zip archive, but it looks empty\n");
    } else {
      ORBA_LOGW("Not a Zip archive (found 0x%08x)\n", first);
    }
    return -1;
  }

  // The end record sits after the directory, followed by a comment of any length.
  const unsigned char* end_record = nullptr;
  for (size_t off = length - kEndRecordLen + 1; off-- > 0;) {
    if (base[off] == 0x50 && Get32(base + off) == kEndRecordSig) {
      end_record = base + off;
      break;
    }
  }
  if (end_record == nullptr) {
    ORBA_LOGE("Could not find end-of-central-directory in Zip\n");
    return -1;
  }

  const unsigned int num_entries = Get16(end_record + 8);
  const uint32_t cd_offset = Get32(end_record + 16);
  ORBA_LOGV("numEntries=%d cdOffset=%d\n", static_cast<int>(num_entries),
            static_cast<int>(cd_offset));
  if (num_entries == 0 || cd_offset >= length) {
    ORBA_LOGE("Invalid entries=%d offset=%d (len=%zd)\n", static_cast<int>(num_entries),
              static_cast<int>(cd_offset), static_cast<ssize_t>(length));
    return -1;
  }

  za->entries = static_cast<ZipEntry*>(calloc(num_entries, sizeof(ZipEntry)));
  Span* spans = static_cast<Span*>(malloc(num_entries * sizeof(Span)));
  if (za->entries == nullptr || spans == nullptr) {
    free(spans);
    return -1;
  }

  // Every offset below is a size_t compared against `length` before it is used, so no pointer
  // is ever formed past the end of the mapping.
  size_t pos = cd_offset;
  for (unsigned int i = 0; i < num_entries; ++i) {
    const int at = static_cast<int>(i);
    if (pos > length || length - pos < kCentralHeaderLen) {
      ORBA_LOGE("Ran off the end (at %d)\n", at);
      break;
    }
    const unsigned char* hdr = base + pos;
    if (Get32(hdr) != kCentralHeaderSig) {
      ORBA_LOGE("Missed a central dir sig (at %d)\n", at);
      break;
    }
    const unsigned int name_len = Get16(hdr + 28);
    const size_t extra_len = Get16(hdr + 30);
    const size_t comment_len = Get16(hdr + 32);
    if (length - pos - kCentralHeaderLen < name_len) {
      ORBA_LOGE("Filename ran off the end (at %d)\n", at);
      break;
    }
    const char* name = reinterpret_cast<const char*>(hdr + kCentralHeaderLen);
    if (!ValidName(name, name_len)) {
      ORBA_LOGE("Invalid filename (at %d)\n", at);
      break;
    }
    const uint16_t made_by = Get16(hdr + 4);
    const unsigned host = made_by >> 8;
    if (host != kHostMsDos && host != kHostUnix) {
      ORBA_LOGE("Incompatible \"version made by\": 0x%02x (at %d)\n", host, at);
      break;
    }

    const size_t local_offset = Get32(hdr + 42);
    size_t local_end = 0;
    if (__builtin_add_overflow(local_offset, kLocalHeaderLen, &local_end)) {
      ORBA_LOGE("Integer overflow adding in parseZipArchive\n");
      break;
    }
    if (local_end > length) {
      ORBA_LOGE("Bad offset to local header: %d (at %d)\n", static_cast<int>(local_offset), at);
      break;
    }
    const unsigned char* local = base + local_offset;
    if (Get32(local) != kLocalHeaderSig) {
      ORBA_LOGE("Missed a local header sig (at %d)\n", at);
      break;
    }
    // Writers may put a different extra field in the local header than in the central one; the
    // data starts after the local copy.
    const size_t data_offset = local_end + Get16(local + 26) + Get16(local + 28);
    const size_t compressed = Get32(hdr + 20);
    size_t data_end = 0;
    if (__builtin_add_overflow(data_offset, compressed, &data_end) || data_end > length) {
      ORBA_LOGE("Data ran off the end (at %d)\n", at);
      break;
    }

    ZipEntry& e = za->entries[i];
    e.name_length = name_len;
    e.name = name;
    e.offset = static_cast<long>(data_offset);
    e.compressed_length = static_cast<long>(compressed);
    e.uncompressed_length = static_cast<long>(Get32(hdr + 24));
    e.compression = Get16(hdr + 10);
    e.mod_time = Get32(hdr + 12);
    e.crc32 = Get32(hdr + 16);
    e.version_made_by = made_by;
    e.external_attributes = Get32(hdr + 38);
    spans[i] = Span{local_offset, data_end};
    za->entry_count = i + 1;

    pos += kCentralHeaderLen + name_len + extra_len + comment_len;
  }
  const bool complete = za->entry_count == num_entries;
  const bool disjoint = complete && SpansDisjoint(spans, num_entries);
  free(spans);
  if (!disjoint) return -1;

  // A stable sort gives the order of inserting one by one with equal names kept in directory
  // order, so the first of two equal names is the one the index keeps. Writers usually emit
  // sorted directories already, which a linear check spots for free.
  ZipEntry* const begin = za->entries;
  ZipEntry* const end = za->entries + num_entries;
  if (!std::is_sorted(begin, end, NameLess)) std::stable_sort(begin, end, NameLess);

  za->index = mzHashTableCreate(mzHashSize(num_entries), nullptr);
  if (za->index == nullptr) return -1;
  for (ZipEntry* e = begin; e != end; ++e) {
    void* found =
        mzHashTableLookup(za->index, NameHash(e->name, e->name_length), e, CompareEntryNames, true);
    if (found != e) {
      ORBA_LOGW("WARNING: duplicate entry '%.*s' in Zip\n", static_cast<int>(e->name_length),
                e->name);
    }
  }
  return 0;
}

void ClearArchive(ZipArchive* za) {
  free(za->entries);
  mzHashTableFree(za->index);
  za->entries = nullptr;
  za->index = nullptr;
  za->entry_count = 0;
}

}  // namespace

extern "C" {

int mzOpenZipArchive(const unsigned char* addr, size_t length, ZipArchive* out) {
  if (out == nullptr) return -1;
  // Callers may map the file straight into the archive's own mapping and open it on that; its
  // ranges are then kept so that releasing the archive's mapping unmaps the file.
  MemoryMap mapping = {};
  if (out->mapping.base == addr && out->mapping.length == length && addr != nullptr) {
    mapping = out->mapping;
  }
  memset(out, 0, sizeof(*out));
  out->mapping = mapping;
  out->mapping.base = const_cast<unsigned char*>(addr);
  out->mapping.length = length;
  if (addr == nullptr || ParseCentralDirectory(addr, length, out) != 0) {
    ORBA_LOGE("Parsing archive %p failed\n", addr);
    ClearArchive(out);
    return -1;
  }
  return 0;
}

void mzCloseZipArchive(ZipArchive* archive) {
  ORBA_LOGV("Closing archive %p\n", archive);
  if (archive == nullptr) return;
  ClearArchive(archive);
}

const ZipEntry* mzFindZipEntry(const ZipArchive* archive, const char* name) {
  if (archive == nullptr || archive->index == nullptr || name == nullptr) return nullptr;
  const size_t length = strlen(name);
  if (length > kMaxNameLen) return nullptr;
  ZipEntry key = {};
  key.name = name;
  key.name_length = static_cast<unsigned int>(length);
  return static_cast<const ZipEntry*>(mzHashTableLookup(
      archive->index, NameHash(name, key.name_length), &key, CompareEntryNames, false));
}

}  // extern "C"
