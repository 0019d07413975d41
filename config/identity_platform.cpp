// The chip vendor and board options: solution property, kernel command line and slot nodes.

#include <errno.h>
#include <stdio.h>
#include <string.h>

#include <cutils/properties.h>
#include <orbafactory/config.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "kernel_cmdline.h"

extern "C" ORBA_EXPORT int judge_platform(void) {
  char solution[128] = {};
  property_get("ro.orba.product.solution", solution, "null");
  if (strcasestr(solution, "qcom") != nullptr) return 1;
  if (strcasestr(solution, "mtk") != nullptr) return 2;
  if (strcasestr(solution, "samsung") != nullptr) return 3;
  return 0;
}

extern "C" ORBA_EXPORT int is_support_mindp(void) {
  char cmdline[orba::config::kCmdlineSize + 1];
  int err = 0;
  orba::config::CmdlineRead result = orba::config::ReadKernelCmdline(cmdline, &err);
  // Callers that only test for non-zero take an unreadable command line as support.
  if (result == orba::config::CmdlineRead::kOpenFailed) {
    ORBA_LOGD("open cmdline error:%s", strerror(err));
    return -1;
  }
  if (result == orba::config::CmdlineRead::kReadFailed) {
    ORBA_LOGD("read cmdline error:%s", strerror(err));
    return -1;
  }
  return strstr(cmdline, "support_minidp=1") != nullptr ? 1 : 0;
}

extern "C" ORBA_EXPORT int get_card_slot_status(char* buf, int size) {
  static const char kPath[] = "/sys/devs_list/card_slot_status_check";
  if (buf == nullptr || size <= 0) {
    ORBA_LOGE("null buffer");
    return -1;
  }
  FILE* fp = fopen(DevPath(kPath), "re");
  if (fp == nullptr) {
    ORBA_LOGD("open %s error:%s", kPath, strerror(errno));
    return -1;
  }
  memset(buf, 0, static_cast<size_t>(size));
  if (fgets(buf, size, fp) != nullptr) {
    // The node's line ends in a newline; callers compare the state without it.
    size_t length = strlen(buf);
    if (length > 0 && buf[length - 1] == '\n') buf[length - 1] = '\0';
  }
  fclose(fp);
  ORBA_LOGD("state %s", buf);
  return 0;
}
