// Files in system locations, read and written by the AT-command service on the caller's behalf.

#include <string.h>

#include <orbafactory/config.h>
#include <orbafactory/sysaccess.h>
#include <platform/log.h>

#include "atcmd_service_ref.h"

using orba::hal::ExternalBytes;
using orba::sysaccess::AtcmdPresentOrRestart;
using orba::sysaccess::CopyOut;
using orba::sysaccess::GetAtcmd;
using orba::sysaccess::TextHolder;

namespace {

// A text result: 0 when the service delivered one (copied with strncpy), else -1.
template <typename Method>
int TextCall(const char* caller, char* out, int len, Method method) {
  auto service = GetAtcmd(caller);
  if (service == nullptr) return -1;
  TextHolder holder;
  method(*service, holder);
  if (!holder.delivered) return -1;
  CopyOut(holder.text, out, len);
  return 0;
}

}  // namespace

extern "C" ORBA_EXPORT int orbaatcmd_read_system_file(const char* path, char* out, int len) {
  return TextCall(__func__, out, len, [&](orba::hal::IOrbaAtcmd& s, TextHolder& h) {
    s.readSystemFile(path, h.Callback());
  });
}

extern "C" ORBA_EXPORT int orbaatcmd_write_system_file(const char* path, int open_flags,
                                                       const char* data) {
  if (!AtcmdPresentOrRestart(__func__)) return write_policy_file(0, path, open_flags, data);
  auto service = GetAtcmd(__func__);
  if (service == nullptr) return -1;
  return service->writeSystemFile(path, open_flags, data);
}

extern "C" ORBA_EXPORT int orbaatcmd_copy_file(const char* src, const char* dst) {
  auto service = GetAtcmd(__func__);
  if (service == nullptr) return -1;
  return service->copyFile(src, dst);
}

extern "C" ORBA_EXPORT int orbaatcmd_uzip_file(const char* zip, const char* dest,
                                               const char* third) {
  auto service = GetAtcmd(__func__);
  if (service == nullptr) return -1;
  return service->uzipFile(zip, dest, third);
}

extern "C" ORBA_EXPORT int orbaatcmd_selinux_restorecon(const char* path, unsigned flags) {
  auto service = GetAtcmd(__func__);
  if (service == nullptr) return -1;
  return service->selinuxRestorecon(path, flags);
}

extern "C" ORBA_EXPORT int orbaatcmd_chmod_system_file(const char* path, unsigned mode) {
  if (!AtcmdPresentOrRestart(__func__)) return -1;
  auto service = GetAtcmd(__func__);
  if (service == nullptr) return -1;
  return service->chmodSystemFile(path, mode);
}

extern "C" ORBA_EXPORT int orbaatcmd_remove_system_file(const char* path) {
  auto service = GetAtcmd(__func__);
  if (service == nullptr) return -1;
  return service->removeSystemFile(path);
}

extern "C" ORBA_EXPORT int orbaatcmd_sizeof_system_file(const char* path) {
  if (!AtcmdPresentOrRestart(__func__)) return -1;
  auto service = GetAtcmd(__func__);
  if (service == nullptr) return -1;
  return service->sizeofSystemFile(path);
}

extern "C" ORBA_EXPORT int orbaatcmd_fwrite_system_file(const char* path, const char* mode,
                                                        const char* data) {
  if (!AtcmdPresentOrRestart(__func__)) return -1;
  auto service = GetAtcmd(__func__);
  if (service == nullptr) return -1;
  return service->fwriteSystemFile(path, mode, data);
}

extern "C" ORBA_EXPORT int orbaatcmd_fread_system_file(const char* path, char* out, int len) {
  if (!AtcmdPresentOrRestart(__func__)) return -1;
  return TextCall(__func__, out, len, [&](orba::hal::IOrbaAtcmd& s, TextHolder& h) {
    s.freadSystemFile(path, h.Callback());
  });
}

extern "C" ORBA_EXPORT int orbaatcmd_fwrite_data_file(const char* path, const char* mode,
                                                      const void* data, int size) {
  // The size goes out twice: as the vector's length, which a negative value makes impossible
  // (fatal, as for any vector), and as its own argument.
  ExternalBytes bytes(data, static_cast<size_t>(static_cast<long>(size)));
  if (data == nullptr && size > 0) {
    ORBA_LOGE("data is null");
    return -1;
  }
  auto service = GetAtcmd(__func__);
  if (service == nullptr) return -1;
  return service->fwriteDataFile(path, mode, bytes, size);
}

extern "C" ORBA_EXPORT int orbaatcmd_orbakp_write_file(const void* data, int size) {
  ExternalBytes bytes(data, static_cast<size_t>(static_cast<long>(size)));
  if (data == nullptr && size > 0) {
    ORBA_LOGE("data is null");
    return -1;
  }
  auto service = GetAtcmd(__func__);
  if (service == nullptr) return -1;
  return service->kpWriteFile(bytes, size);
}

extern "C" ORBA_EXPORT int orbaatcmd_md5_system_file(const char* path, unsigned char* digest) {
  int status = -1;
  auto service = GetAtcmd(__func__);
  if (service == nullptr) return -1;
  service->md5SystemFile(path, [&](const unsigned char* bytes, size_t size) {
    ORBA_LOGD("orbaatcmd_md5_system_file:%zu", size);
    // The caller's buffer is an MD5 digest: whatever came, nothing lands past its 16 bytes.
    if (digest != nullptr) memcpy(digest, bytes, size < 16 ? size : 16);
    if (size == 16) status = 0;
  });
  return status;
}
