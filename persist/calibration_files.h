#ifndef ORBA_PERSIST_CALIBRATION_FILES_H
#define ORBA_PERSIST_CALIBRATION_FILES_H

// The two item-state files and the shared pieces of their readers and writers.

#include <stddef.h>

namespace orba::persist {

constexpr const char kCaliResultPath[] = "/cache/recovery/last_test_cali_result.xml";
constexpr const char kCaliBgDarkPath[] = "/cache/recovery/last_test_cali_bg_dark.xml";
constexpr const char kFeaturePath[] = "/etc/em_features.xml";
constexpr const char kEngTestListPath[] = "/cache/recovery/last_EngTestList";

// Every text of these files goes through a buffer of this size (2047 bytes of text at most).
constexpr size_t kCaliFileBufferSize = 2048;
constexpr size_t kCaliListSize = 1280;
// A file this short, or shorter, holds no item and counts as absent.
constexpr int kCaliFileMinSize = 9;

// Reads `path` through the AT-command service into `buf` (kCaliFileBufferSize bytes, zeroed
// here). Returns the text length, or -1 when the service delivered nothing.
int ReadCaliFile(const char* path, char* buf);

// True when the file is missing or too short to hold an item.
bool CaliFileAbsent(const char* path);

// Every table item with `format` ("%s 0\n" or "%s %d\n" with `value`) into `buf` of `size`
// bytes. Returns false, with `needed` and `size` for the caller's message, when it would not fit.
bool BuildCaliListText(char* buf, size_t size, const char* format, int value, int* needed);

// Looks up `item` as the first line that starts with "item " and returns its state digit, or 0.
// `func` names the exported reader in the log lines.
int ReadItemState(const char* path, const char* item, const char* func);

// The uart != 0 write of one item's state into `path` (after the caller made sure it exists).
int StoreItemState(const char* path, const char* item, const char* value, const char* func);

// The double-quoted feature name passed to the feature test, e.g. "\"cct_support\"".
bool FeatureSupported(const char* quoted_name);

// Whether persist.sys.fptype names an under-display fingerprint sensor (logged by the caller's
// name).
bool IsUdfpDevice(const char* func);

}  // namespace orba::persist

#endif
