#include "zip_extract.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <string>

#include <android/log.h>
#include <orbafactory/minzip.h>

#include "device_fs.h"

namespace orba::sim {
namespace {

constexpr const char kTag[] = "orbaatcmd-hal";

// Names that are absolute or climb with ".." are what zip-slip archives are made of. The
// extraction below could not leave the target even so (everything resolves beneath it), but a
// member that tries is refused rather than quietly relocated.
bool SafeMemberName(std::string_view name) {
  if (name.empty() || name[0] == '/' || name.find('\0') != std::string_view::npos) return false;
  size_t start = 0;
  while (start <= name.size()) {
    size_t end = name.find('/', start);
    if (end == std::string_view::npos) end = name.size();
    if (name.substr(start, end - start) == "..") return false;
    start = end + 1;
  }
  return true;
}

bool Selected(std::string_view name, std::string_view member) {
  if (member.empty()) return true;
  while (!member.empty() && member.back() == '/') member.remove_suffix(1);
  if (name == member) return true;
  return name.size() > member.size() && name.compare(0, member.size(), member) == 0 &&
         name[member.size()] == '/';
}

// Permission bits an archive made on Unix carries; never set-id or sticky bits from a file
// someone else wrote.
mode_t MemberMode(const ZipEntry& e) {
  mode_t mode = static_cast<mode_t>((e.external_attributes >> 16) & 0777);
  return (e.version_made_by >> 8) == 3 && mode != 0 ? mode : 0644;
}

bool ExtractFile(const ZipArchive& archive, const ZipEntry& entry, int dest_fd,
                 const std::string& name) {
  size_t slash = name.rfind('/');
  if (slash != std::string::npos && !MakeDirsBeneath(dest_fd, name.substr(0, slash), 0755)) {
    return false;
  }
  unique_fd dir;
  std::string leaf;
  if (!OpenParentBeneath(dest_fd, name, &dir, &leaf)) return false;
  // Written under a fresh name and renamed into place: a link planted at the member's name is
  // replaced, never written through.
  std::string tmp;
  unique_fd out = CreateTempFile(dir.get(), leaf, MemberMode(entry), &tmp);
  if (out.get() < 0) return false;
  bool ok = mzExtractZipEntryToFile(&archive, &entry, out.get()) &&
            fchmod(out.get(), MemberMode(entry)) == 0 && fsync(out.get()) == 0;
  out.reset();
  if (!ok || renameat(dir.get(), tmp.c_str(), dir.get(), leaf.c_str()) != 0) {
    unlinkat(dir.get(), tmp.c_str(), 0);
    return false;
  }
  return true;
}

std::atomic<void (*)()> g_mapped_hook{nullptr};

// An unnamed copy of the open archive beside the extraction, which nobody else can open, let
// alone truncate. Invalid (errno set) when the copy cannot be made whole, a full disk included.
unique_fd PrivateCopy(int zip_fd, int dest_fd, size_t* length) {
  unique_fd copy(openat(dest_fd, ".", O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
  // A filesystem without unnamed files: the copy lives in memory instead.
  if (copy.get() < 0 && (errno == EOPNOTSUPP || errno == EISDIR)) {
    copy.reset(memfd_create("orba-unzip", MFD_CLOEXEC));
  }
  if (copy.get() < 0) return copy;
  off_t in = 0;
  for (;;) {
    ssize_t n = copy_file_range(zip_fd, &in, copy.get(), nullptr, 1 << 20, 0);
    if (n < 0 && errno == EINTR) continue;
    if (n < 0 && (errno == EXDEV || errno == ENOSYS || errno == EINVAL)) {
      // No in-kernel copy between these files: through a buffer, from where it stopped.
      char buf[65536];
      for (;;) {
        ssize_t r = pread(zip_fd, buf, sizeof(buf), in);
        if (r < 0 && errno == EINTR) continue;
        if (r < 0) return unique_fd();
        if (r == 0) break;
        if (!WriteAll(copy.get(), buf, static_cast<size_t>(r))) return unique_fd();
        in += r;
      }
      break;
    }
    if (n < 0) return unique_fd();
    if (n == 0) break;
  }
  *length = static_cast<size_t>(in);
  return copy;
}

}  // namespace

void SetZipMappedHook(void (*hook)()) { g_mapped_hook.store(hook); }

int32_t ExtractZipInDevice(std::string_view zip, std::string_view dest_dir,
                           std::string_view member) {
  unique_fd zip_fd = OpenInDevice(zip, O_RDONLY);
  struct stat st;
  if (zip_fd.get() < 0 || fstat(zip_fd.get(), &st) != 0 || !S_ISREG(st.st_mode) ||
      st.st_size == 0) {
    __android_log_print(ANDROID_LOG_ERROR, kTag, "unzip: cannot open %.*s",
                        static_cast<int>(zip.size()), zip.data());
    return -1;
  }
  if (!MakeDirsInDevice(dest_dir, 0755)) return -1;
  unique_fd dest = OpenInDevice(dest_dir, O_PATH | O_DIRECTORY);
  if (dest.get() < 0) return -1;

  size_t length = 0;
  unique_fd copy = PrivateCopy(zip_fd.get(), dest.get(), &length);
  if (copy.get() < 0 || length == 0) {
    __android_log_print(ANDROID_LOG_ERROR, kTag, "unzip: cannot read %.*s: %s",
                        static_cast<int>(zip.size()), zip.data(),
                        copy.get() < 0 ? strerror(errno) : "it is empty");
    return -1;
  }
  zip_fd.reset();
  void* map = mmap(nullptr, length, PROT_READ, MAP_PRIVATE, copy.get(), 0);
  if (map == MAP_FAILED) return -1;
  if (void (*hook)() = g_mapped_hook.load()) hook();
  ZipArchive archive = {};
  int32_t status = -1;
  if (mzOpenZipArchive(static_cast<const unsigned char*>(map), length, &archive) == 0) {
    int selected = 0;
    int failed = 0;
    for (unsigned int i = 0; i < archive.entry_count; ++i) {
      const ZipEntry& e = archive.entries[i];
      std::string name(e.name, e.name_length);
      if (!Selected(name, member)) continue;
      ++selected;
      bool ok;
      if (!SafeMemberName(name)) {
        __android_log_print(ANDROID_LOG_ERROR, kTag, "unzip: refused member name %s",
                            name.c_str());
        ok = false;
      } else if (name.back() == '/') {
        ok = MakeDirsBeneath(dest.get(), name, 0755);
      } else {
        ok = ExtractFile(archive, e, dest.get(), name);
      }
      if (!ok) ++failed;
    }
    status = selected > 0 && failed == 0 ? 0 : -1;
    __android_log_print(ANDROID_LOG_DEBUG, kTag, "unzip %.*s -> %.*s: %d of %d member(s)",
                        static_cast<int>(zip.size()), zip.data(),
                        static_cast<int>(dest_dir.size()), dest_dir.data(), selected - failed,
                        selected);
    mzCloseZipArchive(&archive);
  }
  munmap(map, length);
  return status;
}

}  // namespace orba::sim
