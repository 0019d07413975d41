#include "identity_property.h"

#include <string.h>

#include <orbafactory/sysaccess.h>

namespace orba::config {

void IdentityProperty(const char* key, char (&value)[PROPERTY_VALUE_MAX],
                      const char* default_value) {
  memset(value, 0, sizeof(value));
  if (orbaatcmd_get_system_property(key, value, default_value) != 0) {
    strncpy(value, default_value, sizeof(value) - 1);
  }
}

}  // namespace orba::config
