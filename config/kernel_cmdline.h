#ifndef ORBA_CONFIG_KERNEL_CMDLINE_H
#define ORBA_CONFIG_KERNEL_CMDLINE_H

// The kernel command line, where the bootloader records the boot mode and board options.

#include <stddef.h>

namespace orba::config {

constexpr size_t kCmdlineSize = 4096;

enum class CmdlineRead { kOk, kOpenFailed, kReadFailed };

// Reads up to kCmdlineSize bytes of /proc/cmdline into text (terminated, so it holds one byte
// more). On failure *err holds the errno for the caller's own message.
CmdlineRead ReadKernelCmdline(char (&text)[kCmdlineSize + 1], int* err);

}  // namespace orba::config

#endif
