#ifndef ORBA_PLATFORM_HOST_DEVICE_INIT_H
#define ORBA_PLATFORM_HOST_DEVICE_INIT_H

// What only the simulated device's init may do: create the property area and set any property,
// read-only ones included, at any time (profiles, `orbafactory-sim setprop`). Everything else
// goes through property_set, which keeps the phone's rule that a ro.* property is set once.

#ifdef __cplusplus
extern "C" {
#endif

#define ORBA_PROP_NAME_MAX 128 /* bytes, with the terminator */
#define ORBA_PROP_AREA_CAPACITY 8192

// Creates $ORBA_DEVICE_ROOT/dev/__properties__ if missing. 0, or -1 with errno.
__attribute__((visibility("default"))) int orba_init_property_area(void);

// As property_set, without the ro.* rule. 0, or -1 (bad name or value, area full).
__attribute__((visibility("default"))) int orba_init_property_set(const char* name,
                                                                  const char* value);

#ifdef __cplusplus
}
#endif

#endif
