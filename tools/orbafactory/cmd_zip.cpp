// orbafactory zip list|extract|test FILE: the library's ZIP reader on a device file.

#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include <orbafactory/minzip.h>

#include "cli.h"

namespace {

using orba::cli::Args;

// An archive mapped and indexed for the length of one command.
class OpenArchive {
 public:
  explicit OpenArchive(const std::string& path) {
    if (sysMapFile(path.c_str(), &map_) != 0) {
      orba::cli::Error(orba::cli::kFailed, "zip: cannot map %s", path.c_str());
      return;
    }
    mapped_ = true;
    if (mzOpenZipArchive(map_.base, map_.length, &archive_) != 0) {
      orba::cli::Error(orba::cli::kFailed, "zip: %s is not a valid archive (see the log, -v)",
                       path.c_str());
      return;
    }
    open_ = true;
  }
  ~OpenArchive() {
    if (open_) mzCloseZipArchive(&archive_);
    if (mapped_) sysReleaseMap(&map_);
  }
  OpenArchive(const OpenArchive&) = delete;
  OpenArchive& operator=(const OpenArchive&) = delete;

  bool ok() const { return open_; }
  const ZipArchive& archive() const { return archive_; }

 private:
  MemoryMap map_{};
  ZipArchive archive_{};
  bool mapped_ = false;
  bool open_ = false;
};

std::string Name(const ZipEntry& e) { return std::string(e.name, e.name_length); }

int List(const Args& args) {
  OpenArchive zip(args[0]);
  if (!zip.ok()) return orba::cli::kFailed;
  printf("%10s %10s %-8s %-8s %s\n", "length", "stored", "method", "crc32", "name");
  long total = 0;
  for (unsigned i = 0; i < zip.archive().entry_count; ++i) {
    const ZipEntry& e = zip.archive().entries[i];
    printf("%10ld %10ld %-8s %08x %s\n", e.uncompressed_length, e.compressed_length,
           e.compression == ZIP_DEFLATED ? "deflated" : "stored", e.crc32, Name(e).c_str());
    total += e.uncompressed_length;
  }
  printf("%10ld %10s %-8s %-8s %u entries\n", total, "", "", "", zip.archive().entry_count);
  return orba::cli::kOk;
}

struct Progress {
  unsigned done = 0;
  unsigned total = 0;
  bool tty = false;
};

void ShowProgress(const char* path, void* cookie) {
  auto* p = static_cast<Progress*>(cookie);
  ++p->done;
  if (p->tty) {
    fprintf(stderr, "\rextracting %u/%u", p->done, p->total);
  } else {
    printf("%s\n", path);
  }
}

int Extract(const Args& args) {
  OpenArchive zip(args[0]);
  if (!zip.ok()) return orba::cli::kFailed;
  const std::string target = args.size() > 1 ? args[1] : "/data/local/tmp/unzip";
  if (target.empty() || target[0] != '/') {
    return orba::cli::Error(orba::cli::kUsage, "zip extract: DIR must be an absolute device path");
  }
  Progress progress;
  progress.total = zip.archive().entry_count;
  progress.tty = isatty(STDERR_FILENO) != 0;
  bool ok = mzExtractRecursive(&zip.archive(), "", target.c_str(), nullptr, ShowProgress,
                               &progress, nullptr);
  if (progress.tty) fputc('\n', stderr);
  if (!ok) return orba::cli::Error(orba::cli::kFailed, "zip extract: failed (see the log, -v)");
  printf("extracted %u entries into %s\n", progress.done, target.c_str());
  return orba::cli::kOk;
}

bool Discard(const unsigned char*, int, void*) { return true; }

int Test(const Args& args) {
  OpenArchive zip(args[0]);
  if (!zip.ok()) return orba::cli::kFailed;
  unsigned bad = 0;
  for (unsigned i = 0; i < zip.archive().entry_count; ++i) {
    const ZipEntry& e = zip.archive().entries[i];
    bool ok = mzProcessZipEntryContents(&zip.archive(), &e, Discard, nullptr);
    if (!ok) {
      ++bad;
      printf("FAILED %s\n", Name(e).c_str());
    }
  }
  printf("%u entries, %u failed\n", zip.archive().entry_count, bad);
  return bad == 0 ? orba::cli::kOk : orba::cli::kFailed;
}

const orba::cli::Family kZip{
    "zip",
    "read ZIP archives on the device",
    {
        {"list", "FILE", "list the members of an archive", 1, 1, List},
        {"extract", "FILE [DIR]", "extract every member under DIR (default /data/local/tmp/unzip)",
         1, 2, Extract},
        {"test", "FILE", "read every member and check its CRC", 1, 1, Test},
    }};
orba::cli::Registrar registrar(kZip);

}  // namespace
