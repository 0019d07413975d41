#ifndef ORBA_PERSIST_TEXT_VIEW_H
#define ORBA_PERSIST_TEXT_VIEW_H

// The key=value text views of the stored records, which other processes (the engineer-mode app)
// read at any moment.

#include <stddef.h>

namespace orba::persist {

// Replaces the file at `device_path` by `text`, mode 0664. The text goes to a temporary file in
// the same directory that is renamed over the old view, so a reader opens either the old view or
// the new one, whole. Returns 0, or a negative errno (logged) with the old view left in place.
int ReplaceTextView(const char* device_path, const char* text, size_t len);

}  // namespace orba::persist

#endif
