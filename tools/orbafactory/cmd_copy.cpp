// orbafactory copy file|place|tree|unzip|check: the factory copy family on device paths. Long
// copies show their progress on a terminal.

#include <dirent.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include <orbafactory/factorydata.h>
#include <platform/devpath.h>

#include "cli.h"

namespace {

using orba::cli::Args;

// Bytes present under a device path: allocated blocks, since the copy reserves a file's full
// length before writing it.
unsigned long long WrittenBytes(const std::string& path) {
  struct stat st;
  if (lstat(DevPath(path.c_str()), &st) != 0) return 0;
  if (!S_ISDIR(st.st_mode)) {
    unsigned long long blocks = static_cast<unsigned long long>(st.st_blocks) * 512;
    unsigned long long size = static_cast<unsigned long long>(st.st_size);
    return blocks < size ? blocks : size;
  }
  unsigned long long total = 0;
  DIR* dir = opendir(DevPath(path.c_str()));
  if (dir == nullptr) return 0;
  while (const dirent* e = readdir(dir)) {
    if (strcmp(e->d_name, ".") == 0 || strcmp(e->d_name, "..") == 0) continue;
    total += WrittenBytes(path + "/" + e->d_name);
  }
  closedir(dir);
  return total;
}

unsigned long long SourceBytes(const std::string& path) {
  struct stat st;
  if (lstat(DevPath(path.c_str()), &st) != 0) return 0;
  if (!S_ISDIR(st.st_mode)) return static_cast<unsigned long long>(st.st_size);
  unsigned long long total = 0;
  DIR* dir = opendir(DevPath(path.c_str()));
  if (dir == nullptr) return 0;
  while (const dirent* e = readdir(dir)) {
    if (strcmp(e->d_name, ".") == 0 || strcmp(e->d_name, "..") == 0) continue;
    total += SourceBytes(path + "/" + e->d_name);
  }
  closedir(dir);
  return total;
}

// Runs `copy` while a terminal shows how much of `total` bytes has reached `dst`.
int WithProgress(const std::string& dst, unsigned long long total, const std::function<int()>& copy) {
  if (!isatty(STDERR_FILENO) || total < (8ull << 20)) return copy();
  std::mutex m;
  std::condition_variable cv;
  bool done = false;
  std::thread shower([&] {
    std::unique_lock<std::mutex> lock(m);
    while (!cv.wait_for(lock, std::chrono::milliseconds(200), [&] { return done; })) {
      unsigned long long now = WrittenBytes(dst);
      if (now > total) now = total;
      fprintf(stderr, "\rcopying %llu/%llu MiB (%llu%%)", now >> 20, total >> 20,
              now * 100 / total);
    }
  });
  int rc = copy();
  {
    std::lock_guard<std::mutex> lock(m);
    done = true;
  }
  cv.notify_one();
  shower.join();
  fputc('\n', stderr);
  return rc;
}

int Report(int rc, const char* what, const std::string& from, const std::string& to) {
  if (rc != 0) {
    return orba::cli::Error(orba::cli::kFailed, "copy %s: %s -> %s failed (%d; see the log, -v)",
                            what, from.c_str(), to.c_str(), rc);
  }
  printf("%s -> %s\n", from.c_str(), to.c_str());
  return orba::cli::kOk;
}

bool MoveFlag(const Args& args, size_t at, int* flag) {
  *flag = 0;
  if (args.size() <= at) return true;
  if (args[at] != "--move") {
    orba::cli::Error(orba::cli::kUsage, "copy: unknown option %s", args[at].c_str());
    return false;
  }
  *flag = 1;
  return true;
}

int File(const Args& args) {
  int rc = WithProgress(args[1], SourceBytes(args[0]),
                        [&] { return copy_file(args[0].c_str(), args[1].c_str()); });
  return Report(rc, "file", args[0], args[1]);
}

int Place(const Args& args) {
  int move = 0;
  if (!MoveFlag(args, 2, &move)) return orba::cli::kUsage;
  int rc = WithProgress(args[1], SourceBytes(args[0]), [&] {
    return copy_file_tranverse(args[0].c_str(), args[1].c_str(), move);
  });
  return Report(rc, "place", args[0], args[1]);
}

int Tree(const Args& args) {
  int rc = WithProgress(args[1], SourceBytes(args[0]),
                        [&] { return copy_file_loop(args[0].c_str(), args[1].c_str()); });
  return Report(rc, "tree", args[0], args[1]);
}

int Unzip(const Args& args) {
  int rc = upzip_file(args[0].c_str(), args[1].c_str(), args[2].c_str());
  return Report(rc, "unzip", args[0] + ":" + args[1], args[2]);
}

int Check(const Args& args) {
  int status = orba::cli::kOk;
  for (const std::string& path : args) {
    bool ok = ckeck_zip_signature(path.c_str()) == 0;
    printf("%s: %s\n", path.c_str(), ok ? "ok" : "not a ZIP archive (or unreadable)");
    if (!ok) status = orba::cli::kFailed;
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
