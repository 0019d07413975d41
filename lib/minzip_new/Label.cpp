#include "Label.h"

#include <errno.h>
#include <platform/log.h>
#include <selinux/label.h>
#include <selinux/selinux.h>
#include <string.h>

namespace orba::minzip {

ScopedCreateLabel::ScopedCreateLabel(struct selabel_handle* sehnd, const char* device_path,
                                     mode_t mode) {
  if (sehnd == nullptr) return;
  // Policy is written against the phone's paths, so the lookup uses the device path. A path the
  // policy has no entry for keeps the parent's default label, as any other file would.
  if (selabel_lookup(sehnd, &context_, device_path, mode) != 0) {
    context_ = nullptr;
    return;
  }
  if (setfscreatecon(context_) != 0) {
    // Still create the file: refusing would lose the data, and the default label is what a
    // later restorecon fixes anyway.
    ORBA_LOGW("Can't set file creation context %s for \"%s\": %s\n", context_, device_path,
              strerror(errno));
  }
}

ScopedCreateLabel::~ScopedCreateLabel() {
  if (context_ == nullptr) return;
  const int saved_errno = errno;
  freecon(context_);
  setfscreatecon(nullptr);
  errno = saved_errno;
}

}  // namespace orba::minzip
