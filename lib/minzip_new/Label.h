#ifndef ORBA_MINZIP_LABEL_H
#define ORBA_MINZIP_LABEL_H

#include <sys/types.h>

struct selabel_handle;

namespace orba::minzip {

// While alive, files and directories this thread creates get the SELinux context the label
// handle gives `device_path`. The file-creation context is per-thread state, so it is always put
// back to the default afterwards. Without a handle this does nothing.
class ScopedCreateLabel {
 public:
  ScopedCreateLabel(struct selabel_handle* sehnd, const char* device_path, mode_t mode);
  ~ScopedCreateLabel();
  ScopedCreateLabel(const ScopedCreateLabel&) = delete;
  ScopedCreateLabel& operator=(const ScopedCreateLabel&) = delete;

 private:
  char* context_ = nullptr;
};

}  // namespace orba::minzip

#endif
