// The phone's operating mode: factory line, user or after-sales, and its SIM configuration.

#include <string.h>

#include <cutils/properties.h>
#include <orbafactory/config.h>
#include <platform/log.h>

#include "identity_property.h"

namespace {

using orba::config::IdentityProperty;

}  // namespace

extern "C" ORBA_EXPORT int is_factory_mode_func(void) {
  char mode[PROPERTY_VALUE_MAX] = {};
  property_get("persist.sys.factory.mode", mode, "no");
  return strcmp(mode, "yes") == 0 ? 1 : 0;
}

extern "C" ORBA_EXPORT int is_user_mode(void) {
  char mode[PROPERTY_VALUE_MAX];
  IdentityProperty("persist.sys.user.qztem", mode, "");
  ORBA_LOGD("user_mode_prop: %s", mode);
  return strcmp(mode, "1") == 0 ? 1 : 0;
}

extern "C" ORBA_EXPORT int is_aftersale_mode(void) {
  char mode[PROPERTY_VALUE_MAX];
  IdentityProperty("persist.sys.aftersale.qztem", mode, "");
  ORBA_LOGD("aftersale_mode_prop: %s", mode);
  return strcmp(mode, "1") == 0 ? 1 : 0;
}

extern "C" ORBA_EXPORT int is_multi_sim_enabled(void) {
  char config[PROPERTY_VALUE_MAX] = {};
  property_get("persist.radio.multisim.config", config, "null");
  ORBA_LOGD("persist.radio.multisim.config: %s", config);
  return strcmp(config, "dsds") == 0 || strcmp(config, "dsda") == 0 ||
                 strcmp(config, "tsts") == 0
             ? 1
             : 0;
}
