// The storage cleaner over a 100,000-file storage with a 10,000-entry preload list, against a
// plain recursive walk of the same tree that deletes nothing. The tree is built once: every
// file is either listed (10,000, named in the list with different letter case) or app data
// (90,000, under /sdcard/Android/data), so the cleaner keeps them all and each run sees the same
// tree. A third run shows what the keep test costs as a scan of the list per file.

#include <android/log.h>
#include <benchmark/benchmark.h>
#include <dirent.h>
#include <fcntl.h>
#include <ftw.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include <orbafactory/factorydata.h>
#include <platform/host/device_root.h>

namespace {

constexpr int kAlbums = 100;       // x kTracks listed files
constexpr int kTracks = 100;
constexpr int kApps = 90;          // x kAppFiles app data files
constexpr int kAppFiles = 1000;

std::string g_root;
tf_data_list* g_keep = nullptr;

void MakeFile(const std::string& path) {
  int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
  if (fd < 0) {
    perror(path.c_str());
    exit(1);
  }
  close(fd);
}

void BuildTree() {
  char templ[] = "/tmp/orba-cleaner-bench-XXXXXX";
  if (mkdtemp(templ) == nullptr) exit(1);
  g_root = templ;
  const std::string sd = g_root + "/sdcard";
  for (const char* d : {"/sdcard", "/sdcard/Music", "/sdcard/Android", "/sdcard/Android/data"}) {
    mkdir((g_root + d).c_str(), 0755);
  }
  tf_data_list** tail = &g_keep;
  char name[128];
  for (int a = 0; a < kAlbums; ++a) {
    snprintf(name, sizeof(name), "/Music/album%03d", a);
    mkdir((sd + name).c_str(), 0755);
    for (int t = 0; t < kTracks; ++t) {
      snprintf(name, sizeof(name), "/Music/album%03d/track%02d.flac", a, t);
      MakeFile(sd + name);
      auto* node = static_cast<tf_data_list*>(calloc(1, sizeof(tf_data_list)));
      snprintf(node->path, sizeof(node->path), "/sdcard/music/ALBUM%03d/Track%02d.FLAC", a, t);
      *tail = node;
      tail = &node->next;
    }
  }
  for (int p = 0; p < kApps; ++p) {
    snprintf(name, sizeof(name), "/Android/data/com.vendor.app%02d", p);
    mkdir((sd + name).c_str(), 0755);
    snprintf(name, sizeof(name), "/Android/data/com.vendor.app%02d/files", p);
    mkdir((sd + name).c_str(), 0755);
    for (int f = 0; f < kAppFiles; ++f) {
      snprintf(name, sizeof(name), "/Android/data/com.vendor.app%02d/files/f%04d", p, f);
      MakeFile(sd + name);
    }
  }
  setenv(ORBA_DEVICE_ROOT_ENV, g_root.c_str(), 1);
  orba_device_root_reset();
}

int RemoveEntry(const char* path, const struct stat*, int, struct FTW*) { return remove(path); }

// The reference: opendir/readdir recursion that only counts what it sees.
long Walk(const char* dir) {
  DIR* d = opendir(dir);
  if (d == nullptr) return 0;
  long files = 0;
  char path[1024];
  while (const dirent* e = readdir(d)) {
    if (strcmp(e->d_name, ".") == 0 || strcmp(e->d_name, "..") == 0) continue;
    snprintf(path, sizeof(path), "%s/%s", dir, e->d_name);
    if (e->d_type == DT_DIR) {
      files += Walk(path);
    } else {
      ++files;
    }
  }
  closedir(d);
  return files;
}

// The cleaner's keep test done as a scan of the list per path (nothing deleted).
long ScanWalk(const char* host_dir, const char* dir) {
  DIR* d = opendir(host_dir);
  if (d == nullptr) return 0;
  long kept = 0;
  char path[1024];
  char host[1024];
  while (const dirent* e = readdir(d)) {
    if (strcmp(e->d_name, ".") == 0 || strcmp(e->d_name, "..") == 0) continue;
    snprintf(path, sizeof(path), "%s/%s", dir, e->d_name);
    bool listed = false;
    for (const tf_data_list* n = g_keep; n != nullptr && !listed; n = n->next) {
      listed = strcasecmp(n->path, path) == 0;
    }
    if (listed) {
      ++kept;
      continue;
    }
    if (e->d_type == DT_DIR) {
      snprintf(host, sizeof(host), "%s/%s", host_dir, e->d_name);
      kept += ScanWalk(host, path);
    } else if (strstr(path, "/sdcard/Android/data") != nullptr) {
      ++kept;
    }
  }
  closedir(d);
  return kept;
}

void BM_PlainWalk(benchmark::State& state) {
  const std::string sd = g_root + "/sdcard";
  for (auto _ : state) benchmark::DoNotOptimize(Walk(sd.c_str()));
  state.SetItemsProcessed(state.iterations() * kAlbums * kTracks + state.iterations() * kApps * kAppFiles);
}

void BM_Cleaner(benchmark::State& state) {
  for (auto _ : state) delete_all_file_except_tfdata("/sdcard", g_keep);
  state.SetItemsProcessed(state.iterations() * kAlbums * kTracks + state.iterations() * kApps * kAppFiles);
  // Nothing may have gone: every file is listed or app data.
  if (Walk((g_root + "/sdcard").c_str()) != kAlbums * kTracks + kApps * kAppFiles) {
    state.SkipWithError("the cleaner removed files it must keep");
  }
}

void BM_ListScanPerFile(benchmark::State& state) {
  const std::string sd = g_root + "/sdcard";
  for (auto _ : state) benchmark::DoNotOptimize(ScanWalk(sd.c_str(), "/sdcard"));
  state.SetItemsProcessed(state.iterations() * kAlbums * kTracks + state.iterations() * kApps * kAppFiles);
}

BENCHMARK(BM_PlainWalk)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_Cleaner)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ListScanPerFile)->Unit(benchmark::kMillisecond)->Iterations(1);

}  // namespace

int main(int argc, char** argv) {
  // Progress lines are debug level; a station's log filter drops them, and so does this run.
  __android_log_set_minimum_priority(ANDROID_LOG_INFO);
  benchmark::Initialize(&argc, argv);
  BuildTree();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  tf_data_list_free(g_keep);
  nftw(g_root.c_str(), RemoveEntry, 16, FTW_DEPTH | FTW_PHYS);
  return 0;
}
