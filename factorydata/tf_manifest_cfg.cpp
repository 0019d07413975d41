// The line manifest: "f<sep><relative path>" names a file, every other line is ignored.

#include <stdio.h>
#include <string.h>

#include <memory>

#include <platform/devpath.h>
#include <platform/log.h>

#include "tf_list.h"

namespace orba::tfdata {

namespace {

constexpr size_t kLineMax = 255;

struct FileCloser {
  void operator()(FILE* f) const { fclose(f); }
};

// Drops the rest of a line that did not fit, so its tail is never read as a line of its own.
void SkipRestOfLine(FILE* f) {
  int c;
  while ((c = fgetc(f)) != EOF && c != '\n') {
  }
}

}  // namespace

tf_data_list* ListFromCfg() {
  std::unique_ptr<FILE, FileCloser> f(fopen(DevPath(kCfgManifest), "re"));
  if (!f) {
    ORBA_LOGD("/sdcard/.clear_sdcard.cfg open fail!");
    return nullptr;
  }
  ListBuilder list;
  char line[2 * kLineMax];
  while (fgets(line, sizeof(line), f.get()) != nullptr) {
    size_t len = strlen(line);
    bool whole = (len > 0 && line[len - 1] == '\n') || feof(f.get());
    if (!whole) SkipRestOfLine(f.get());
    while (len > 0 && (line[len - 1] == '\n' || line[len - 1] == '\r' || line[len - 1] == ' ')) {
      line[--len] = '\0';
    }
    if (!whole || len > kLineMax) {
      ORBA_LOGD("line longer than %zu characters skipped", kLineMax);
      continue;
    }
    ORBA_LOGD("read_line:%s", line);
    // The second character only separates the marker from the path.
    if (line[0] != 'f' || len < 3) continue;
    ORBA_LOGD("file_path:%s", list.AppendRelative(line + 2));
  }
  return list.Release();
}

}  // namespace orba::tfdata

extern "C" ORBA_EXPORT tf_data_list* get_tf_data_from_cfg(void) {
  return orba::tfdata::ListFromCfg();
}

// The line manifest has no variants; the name is kept for callers that pick by variant.
extern "C" ORBA_EXPORT tf_data_list* get_tf_data_from_cfg_by_oem(void) {
  return orba::tfdata::ListFromCfg();
}
