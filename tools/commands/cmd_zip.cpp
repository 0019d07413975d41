// orbafactory zip list|extract|test FILE: the library's ZIP reader on a device file.

#include <stdio.h>
#include <string.h>
#include <time.h>

#include <string>
#include <vector>

#include <orbafactory/minzip.h>

#include "command.h"

namespace {

using orba::cli::Args;

// An archive mapped and indexed for the length of one command.
class OpenArchive {
 public:
  OpenArchive(orba::cli::Reply& reply, const char* command, const std::string& path) {
    if (sysMapFile(path.c_str(), &map_) != 0) {
      orba::cli::FailPaths(reply, {{path, orba::cli::PathUse::kRead}}, "zip %s: cannot map %s", command,
                           path.c_str());
      return;
    }
    mapped_ = true;
    if (mzOpenZipArchive(map_.base, map_.length, &archive_) != 0) {
      orba::cli::Fail(reply, "zip %s: %s is not a valid archive", command, path.c_str());
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

double Seconds() {
  timespec ts;
  clock_gettime(CLOCK_MONOTONIC, &ts);
  return static_cast<double>(ts.tv_sec) + static_cast<double>(ts.tv_nsec) / 1e9;
}

int List(const Args& args, orba::cli::Reply& reply) {
  OpenArchive zip(reply, "list", args[0]);
  if (!zip.ok()) return orba::cli::kFailed;
  reply.Stream(orba::cli::Format("%10s %10s %-8s %-8s %s\n", "length", "stored", "method", "crc32", "name"));
  long total = 0;
  for (unsigned i = 0; i < zip.archive().entry_count; ++i) {
    const ZipEntry& e = zip.archive().entries[i];
    reply.Stream(orba::cli::Format("%10ld %10ld %-8s %08x %s\n", e.uncompressed_length, e.compressed_length,
           e.compression == ZIP_DEFLATED ? "deflated" : "stored", e.crc32, Name(e).c_str()));
    total += e.uncompressed_length;
  }
  reply.Stream(orba::cli::Format("%10ld %10s %-8s %-8s %u entries\n", total, "", "", "", zip.archive().entry_count));
  return orba::cli::kOk;
}

bool IsDirectory(const ZipEntry& e) {
  return e.name_length > 0 && e.name[e.name_length - 1] == '/';
}

// Members are extracted in the archive's order, and each file's callback comes once it is
// written; directories have callbacks too but no bytes.
struct Extraction {
  orba::cli::TransferProgress* progress;
  unsigned files = 0;
};

void MemberWritten(const char* path, void* cookie) {
  auto* x = static_cast<Extraction*>(cookie);
  size_t len = strlen(path);
  if (len > 0 && path[len - 1] == '/') return;
  ++x->files;
  x->progress->MemberDone();
}

int Extract(const Args& args, orba::cli::Reply& reply) {
  const std::string target = args.size() > 1 ? args[1] : "/data/local/tmp/unzip";
  if (target.empty() || target[0] != '/') {
    return orba::cli::Error(reply, orba::cli::kUsage, "zip extract: DIR must be an absolute device path");
  }
  OpenArchive zip(reply, "extract", args[0]);
  if (!zip.ok()) return orba::cli::kFailed;
  std::vector<orba::cli::TransferItem> items;
  unsigned long long bytes = 0;
  for (unsigned i = 0; i < zip.archive().entry_count; ++i) {
    const ZipEntry& e = zip.archive().entries[i];
    if (IsDirectory(e)) continue;
    unsigned long long size = static_cast<unsigned long long>(e.uncompressed_length);
    items.push_back({Name(e), target + "/" + Name(e), size});
    bytes += size;
  }
  const double start = Seconds();
  orba::cli::TransferProgress progress("extracting", items);
  Extraction x{&progress};
  bool ok = mzExtractRecursive(&zip.archive(), "", target.c_str(), nullptr, MemberWritten, &x,
                               nullptr);
  progress.Finish();
  // A member that fails part way ends the run without failing it: count what arrived.
  if (!ok || x.files != items.size()) {
    return orba::cli::FailPaths(reply, {{target, orba::cli::PathUse::kDirectory, false}},
                                "zip extract: %u of %zu files extracted into %s", x.files,
                                items.size(), target.c_str());
  }
  const double seconds = Seconds() - start;
  reply.Stream(orba::cli::Format("extracted %zu files (%s) into %s in %.1f s\n", items.size(),
         orba::cli::FormatBytes(bytes).c_str(), target.c_str(), seconds));
  return orba::cli::kOk;
}

bool Discard(const unsigned char*, int, void*) { return true; }

int Test(const Args& args, orba::cli::Reply& reply) {
  OpenArchive zip(reply, "test", args[0]);
  if (!zip.ok()) return orba::cli::kFailed;
  unsigned bad = 0;
  for (unsigned i = 0; i < zip.archive().entry_count; ++i) {
    const ZipEntry& e = zip.archive().entries[i];
    orba::cli::ClearLibraryError();
    bool ok = mzProcessZipEntryContents(&zip.archive(), &e, Discard, nullptr);
    if (!ok) {
      ++bad;
      std::string cause = orba::cli::LastLibraryError();
      reply.Stream(orba::cli::Format("FAILED %s: %s\n", Name(e).c_str(), cause.empty() ? "unreadable" : cause.c_str()));
    }
  }
  reply.Stream(orba::cli::Format("%u entries, %u failed\n", zip.archive().entry_count, bad));
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
