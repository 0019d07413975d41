// The named app actions: each is one generic action request whose name is the function's own.

#include <orbafactory/engineer.h>

#include <cutils/properties.h>

#include <orbafactory/foundation.h>
#include <platform/log.h>

#include "em_service_ref.h"

using orba::engineer::Printable;

namespace {

// A QR-code view left on screen would cover whatever the action brings up, so it is dismissed
// first, even when the action then cannot be carried out.
void DismissQrCodeView() { property_set("sys.qrcode.view", "0"); }

}  // namespace

extern "C" ORBA_EXPORT bool startServiceFromAtcid(const char* component, const char* arg2,
                                                  const char* arg3) {
  return startOrbaEM(__func__, component, arg2, arg3);
}

extern "C" ORBA_EXPORT bool stopServiceFromAtcid(const char* component, const char* arg2,
                                                 const char* arg3) {
  return startOrbaEM(__func__, component, arg2, arg3);
}

extern "C" ORBA_EXPORT bool startActivityFromAtcid(const char* component, const char* arg2,
                                                   const char* arg3) {
  ORBA_LOGD("startActivityFromAtcid %s %s %s\n", Printable(component), Printable(arg2),
            Printable(arg3));
  DismissQrCodeView();
  return startOrbaEM(__func__, component, arg2, arg3);
}

extern "C" ORBA_EXPORT bool stopActivityFromAtcid(const char* package, const char* arg2,
                                                  const char* arg3) {
  return startOrbaEM(__func__, package, arg2, arg3);
}

extern "C" ORBA_EXPORT bool sendBroadcastFromAtcid(const char* component, const char* action,
                                                   const char* extras) {
  ORBA_LOGD("sendBroadcastFromAtcid %s %s %s\n", Printable(component), Printable(action),
            Printable(extras));
  DismissQrCodeView();
  return startOrbaEM(__func__, component, action, extras);
}

extern "C" ORBA_EXPORT bool isServiceWork(const char* service_class) {
  ORBA_LOGD("EngineerUtils::isServiceWork\n");
  return startOrbaEM(__func__, service_class, nullptr, nullptr);
}

extern "C" ORBA_EXPORT bool installFactoryApk(void) {
  ORBA_LOGD("EngineerUtils::installFactoryApk");
  return startOrbaEM(__func__, nullptr, nullptr, nullptr);
}

extern "C" ORBA_EXPORT bool unInstallFactoryApk(void) {
  log_em_module(ORBA_EM_LEVEL_INFO, ORBA_MODULE_ENGINEER_MODE, __func__, __LINE__,
                "EngineerUtils::unInstallFactoryApk");
  return startOrbaEM(__func__, nullptr, nullptr, nullptr);
}
