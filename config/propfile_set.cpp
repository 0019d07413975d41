// Changing and deleting items of key=value files that only the AT-command service may write.
// The whole new text goes to the service in one "w+" write, so a failure never leaves a
// half-written file behind on this side.

#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <android-base/unique_fd.h>
#include <orbafactory/config.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "propfile_text.h"

namespace {

using orba::config::kPropFileClearSize;
using orba::config::kPropFileSize;
using orba::config::kPropPrefixSize;

// Empties the file in place; the service is not needed to shrink a file.
void ClearFile(const char* path) {
  android::base::unique_fd fd(open(DevPath(path), O_RDWR | O_CLOEXEC));
  if (fd.get() < 0) {
    ORBA_LOGD("open file: %s error.", path);
    return;
  }
  if (ftruncate(fd.get(), 0) == 0) lseek(fd.get(), 0, SEEK_SET);
  ORBA_LOGD("clear file: %s.", path);
}

// Appends "key=value" to the text in buffer, which the caller has checked has room for it and
// its newline; returns where the new item starts.
const char* AppendItem(char* buffer, const char* prefix, const char* value) {
  char* item = buffer + strlen(buffer);
  strcat(item, prefix);
  strcat(item, value);
  return item;
}

}  // namespace

extern "C" ORBA_EXPORT int set_property_file_item_value(const char* path, const char* key,
                                                        const char* value) {
  if (path == nullptr || key == nullptr || value == nullptr) {
    ORBA_LOGE("null argument");
    return -1;
  }
  ORBA_LOGI("%s=%s", key, value);
  char prefix[kPropPrefixSize];
  if (!orba::config::BuildPrefix(key, prefix)) {
    ORBA_LOGE("key too long: %s", key);
    return -1;
  }
  int size = orbaatcmd_sizeof_system_file(path);
  char buffer[kPropFileSize] = {};
  int ret = orbaatcmd_fread_system_file(path, buffer, kPropFileSize - 1);
  size_t needed = strlen(prefix) + strlen(value) + 2;
  // A file that exists but cannot be read is not rewritten: its items would be lost.
  if (size >= 2 && ret != 0) {
    ORBA_LOGD("read error:%s %d", path, ret);
    return -1;
  }
  if (size < 2 || strlen(buffer) < 2) {
    if (needed > kPropFileSize) {
      ORBA_LOGD("No memory:%d,%s,%d", static_cast<int>(kPropFileSize), value,
                static_cast<int>(needed));
      return -1;
    }
    memset(buffer, 0, sizeof(buffer));
    ORBA_LOGI("newItem %s", AppendItem(buffer, prefix, value));
    strcat(buffer, "\n");
    if (orbaatcmd_fwrite_system_file(path, "w+", buffer) != 0) {
      ORBA_LOGD("save error:%s", path);
      return -1;
    }
    ORBA_LOGI("create %s success!", path);
    return 0;
  }
  if (strlen(buffer) >= kPropFileClearSize) {
    ClearFile(path);
    memset(buffer, 0, sizeof(buffer));
  }
  char* line = strstr(buffer, prefix);
  bool changed = line != nullptr;
  if (changed) {
    char* newline = strchr(line, '\n');
    if (newline == nullptr) {
      ORBA_LOGD("not found newline error:%s", path);
      return -1;
    }
    orba::config::CutLine(buffer, line, newline);
  }
  size_t room = kPropFileSize - strlen(buffer);
  if (room < needed) {
    ORBA_LOGD("No memory:%d,%s,%d", static_cast<int>(room), value, static_cast<int>(needed));
    return -1;
  }
  // The changed item moves to the end: the order of lines is the order of last change.
  char item[kPropFileSize];
  strcpy(item, AppendItem(buffer, prefix, value));
  strcat(buffer, "\n");
  if (!changed) ORBA_LOGD("newItem %s", item);
  if (orbaatcmd_fwrite_system_file(path, "w+", buffer) != 0) {
    ORBA_LOGD("save error:%s", path);
    return -1;
  }
  if (changed) ORBA_LOGD("changeItem %s", item);
  return 0;
}

extern "C" ORBA_EXPORT int delete_property_file_item(const char* path, const char* key) {
  if (path == nullptr || key == nullptr) {
    ORBA_LOGE("null argument");
    return -1;
  }
  ORBA_LOGD("%s", key);
  char prefix[kPropPrefixSize];
  if (!orba::config::BuildPrefix(key, prefix)) {
    ORBA_LOGE("key too long: %s", key);
    return -1;
  }
  if (orbaatcmd_sizeof_system_file(path) <= 1) {
    ORBA_LOGI("NotFoundFile %s", path);
    return 0;
  }
  char buffer[kPropFileSize] = {};
  int ret = orbaatcmd_fread_system_file(path, buffer, kPropFileSize - 1);
  if (ret != 0 || strlen(buffer) < 2) {
    ORBA_LOGD("read error:%s %d", path, ret);
    return -1;
  }
  char* line = strstr(buffer, prefix);
  if (line == nullptr) {
    ORBA_LOGI("NotFoundItem %s", key);
    return 0;
  }
  char* newline = strchr(line, '\n');
  if (newline == nullptr) {
    ORBA_LOGD("not found newline error:%s", path);
    return -1;
  }
  orba::config::CutLine(buffer, line, newline);
  // An empty text would read back as a missing file; a lone newline keeps it a file.
  if (buffer[0] == '\0') buffer[0] = '\n';
  if (orbaatcmd_fwrite_system_file(path, "w+", buffer) != 0) {
    ORBA_LOGD("save error:%s, buff_read:%s", path, buffer);
    return -1;
  }
  return 0;
}
