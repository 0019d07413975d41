#ifndef ORBA_CONFIG_IDENTITY_PROPERTY_H
#define ORBA_CONFIG_IDENTITY_PROPERTY_H

// Identity properties are read through the AT-command service: some of them lie outside the
// domains the calling processes may read.

#include <cutils/properties.h>

namespace orba::config {

// The property's value, or `default_value` when unset or unreadable.
void IdentityProperty(const char* key, char (&value)[PROPERTY_VALUE_MAX],
                      const char* default_value);

}  // namespace orba::config

#endif
