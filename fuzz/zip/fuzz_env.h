#ifndef ORBA_FUZZ_ZIP_FUZZ_ENV_H
#define ORBA_FUZZ_ZIP_FUZZ_ENV_H

#include <android/log.h>
#include <platform/host/device_root.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

namespace orba::fuzz {

inline void DropLog(const struct __android_logger_data*, const char*) {}

// A private device root (on tmpfs when there is one, so synchronous writes stay cheap), and a
// logger that formats every message but prints none.
inline std::string SetUpDevice() {
  const char* base = access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
  std::string root = std::string(base) + "/orba-fuzz-zip-XXXXXX";
  if (mkdtemp(root.data()) == nullptr) abort();
  setenv(ORBA_DEVICE_ROOT_ENV, root.c_str(), 1);
  orba_device_root_reset();
  __android_log_set_minimum_priority(ANDROID_LOG_VERBOSE);
  __android_log_set_logger(DropLog);
  return root;
}

}  // namespace orba::fuzz

#endif
