// Getting a member's bytes out of the mapping: handed to a consumer in chunks, or written into a
// caller's buffer or file.

#include <assert.h>
#include <errno.h>
#include <limits.h>
#include <orbafactory/minzip.h>
#include <platform/log.h>
#include <string.h>
#include <sys/types.h>
#include <unistd.h>
#include <zlib.h>

namespace {

constexpr size_t kInflateChunk = 32768;

// The entry's data, or null when it does not lie inside the archive's mapping (an entry that did
// not come from this archive).
const unsigned char* EntryData(const ZipArchive* za, const ZipEntry* entry, size_t length) {
  if (entry->offset < 0 || static_cast<size_t>(entry->offset) > za->mapping.length ||
      za->mapping.length - static_cast<size_t>(entry->offset) < length) {
    ORBA_LOGE("Entry '%.*s' lies outside archive %p\n", static_cast<int>(entry->name_length),
              entry->name, za);
    return nullptr;
  }
  return za->mapping.base + entry->offset;
}

bool ProcessStored(const ZipArchive* za, const ZipEntry* entry,
                   ProcessZipEntryContentsFunction func, void* cookie) {
  // The stored bytes are exactly the compressed span; an entry claiming more would make the
  // consumer read past it.
  if (entry->uncompressed_length != entry->compressed_length) {
    ORBA_LOGE("Stored entry '%.*s' has mismatched sizes (%ld vs %ld)\n",
              static_cast<int>(entry->name_length), entry->name, entry->uncompressed_length,
              entry->compressed_length);
    return false;
  }
  const size_t length = static_cast<size_t>(entry->uncompressed_length);
  const unsigned char* data = EntryData(za, entry, length);
  if (data == nullptr) return false;
  // One chunk, unless the member is too large for the consumer's int length.
  size_t done = 0;
  do {
    const size_t n = length - done < static_cast<size_t>(INT_MAX) ? length - done : INT_MAX;
    if (!func(data + done, static_cast<int>(n), cookie)) return false;
    done += n;
  } while (done < length);
  return true;
}

bool StartInflate(z_stream* zs, const unsigned char* data, size_t length) {
  memset(zs, 0, sizeof(*zs));
  zs->next_in = const_cast<unsigned char*>(data);
  zs->avail_in = static_cast<uInt>(length);
  const int zerr = inflateInit2(zs, -MAX_WBITS);
  if (zerr == Z_OK) return true;
  if (zerr == Z_VERSION_ERROR) {
    ORBA_LOGE("Installed zlib is not compatible with linked version (%s)\n", ZLIB_VERSION);
  } else {
    ORBA_LOGE("Call to inflateInit2 failed (zerr=%d)\n", zerr);
  }
  return false;
}

bool ProcessDeflated(const ZipArchive* za, const ZipEntry* entry,
                     ProcessZipEntryContentsFunction func, void* cookie) {
  const size_t in_len = static_cast<size_t>(entry->compressed_length);
  const unsigned char* data = EntryData(za, entry, in_len);
  if (data == nullptr) return false;
  z_stream zs;
  if (!StartInflate(&zs, data, in_len)) return false;

  unsigned char buf[kInflateChunk];
  long total = 0;
  bool ok = false;
  int zerr;
  zs.next_out = buf;
  zs.avail_out = sizeof(buf);
  do {
    zerr = inflate(&zs, Z_NO_FLUSH);
    if (zerr != Z_OK && zerr != Z_STREAM_END) {
      ORBA_LOGE("zlib inflate call failed (zerr=%d)\n", zerr);
      goto done;
    }
    if (zs.avail_out == 0 || (zerr == Z_STREAM_END && zs.avail_out != sizeof(buf))) {
      const long produced = static_cast<long>(sizeof(buf) - zs.avail_out);
      // A stream that inflates past the size its header promised is stopped right there, so a
      // lying header cannot make a consumer take in unbounded data.
      if (produced > entry->uncompressed_length - total) {
        ORBA_LOGE("Size mismatch on inflated file (%ld vs %ld)\n", total + produced,
                  entry->uncompressed_length);
        goto done;
      }
      if (!func(buf, static_cast<int>(produced), cookie)) {
        ORBA_LOGE("Process function elected to fail (in inflate)\n");
        goto done;
      }
      total += produced;
      zs.next_out = buf;
      zs.avail_out = sizeof(buf);
    }
  } while (zerr == Z_OK);
  assert(zerr == Z_STREAM_END);
  if (total != entry->uncompressed_length) {
    ORBA_LOGE("Size mismatch on inflated file (%ld vs %ld)\n", total, entry->uncompressed_length);
    goto done;
  }
  ok = true;
done:
  inflateEnd(&zs);
  return ok;
}

// Inflates straight into the caller's buffer: the same result as collecting the chunks, without
// the extra copy of every byte.
bool InflateToBuffer(const ZipArchive* za, const ZipEntry* entry, unsigned char* buffer) {
  const size_t in_len = static_cast<size_t>(entry->compressed_length);
  const unsigned char* data = EntryData(za, entry, in_len);
  if (data == nullptr) return false;
  z_stream zs;
  if (!StartInflate(&zs, data, in_len)) return false;

  const long want = entry->uncompressed_length;
  zs.next_out = buffer;
  zs.avail_out = static_cast<uInt>(want);
  bool ok = false;
  int zerr;
  do {
    zerr = inflate(&zs, Z_NO_FLUSH);
  } while (zerr == Z_OK && zs.avail_out != 0);
  if (zerr == Z_OK) {
    // The buffer is full but the stream goes on: see how much further, for the message.
    unsigned char probe[kInflateChunk];
    zs.next_out = probe;
    zs.avail_out = sizeof(probe);
    zerr = inflate(&zs, Z_NO_FLUSH);
    const long extra = static_cast<long>(sizeof(probe) - zs.avail_out);
    if ((zerr == Z_OK || zerr == Z_STREAM_END) && extra != 0) {
      ORBA_LOGE("Size mismatch on inflated file (%ld vs %ld)\n", want + extra, want);
      goto done;
    }
  }
  if (zerr != Z_STREAM_END) {
    ORBA_LOGE("zlib inflate call failed (zerr=%d)\n", zerr);
    goto done;
  }
  if (static_cast<long>(zs.total_out) != want) {
    ORBA_LOGE("Size mismatch on inflated file (%ld vs %ld)\n", static_cast<long>(zs.total_out),
              want);
    goto done;
  }
  ok = true;
done:
  inflateEnd(&zs);
  return ok;
}

struct BufferSink {
  unsigned char* next;
  size_t room;
  size_t arrived;
};

bool CopyWhole(const unsigned char* data, int length, void* cookie) {
  BufferSink* sink = static_cast<BufferSink*>(cookie);
  const size_t n = static_cast<size_t>(length);
  if (n > sink->room) return false;
  memcpy(sink->next, data, n);
  sink->next += n;
  sink->room -= n;
  return true;
}

bool CopyTrimmed(const unsigned char* data, int length, void* cookie) {
  BufferSink* sink = static_cast<BufferSink*>(cookie);
  const size_t n =
      static_cast<size_t>(length) < sink->room ? static_cast<size_t>(length) : sink->room;
  memcpy(sink->next, data, n);
  sink->next += n;
  sink->room -= n;
  sink->arrived += static_cast<size_t>(length);
  return true;
}

bool WriteChunk(const unsigned char* data, int length, void* cookie) {
  const int fd = *static_cast<int*>(cookie);
  size_t done = 0;
  while (done < static_cast<size_t>(length)) {
    const size_t want = static_cast<size_t>(length) - done;
    const ssize_t n = TEMP_FAILURE_RETRY(write(fd, data + done, want));
    if (n <= 0) {
      ORBA_LOGE("Error writing %zd bytes from zip file from %p: %s\n", static_cast<ssize_t>(want),
                data + done, n < 0 ? strerror(errno) : "no progress");
      return false;
    }
    if (static_cast<size_t>(n) > want) {
      ORBA_LOGE("write overrun?  (%zd bytes instead of %d)\n", n, static_cast<int>(want));
      return false;
    }
    done += static_cast<size_t>(n);
  }
  return true;
}

}  // namespace

