// Obtaining the engineer-mode service for one call.

#include "em_service_ref.h"

#include <string.h>

#include <platform/log.h>

namespace orba::engineer {

std::unique_ptr<hal::IOrbaEm> GetEm(const char* caller) {
  std::unique_ptr<hal::IOrbaEm> service = hal::IOrbaEm::getService("default", false);
  if (service == nullptr) ORBA_LOG_AS(ANDROID_LOG_ERROR, caller, "startOrbaEM::getService() is null\n");
  return service;
}

void CopyReply(const char* text, char* reply, int len) {
  if (reply == nullptr || len <= 0) return;
  strncpy(reply, text, static_cast<size_t>(len));
}

}  // namespace orba::engineer
