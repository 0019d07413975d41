// Line search in text files, e.g. waiting until /proc/mounts lists the factory partition.

#include <stdio.h>
#include <string.h>
#include <strings.h>
#include <unistd.h>

#include <orbafactory/config.h>
#include <platform/devpath.h>
#include <platform/log.h>

extern "C" ORBA_EXPORT int is_file_contains_str(const char* path, const char* str,
                                                bool at_line_start) {
  if (path == nullptr || str == nullptr || access(DevPath(path), F_OK) != 0) {
    ORBA_LOGD("parameters error!");
    return 0;
  }
  FILE* fp = fopen(DevPath(path), "re");
  if (fp == nullptr) {
    ORBA_LOGD("open file error:%s \n", path);
    return 0;
  }
  size_t str_length = strlen(str);
  char line[1024];
  while (fgets(line, sizeof(line), fp) != nullptr) {
    bool match = at_line_start ? strncasecmp(line, str, str_length) == 0
                               : strstr(line, str) != nullptr;
    if (match) {
      ORBA_LOGD("get it!");
      fclose(fp);
      return 1;
    }
  }
  fclose(fp);
  ORBA_LOGD("path: %s, doesn't contains str: %s!", path, str);
  return 0;
}
