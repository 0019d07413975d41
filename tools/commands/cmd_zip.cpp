// orbafactory zip list|extract|test FILE: the library's ZIP reader on a device file.

#include <stdio.h>
#include <string.h>
#include <time.h>

#include <optional>
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
      orba::cli::FailPaths(reply, {{path, orba::cli::PathUse::kRead}}, "zip %s: cannot map %s",
                           command, path.c_str());
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
  long total = 0;
  for (unsigned i = 0; i < zip.archive().entry_count; ++i) {
    const ZipEntry& e = zip.archive().entries[i];
    reply.Answer({{"name", Name(e)},
                  {"size", e.uncompressed_length},
                  {"compressed_size", e.compressed_length},
                  {"method", e.compression == ZIP_DEFLATED ? "deflated" : "stored"},
                  {"crc32", orba::cli::Format("%08x", e.crc32)}});
    total += e.uncompressed_length;
  }
  reply.Note(orba::cli::Format("%u entries, %s", zip.archive().entry_count,
                               orba::cli::FormatBytes(static_cast<unsigned long long>(total))
                                   .c_str()));
  return orba::cli::kOk;
}

bool IsDirectory(const ZipEntry& e) {
  return e.name_length > 0 && e.name[e.name_length - 1] == '/';
}

// Members are extracted in the archive's order, and each file's callback comes once it is
// written; directories have callbacks too but no bytes.
struct Extraction {
  orba::cli::TransferProgress* progress;  // none when nobody watches
  unsigned files = 0;
};

void MemberWritten(const char* path, void* cookie) {
  auto* x = static_cast<Extraction*>(cookie);
  size_t len = strlen(path);
  if (len > 0 && path[len - 1] == '/') return;
  ++x->files;
  if (x->progress != nullptr) x->progress->MemberDone();
}

int Extract(const Args& args, orba::cli::Reply& reply) {
  const std::string target = args.size() > 1 ? args[1] : "/data/local/tmp/unzip";
  if (target.empty() || target[0] != '/') {
    return orba::cli::Error(reply, orba::cli::kUsage,
                            "zip extract: DIR must be an absolute device path");
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
  std::optional<orba::cli::TransferProgress> progress;
  if (reply.Interactive()) progress.emplace("extracting", items);
  Extraction x{progress ? &*progress : nullptr};
  bool ok = mzExtractRecursive(&zip.archive(), "", target.c_str(), nullptr, MemberWritten, &x,
                               nullptr);
  if (progress) progress->Finish();
  // A member that fails part way ends the run without failing it: count what arrived.
  if (!ok || x.files != items.size()) {
    return orba::cli::FailPaths(reply, {{target, orba::cli::PathUse::kDirectory, false}},
                                "zip extract: %u of %zu files extracted into %s", x.files,
                                items.size(), target.c_str());
  }
  const double seconds = Seconds() - start;
  reply.Answer({{"path", target},
                {"files", items.size()},
                {"size", static_cast<unsigned long>(bytes)},
                {"seconds", orba::cli::Value::Real(seconds, 1)}});
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
    if (ok) {
      reply.Answer({{"name", Name(e)}, {"ok", true}});
      continue;
    }
    ++bad;
    std::string cause = orba::cli::LastLibraryError();
    reply.Answer(
        {{"name", Name(e)}, {"ok", false}, {"error", cause.empty() ? "unreadable" : cause}});
  }
  if (bad != 0) {
    return orba::cli::Error(reply, orba::cli::kFailed, "zip test: %u of %u entries failed", bad,
                            zip.archive().entry_count);
  }
  return orba::cli::kOk;
}

const orba::cli::Family kZip{
    "zip",
    "read ZIP archives on the device",
    {
        {"list", "FILE",
         "each member: name, size, compressed_size, method (stored or deflated) and crc32", 1, 1,
         List, "zip list /data/local/tmp/update.zip"},
        {"extract", "FILE [DIR]",
         "extract every member under DIR (default /data/local/tmp/unzip); answers the directory, "
         "files, size in bytes and seconds taken",
         1, 2, Extract, "zip extract /data/local/tmp/update.zip /data/local/tmp/unzip"},
        {"test", "FILE",
         "read every member and check its CRC: each member's name and ok, with the error of one "
         "that fails; exit 1 when any fails",
         1, 1, Test, "zip test /data/local/tmp/update.zip"},
    }};
orba::cli::Registrar registrar(kZip);

}  // namespace
