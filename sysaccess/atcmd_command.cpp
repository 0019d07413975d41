// Commands and messages carried out by the AT-command service.

#include <orbafactory/sysaccess.h>
#include <platform/log.h>

#include "atcmd_service_ref.h"

using orba::sysaccess::CopyOut;
using orba::sysaccess::GetAtcmd;
using orba::sysaccess::TextHolder;

extern "C" ORBA_EXPORT int orbaatcmd_exec_system_cmd(const char* cmd, char* out, int len) {
  auto service = GetAtcmd(__func__);
  if (service == nullptr) return -1;
  TextHolder holder;
  service->execSystemCmd(cmd, holder.Callback());
  if (!holder.delivered) return -1;
  CopyOut(holder.text, out, len);
  return 0;
}

extern "C" ORBA_EXPORT void orbaatcmd_send_message_to_fingerprint(const char* message,
                                                                  char* reply, int len) {
  TextHolder holder("error");
  auto service = GetAtcmd(__func__);
  if (service != nullptr) service->sendFingerprintMessage(message, holder.Callback());
  CopyOut(holder.text, reply, len);
}

extern "C" ORBA_EXPORT int orbaatcmd_getCPLC(void) { return -1; }
