#include "fault_injection.h"

#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace orba::test {
namespace {

struct State {
  pid_t armed;  // the process that armed the cut; the mapping is shared with its parent
  dev_t dev;
  ino_t ino;
  long budget;
  long written;  // survives in the parent: the mapping is shared across fork
};

State* Shared() {
  static State* state = [] {
    void* p = mmap(nullptr, sizeof(State), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return static_cast<State*>(p);
  }();
  return state;
}

ssize_t RealPwrite(int fd, const void* buf, size_t n, off_t off) {
  return syscall(SYS_pwrite64, fd, buf, n, off);
}

ssize_t CuttablePwrite(int fd, const void* buf, size_t n, off_t off) {
  State* s = Shared();
  struct stat st;
  if (s == nullptr || s->armed != getpid() || fstat(fd, &st) != 0 || st.st_dev != s->dev || st.st_ino != s->ino) {
    return RealPwrite(fd, buf, n, off);
  }
  const long left = s->budget - s->written;
  if (static_cast<long>(n) <= left) {
    const ssize_t r = RealPwrite(fd, buf, n, off);
    if (r > 0) s->written += r;
    return r;
  }
  if (left > 0) s->written += RealPwrite(fd, buf, static_cast<size_t>(left), off);
  _exit(kCutExitStatus);
}

}  // namespace

void ArmWriteCut(const std::string& file, long budget) {
  State* s = Shared();
  struct stat st;
  if (stat(file.c_str(), &st) != 0) return;
  s->dev = st.st_dev;
  s->ino = st.st_ino;
  s->budget = budget;
  s->written = 0;
  s->armed = getpid();
}

long BytesWrittenToArmedFile() { return Shared()->written; }

void ResetWriteCounter() {
  Shared()->armed = 0;
  Shared()->written = 0;
}

}  // namespace orba::test

extern "C" __attribute__((visibility("default"))) ssize_t pwrite(int fd, const void* buf, size_t n, off_t off) {
  return orba::test::CuttablePwrite(fd, buf, n, off);
}

extern "C" __attribute__((visibility("default"))) ssize_t pwrite64(int fd, const void* buf, size_t n, off_t off) {
  return orba::test::CuttablePwrite(fd, buf, n, off);
}