extern "C" {

bool mzProcessZipEntryContents(const ZipArchive* archive, const ZipEntry* entry,
                               ProcessZipEntryContentsFunction func, void* cookie) {
  if (archive == nullptr || entry == nullptr || func == nullptr) return false;
  switch (entry->compression) {
    case ZIP_STORED:
      return ProcessStored(archive, entry, func, cookie);
    case ZIP_DEFLATED:
      return ProcessDeflated(archive, entry, func, cookie);
    default:
      ORBA_LOGE("Unsupported compression type %d for entry '%.*s'\n", entry->compression,
                static_cast<int>(entry->name_length), entry->name);
      return false;
  }
}

bool mzReadZipEntry(const ZipArchive* archive, const ZipEntry* entry, char* buf, int bufLen) {
  BufferSink sink{reinterpret_cast<unsigned char*>(buf),
                  bufLen > 0 ? static_cast<size_t>(bufLen) : 0, 0};
  if (!mzProcessZipEntryContents(archive, entry, CopyWhole, &sink)) {
    ORBA_LOGE("Can't extract entry to buffer.\n");
    return false;
  }
  return true;
}

bool mzExtractZipEntryToBuffer(const ZipArchive* archive, const ZipEntry* entry,
                               unsigned char* buffer) {
  bool ok;
  // An empty member has no buffer to inflate into; the chunked path handles it.
  if (archive != nullptr && entry != nullptr && entry->compression == ZIP_DEFLATED &&
      entry->uncompressed_length > 0) {
    ok = InflateToBuffer(archive, entry, buffer);
  } else {
    const size_t want = entry != nullptr ? static_cast<size_t>(entry->uncompressed_length) : 0;
    BufferSink sink{buffer, want, 0};
    ok = mzProcessZipEntryContents(archive, entry, CopyTrimmed, &sink) && sink.arrived == want;
  }
  if (!ok) {
    ORBA_LOGE("Can't extract entry to memory buffer.\n");
    return false;
  }
  return true;
}

bool mzExtractZipEntryToFile(const ZipArchive* archive, const ZipEntry* entry, int fd) {
  if (!mzProcessZipEntryContents(archive, entry, WriteChunk, &fd)) {
    ORBA_LOGE("Can't extract entry to file.\n");
    return false;
  }
  return true;
}

}  // extern "C"
