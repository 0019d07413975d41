// Which by-name link of the backup partition this device has.

#include <pthread.h>
#include <unistd.h>

#include <orbafactory/persist.h>
#include <platform/devpath.h>
#include <platform/log.h>

#if !defined(__ANDROID__)
#include <platform/host/device_root.h>
#endif

namespace {

const char* const kCandidates[] = {
    "/dev/block/bootdevice/by-name/backup",
    "/dev/block/platform/bootdevice/by-name/backup",
    "/dev/block/by-name/backup",
};

const char* Choose() {
  for (const char* path : kCandidates) {
    if (access(DevPath(path), F_OK) == 0) return path;
  }
  return kCandidates[0];
}

pthread_mutex_t path_mutex = PTHREAD_MUTEX_INITIALIZER;
const char* chosen_path = nullptr;
#if !defined(__ANDROID__)
// On a host each simulated device is its own phone: a test that moves to a fresh device root
// gets a fresh choice, as a new boot would.
uint32_t chosen_generation = 0;
#endif

}  // namespace

extern "C" ORBA_EXPORT const char* get_backup_path(void) {
  pthread_mutex_lock(&path_mutex);
#if !defined(__ANDROID__)
  if (chosen_path != nullptr && chosen_generation != orba_device_root_generation()) {
    chosen_path = nullptr;
  }
#endif
  if (chosen_path == nullptr) {
    chosen_path = Choose();
#if !defined(__ANDROID__)
    chosen_generation = orba_device_root_generation();
#endif
    ORBA_LOGD("%s", chosen_path);
  }
  const char* path = chosen_path;
  pthread_mutex_unlock(&path_mutex);
  return path;
}
