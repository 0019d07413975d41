#include "atcmd_service_ref.h"

#include <string.h>

#include <orbafactory/sysaccess.h>
#include <platform/log.h>

namespace orba::sysaccess {

namespace {
constexpr const char kInstance[] = "default";
}

bool AtcmdPresentOrRestart(const char* caller) {
  if (hal::IOrbaAtcmd::isRegistered(kInstance)) return true;
  ORBA_LOG_AS(ANDROID_LOG_ERROR, caller, "not found IOrbaAtcmd service");
  restart_orbaatcmd_server();
  return false;
}

std::unique_ptr<hal::IOrbaAtcmd> GetAtcmd(const char* caller) {
  // No passthrough: the service always runs in its own process with its own rights.
  std::unique_ptr<hal::IOrbaAtcmd> service = hal::IOrbaAtcmd::getService(kInstance, false);
  if (service == nullptr) ORBA_LOG_AS(ANDROID_LOG_ERROR, caller, "IOrbaAtcmd getService() is null");
  return service;
}

void CopyOut(const std::string& text, char* out, int len) {
  if (out == nullptr || len <= 0) return;
  strncpy(out, text.c_str(), static_cast<size_t>(len));
}

}  // namespace orba::sysaccess
