// orbafactory copy file|place|tree|unzip|check: the factory copy family on device paths. Long
// copies show their progress on a terminal.

#include <dirent.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include <functional>
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

// Runs one copy step with its progress shown.
int WithProgress(const std::vector<orba::cli::TransferItem>& items,
                 const std::function<int()>& copy) {
  orba::cli::TransferProgress progress("copying", items);
  return copy();
}

int Report(orba::cli::Reply& reply, int rc, const char* what, const std::vector<orba::cli::PathCheck>& paths,
           const std::string& from, const std::string& to,
           const std::vector<orba::cli::TransferItem>& items) {
  if (rc != 0) {
    return orba::cli::FailPaths(reply, paths, "copy %s: %s -> %s failed", what, from.c_str(),
                                to.c_str());
  }
  reply.Stream(orba::cli::Format("%s -> %s (%s)\n", from.c_str(), to.c_str(), orba::cli::FormatBytes(Bytes(items)).c_str()));
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
  int rc = WithProgress(items, [&] { return copy_file(src.c_str(), dst.c_str()); });
  return Report(reply, rc, "file", {{src, PathUse::kRead}, {dst, PathUse::kWrite}}, src, dst, items);
}

int Place(const Args& args, orba::cli::Reply& reply) {
  int move = 0;
  if (!MoveFlag(reply, args, 2, &move)) return orba::cli::kUsage;
  const std::string& src = args[0];
  const std::string& dst = args[1];
  const std::vector<orba::cli::TransferItem> items = {{src, dst, FileSize(src)}};
  int rc = WithProgress(items, [&] { return copy_file_tranverse(src.c_str(), dst.c_str(), move); });
  return Report(reply, rc, "place", {{src, PathUse::kRead}, {dst, PathUse::kCreate}}, src, dst, items);
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
  int rc = WithProgress(items, [&] { return copy_file_loop(src.c_str(), dst.c_str()); });
  // A file whose copy fails stays in the staged tree for another attempt, and the step still
  // succeeds: say what did not move.
  std::vector<orba::cli::TransferItem> left;
  if (rc == 0) TreeFiles(src, dst, "", &left);
  if (!left.empty()) {
    return orba::cli::FailPaths(reply, {{left[0].device_path, PathUse::kWrite}},
                                "copy tree: %zu of %zu files not moved into %s (they stay in %s)",
                                left.size(), items.size(), dst.c_str(), src.c_str());
  }
  return Report(reply, rc, "tree", {{src, PathUse::kList}, {dst, PathUse::kDirectory}}, src, dst, items);
}

int Unzip(const Args& args, orba::cli::Reply& reply) {
  int rc = upzip_file(args[0].c_str(), args[1].c_str(), args[2].c_str());
  if (rc != 0) {
    return orba::cli::FailPaths(reply, {{args[0], PathUse::kRead}, {args[2], PathUse::kWrite}},
                                "copy unzip: %s:%s -> %s failed", args[0].c_str(),
                                args[1].c_str(), args[2].c_str());
  }
  reply.Stream(orba::cli::Format("%s:%s -> %s\n", args[0].c_str(), args[1].c_str(), args[2].c_str()));
  return orba::cli::kOk;
}

int Check(const Args& args, orba::cli::Reply& reply) {
  int status = orba::cli::kOk;
  for (const std::string& path : args) {
    if (ckeck_zip_signature(path.c_str()) == 0) {
      reply.Stream(orba::cli::Format("%s: ok\n", path.c_str()));
      continue;
    }
    status = orba::cli::kFailed;
    if (orba::cli::CheckDevicePath(path, PathUse::kRead).err != 0) {
      orba::cli::FailPaths(reply, {{path, PathUse::kRead}}, "copy check: cannot read %s", path.c_str());
    } else {
      reply.Stream(orba::cli::Format("%s: not a ZIP archive\n", path.c_str()));
    }
  }
  return status;
}

const orba::cli::Family kCopy{
    "copy",
    "place files with the factory copy family",
    {
        {"file", "SRC DST", "plain copy, mode 0775", 2, 2, File},
        {"place", "SRC DST [--move]",
         "copy with the media owner (1023), mode 0775 and build-date stamps, making DST's "
         "directories; a .zip is checked and copied again if bad; --move removes SRC",
         2, 3, Place},
        {"tree", "SRC_DIR DST_DIR", "move a staged tree into DST_DIR as placed files", 2, 2, Tree},
        {"unzip", "ZIP MEMBER OUT", "extract one member to a file", 3, 3, Unzip},
        {"check", "FILE...", "ZIP signature check of .zip files (others pass)", 1, -1, Check},
    }};
orba::cli::Registrar registrar(kCopy);

}  // namespace
