// Android global settings, which only the engineer-mode app can read.

#include <stdio.h>
#include <stdlib.h>

#include <orbafactory/config.h>
#include <orbafactory/engineer.h>
#include <platform/log.h>

extern "C" ORBA_EXPORT int get_global_setting_int(const char* name) {
  char request[1024];
  int n = snprintf(request, sizeof(request), "get_global_setting_int %s",
                   name != nullptr ? name : "");
  if (name == nullptr || n < 0 || static_cast<size_t>(n) >= sizeof(request)) {
    ORBA_LOGE("bad setting name");
    return 0;
  }
  const char* str = sendMessage(request);
  ORBA_LOGD("str = %s", str);
  return atoi(str);
}
