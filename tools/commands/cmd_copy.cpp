// orbafactory copy file|place|tree|unzip|check: the factory copy family on device paths. Long
// copies show their progress on a terminal.

#include <dirent.h>
#include <string.h>
#include <sys/stat.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <orbafactory/factorydata.h>
#include <platform/devpath.h>

#include "command.h"

namespace {

using orba::cli::Args;

unsigned long long FileSize(const std::string& path) {
  struct stat st;
  if (stat(DevPath(path.c_str()), &st) != 0 || S_ISDIR(st.st_mode)) return 0;
  return static_cast<unsigned long long>(st.st_size);
}

// The files under a staged tree, each with where it will land under `dst`.
void TreeFiles(const std::string& src, const std::string& dst, const std::string& rel,
               std::vector<orba::cli::TransferItem>* items) {
  DIR* dir = opendir(DevPath(src.c_str()));
  if (dir == nullptr) return;
  while (const dirent* e = readdir(dir)) {
    if (strcmp(e->d_name, ".") == 0 || strcmp(e->d_name, "..") == 0) continue;
    const std::string name = rel.empty() ? e->d_name : rel + "/" + e->d_name;
    const std::string from = src + "/" + e->d_name;
    struct stat st;
    if (lstat(DevPathNoFollow(from.c_str()), &st) != 0) continue;
    if (S_ISDIR(st.st_mode)) {
      TreeFiles(from, dst + "/" + e->d_name, name, items);
    } else {
      items->push_back({name, dst + "/" + e->d_name, static_cast<unsigned long long>(st.st_size)});
    }
  }
  closedir(dir);
}

unsigned long long Bytes(const std::vector<orba::cli::TransferItem>& items) {
  unsigned long long total = 0;
  for (const auto& item : items) total += item.size;
  return total;
}

// Runs one copy step, with its progress shown to someone watching.
int WithProgress(orba::cli::Reply& reply, const std::vector<orba::cli::TransferItem>& items,
                 const std::function<int()>& copy) {
  std::optional<orba::cli::TransferProgress> progress;
  if (reply.Interactive()) progress.emplace("copying", items);
  return copy();
}

int Report(orba::cli::Reply& reply, int rc, const char* what,
           const std::vector<orba::cli::PathCheck>& paths, const std::string& from,
           const std::string& to, const std::vector<orba::cli::TransferItem>& items) {
  if (rc != 0) {
    return orba::cli::FailPaths(reply, paths, "copy %s: %s -> %s failed", what, from.c_str(),
                                to.c_str());
  }
  reply.Answer({{"source", from},
                {"path", to},
                {"size", static_cast<unsigned long>(Bytes(items))}});
  return orba::cli::kOk;
}

bool MoveFlag(orba::cli::Reply& reply, const Args& args, size_t at, int* flag) {
  *flag = 0;
  if (args.size() <= at) return true;
  if (args[at] != "--move") {
    orba::cli::Error(reply, orba::cli::kUsage, "copy: unknown option %s", args[at].c_str());
    return false;
  }
  *flag = 1;
  return true;
}

using orba::cli::PathUse;

int File(const Args& args, orba::cli::Reply& reply) {
  const std::string& src = args[0];
  const std::string& dst = args[1];
  const std::vector<orba::cli::TransferItem> items = {{src, dst, FileSize(src)}};
  int rc = WithProgress(reply, items, [&] { return copy_file(src.c_str(), dst.c_str()); });
  return Report(reply, rc, "file", {{src, PathUse::kRead}, {dst, PathUse::kWrite}}, src, dst,
                items);
}

int Place(const Args& args, orba::cli::Reply& reply) {
  int move = 0;
  if (!MoveFlag(reply, args, 2, &move)) return orba::cli::kUsage;
  const std::string& src = args[0];
  const std::string& dst = args[1];
  const std::vector<orba::cli::TransferItem> items = {{src, dst, FileSize(src)}};
  int rc = WithProgress(reply, items,
                        [&] { return copy_file_tranverse(src.c_str(), dst.c_str(), move); });
  return Report(reply, rc, "place", {{src, PathUse::kRead}, {dst, PathUse::kCreate}}, src, dst,
                items);
}

int Tree(const Args& args, orba::cli::Reply& reply) {
  const std::string& src = args[0];
  const std::string& dst = args[1];
  std::vector<orba::cli::TransferItem> items;
  TreeFiles(src, dst, "", &items);
  if (items.empty() && orba::cli::CheckDevicePath(src, PathUse::kList).err == 0) {
    // The library still tidies the empty tree away, and fails: there was nothing to place.
    copy_file_loop(src.c_str(), dst.c_str());
    return orba::cli::Error(reply, orba::cli::kFailed, "copy tree: %s holds no files to move",
                            src.c_str());
  }
  int rc = WithProgress(reply, items, [&] { return copy_file_loop(src.c_str(), dst.c_str()); });
  // A file whose copy fails stays in the staged tree for another attempt, and the step still
  // succeeds: say what did not move.
  std::vector<orba::cli::TransferItem> left;
  if (rc == 0) TreeFiles(src, dst, "", &left);
  if (!left.empty()) {
    return orba::cli::FailPaths(reply, {{left[0].device_path, PathUse::kWrite}},
                                "copy tree: %zu of %zu files not moved into %s (they stay in %s)",
                                left.size(), items.size(), dst.c_str(), src.c_str());
  }
  return Report(reply, rc, "tree", {{src, PathUse::kList}, {dst, PathUse::kDirectory}}, src, dst,
                items);
}

int Unzip(const Args& args, orba::cli::Reply& reply) {
  int rc = upzip_file(args[0].c_str(), args[1].c_str(), args[2].c_str());
  if (rc != 0) {
    return orba::cli::FailPaths(reply, {{args[0], PathUse::kRead}, {args[2], PathUse::kWrite}},
                                "copy unzip: %s:%s -> %s failed", args[0].c_str(),
                                args[1].c_str(), args[2].c_str());
  }
  reply.Answer({{"source", args[0]}, {"member", args[1]}, {"path", args[2]}});
  return orba::cli::kOk;
}

int Check(const Args& args, orba::cli::Reply& reply) {
  int status = orba::cli::kOk;
  size_t bad = 0;
  for (const std::string& path : args) {
    if (ckeck_zip_signature(path.c_str()) == 0) {
      reply.Answer({{"path", path}, {"ok", true}});
      continue;
    }
    if (orba::cli::CheckDevicePath(path, PathUse::kRead).err != 0) {
      status = orba::cli::FailPaths(reply, {{path, PathUse::kRead}}, "copy check: cannot read %s",
                                    path.c_str());
      continue;
    }
    reply.Answer({{"path", path}, {"ok", false}});
    ++bad;
  }
  if (bad != 0) {
    return orba::cli::Error(reply, orba::cli::kFailed, "copy check: %zu of %zu files are not ZIP "
                            "archives", bad, args.size());
  }
  return status;
}

const orba::cli::Family kCopy{
    "copy",
    "place files with the factory copy family; each copy answers its source, path and size",
    {
        {"file", "SRC DST", "plain copy, mode 0775", 2, 2, File,
         "copy file /cache/recovery/station_result.txt /data/local/tmp/station_result.txt"},
        {"place", "SRC DST [--move]",
         "copy with the media owner (1023), mode 0775 and build-date stamps, making DST's "
         "directories; a .zip is checked and copied again if bad; --move removes SRC",
         2, 3, Place,
         "copy place /data/local/tmp/station_result.txt /sdcard/station/station_result.txt"},
        {"tree", "SRC_DIR DST_DIR", "move a staged tree into DST_DIR as placed files", 2, 2, Tree,
         "copy tree /data/local/tmp/staged /sdcard/preload"},
        {"unzip", "ZIP MEMBER OUT", "extract one member to a file", 3, 3, Unzip,
         "copy unzip /data/local/tmp/update.zip payload.bin /data/local/tmp/payload.bin"},
        {"check", "FILE...",
         "ZIP signature check of .zip files (others pass): each path and ok; exit 1 when any is "
         "not a ZIP archive",
         1, -1, Check, "copy check /sdcard/preload/apps.zip"},
    }};
orba::cli::Registrar registrar(kCopy);

}  // namespace
