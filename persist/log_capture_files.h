#ifndef ORBA_PERSIST_LOG_CAPTURE_FILES_H
#define ORBA_PERSIST_LOG_CAPTURE_FILES_H

// Where the factory logs go, and how much of each is kept.

#include <stddef.h>
#include <stdio.h>

namespace orba::persist {

constexpr const char kEngineerModeDir[] = "/data/vendor/engineermode";
constexpr const char kFactoryAdbLog[] = "/data/vendor/engineermode/last_factory_adb.log";
constexpr const char kFactoryKernelLog[] = "/data/vendor/engineermode/last_factory_kernel.log";
constexpr const char kLogcatPath[] = "/system/bin/logcat";
constexpr const char kKmsgPath[] = "/dev/kmsg";

// The caps bound the space the captures take on the data partition; a capture stops at the
// first read that reaches its cap, so a file may end up to one read past it.
constexpr long kAdbLogCap = 20971520;
constexpr long kKernelLogCap = 10485760;
constexpr size_t kCaptureChunkSize = 1024;
// The longest record a read of the kernel log returns (the kernel's CONSOLE_EXT_LOG_MAX).
constexpr size_t kKmsgRecordMax = 8192;

// Removes `path` and creates it anew, so a file always holds one capture only.
FILE* RecreateCaptureFile(const char* path);

}  // namespace orba::persist

#endif
