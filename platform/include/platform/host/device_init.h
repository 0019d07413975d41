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

// The points of a property write, in order, at which a writer may die: an update arms the
// recovery journal, marks the entry busy (odd serial), copies the value in two halves and marks
// it stable; a new entry is filled, counted, then made findable. The crash tests install a hook
// that kills the writer at one of them; null removes it. Writers call it with the area locked.
enum {
  ORBA_PROP_STEP_JOURNAL_ARMED = 1,
  ORBA_PROP_STEP_SERIAL_ODD,
  ORBA_PROP_STEP_VALUE_HALF,
  ORBA_PROP_STEP_VALUE_COPIED,
  ORBA_PROP_STEP_SERIAL_EVEN,
  ORBA_PROP_STEP_ENTRY_FILLED,
  ORBA_PROP_STEP_ENTRY_COUNTED,
  ORBA_PROP_STEP_ENTRY_FINDABLE,
};
__attribute__((visibility("default"))) void orba_property_step_hook(void (*hook)(int step));

#ifdef __cplusplus
}
#endif

#endif
