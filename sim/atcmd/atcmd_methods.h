#ifndef ORBA_SIM_ATCMD_ATCMD_METHODS_H
#define ORBA_SIM_ATCMD_ATCMD_METHODS_H

#include <stdint.h>

#include <string>
#include <string_view>
#include <vector>

namespace orba::sim {

// The IOrbaAtcmd methods, on the simulated device. Paths are device paths, confined to the
// root; statuses are 0 or -1 unless noted.

std::string GetSystemProperty(const std::string& key, const std::string& default_value);
void SetSystemProperty(const std::string& key, const std::string& value);
std::string ExecSystemCmd(const std::string& command);
// The whole content of a file ("" when it cannot be read), bounded by kMaxFileText.
std::string ReadSystemFile(std::string_view path);
// open(2) with the client's flags and mode 0660; 0 or a negative errno.
int32_t WriteSystemFile(std::string_view path, int32_t open_flags, std::string_view data);
int32_t CopyFile(std::string_view src, std::string_view dst);
int32_t UzipFile(std::string_view zip, std::string_view dest_dir, std::string_view member);
int32_t SelinuxRestorecon(std::string_view path, uint32_t flags);
int32_t ChmodSystemFile(std::string_view path, uint32_t mode);
int32_t RemoveSystemFile(std::string_view path);
// The size, or -1; sizes beyond INT32_MAX read as INT32_MAX.
int32_t SizeofSystemFile(std::string_view path);
int32_t FwriteSystemFile(std::string_view path, std::string_view mode, std::string_view data);
int32_t FwriteDataFile(std::string_view path, std::string_view mode, std::string_view bytes,
                       int32_t size);
int32_t KpWriteFile(std::string_view bytes, int32_t size);
// 16 bytes, or "" when the file cannot be read.
std::string Md5SystemFile(std::string_view path);
std::string SendFingerprintMessage(const std::string& message);

constexpr size_t kMaxFileText = 4u * 1024u * 1024u;
// How long a command run for a caller may take; it also ends when its caller hangs up.
constexpr int kCommandTimeLimitMs = 5 * 60 * 1000;

}  // namespace orba::sim

#endif
