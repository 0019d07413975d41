// Counting and sizing the listed preload files.

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <platform/devpath.h>
#include <platform/log.h>

#include "tf_list.h"

extern "C" ORBA_EXPORT double get_tf_data_file_size(const tf_data_list* list) {
  double total = 0;
  for (const tf_data_list* node = list; node != nullptr; node = node->next) {
    struct stat st;
    if (stat(DevPath(node->path), &st) != 0) {
      ORBA_LOGI("stat(%s):%s", node->path, strerror(errno));
      continue;
    }
    total += static_cast<double>(st.st_size);
  }
  return total;
}

extern "C" ORBA_EXPORT int get_tf_data_file_number(char* report, int room,
                                                   const tf_data_list* list) {
  if (report == nullptr || list == nullptr) return -1;
  int present = 0;
  bool any_missing = false;
  char* end = report + strlen(report);
  for (const tf_data_list* node = list; node != nullptr; node = node->next) {
    if (access(DevPath(node->path), F_OK) == 0) {
      ++present;
      continue;
    }
    any_missing = true;
    ORBA_LOGD("lost file:%s", node->path);
    // Eight bytes more than the path: "lost:", the newline and the terminator fit with one spare.
    int need = static_cast<int>(strlen(node->path)) + 8;
    if (room > need) {
      end += snprintf(end, static_cast<size_t>(room), "lost:%s\n", node->path);
      room -= need;
    }
  }
  ORBA_LOGD("number:%d", present);
  return any_missing ? -1 : present;
}
