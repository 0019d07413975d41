#ifndef ORBA_TOOLS_COMMANDS_CMD_NV_H
#define ORBA_TOOLS_COMMANDS_CMD_NV_H

// Shared by the record families (nv, backnv): the "--image FILE [--write-back]" options that run
// a command on a backup-partition image pulled from a phone instead of the device's partition.

#include "command.h"

namespace orba::cli {

struct ImageOptions {
  std::string image;  // empty: the device's own partition
  bool write_back = false;
};

// Takes the image options out of `args`; false (after a usage message) when they are malformed.
bool TakeImageOptions(Reply& reply, Args* args, ImageOptions* options);

// Runs `body` on the device's partition, or on a copy of the image placed in a temporary device
// root, copying the copy back over the image afterwards only when asked to and `body` succeeded.
int WithBackupPartition(Reply& reply, const ImageOptions& options,
                        int (*body)(const Args&, Reply&), const Args& args);

}  // namespace orba::cli

#endif
