// One archive member to one file.

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <orbafactory/factorydata.h>
#include <orbafactory/minzip.h>
#include <platform/devpath.h>
#include <platform/log.h>

namespace {

class MappedArchive {
 public:
  ~MappedArchive() {
    if (open_) mzCloseZipArchive(&archive_);
    if (mapped_) sysReleaseMap(&map_);
  }
  bool Map(const char* path) { return mapped_ = sysMapFile(path, &map_) == 0; }
  int Open() {
    int rc = mzOpenZipArchive(map_.base, map_.length, &archive_);
    open_ = rc == 0;
    return rc;
  }
  const ZipArchive* archive() const { return &archive_; }

 private:
  MemoryMap map_{};
  ZipArchive archive_{};
  bool mapped_ = false;
  bool open_ = false;
};

}  // namespace

extern "C" ORBA_EXPORT int upzip_file(const char* zip_path, const char* entry_name,
                                      const char* out_path) {
  if (zip_path == nullptr || entry_name == nullptr || out_path == nullptr) return -1;
  MappedArchive zip;
  if (!zip.Map(zip_path)) {
    ORBA_LOGD("failed to map file %s\n", zip_path);
    return -1;
  }
  int rc = zip.Open();
  if (rc != 0) {
    ORBA_LOGE("Can't open %s\n(%s)\n", zip_path, rc == -1 ? "bad" : strerror(rc));
    return -1;
  }
  const ZipEntry* entry = mzFindZipEntry(zip.archive(), entry_name);
  if (entry == nullptr) {
    ORBA_LOGD("mzFindZipEntry %s error\n", entry_name);
    return -1;
  }
  // Not truncated, deliberately: an existing target keeps any bytes past the member's length.
  android::base::unique_fd fd(open(DevPath(out_path), O_RDWR | O_CREAT | O_CLOEXEC, 0666));
  if (fd.get() < 0) {
    ORBA_LOGD("Can't create target file \"%s\": %s\n", out_path, strerror(errno));
    return -1;
  }
  if (!mzExtractZipEntryToFile(zip.archive(), entry, fd.get())) {
    ORBA_LOGD("Can't extract file\n");
    return -1;
  }
  return 0;
}
