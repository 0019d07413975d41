#ifndef ORBA_PLATFORM_HAL_H
#define ORBA_PLATFORM_HAL_H

// Clients of the two vendor HAL services, shaped like the hidl-gen proxies they stand for: the
// same methods in the same order with the same arguments, results delivered through synchronous
// callbacks that run before the call returns, and status results read from the returned value.
// On the phone (platform/android/) they forward to the generated classes; on a host
// (platform/host/) each call is one request/reply over a fresh Unix stream connection (see
// hal_wire.h).
//
// What the library needs beyond the calls is two static entry points:
//   isRegistered("default")         — the registration probe: no wait, no passthrough stub;
//   getService("default", false)    — a new reference, or null when the service is absent.
// No reference is cached anywhere: each getService is its own connection.

#include <stddef.h>
#include <stdint.h>

#include <functional>
#include <memory>
#include <string_view>

#include <android-base/logging.h>

#if defined(__ANDROID__)
#define ORBA_HAL_CLIENT_API
#else
#define ORBA_HAL_CLIENT_API __attribute__((visibility("default")))
#endif

namespace orba::hal {

// The value of a call, or the fact that the transport failed (then the value is the type's
// failure value: -1 or false), like hardware::Return<T>.
template <typename T>
class Ret {
 public:
  Ret(bool ok, T value) : ok_(ok), value_(value) {}
  bool isOk() const { return ok_; }
  operator T() const { return value_; }

 private:
  bool ok_;
  T value_;
};

template <>
class Ret<void> {
 public:
  explicit Ret(bool ok) : ok_(ok) {}
  bool isOk() const { return ok_; }

 private:
  bool ok_;
};

// A caller's bytes handed to a call without copying, as hidl_vec::setToExternal does; a size
// that cannot be a vector length is the same fatal error there and here.
class ExternalBytes {
 public:
  ExternalBytes(const void* data, size_t size)
      : data_(static_cast<const unsigned char*>(data)), size_(size) {
    if (size > UINT32_MAX) LOG(FATAL) << "external vector size exceeds 2^32 elements.";
  }
  const unsigned char* data() const { return data_; }
  size_t size() const { return size_; }

 private:
  const unsigned char* data_;
  size_t size_;
};

// Result callbacks. The views are valid only during the callback.
using StringCallback = std::function<void(std::string_view)>;
using BytesCallback = std::function<void(const unsigned char* data, size_t size)>;

// vendor.factory.hardware.orbaatcmd@1.0::IOrbaAtcmd. Null strings are sent as "".
class ORBA_HAL_CLIENT_API IOrbaAtcmd {
 public:
  static const char* const descriptor;

  static bool isRegistered(const char* instance);
  static std::unique_ptr<IOrbaAtcmd> getService(const char* instance, bool getStub);

  ~IOrbaAtcmd();
  IOrbaAtcmd(const IOrbaAtcmd&) = delete;
  IOrbaAtcmd& operator=(const IOrbaAtcmd&) = delete;

  Ret<void> getSystemProperty(const char* key, const char* default_value,
                              const StringCallback& cb);
  Ret<void> setSystemProperty(const char* key, const char* value);
  Ret<void> execSystemCmd(const char* command, const StringCallback& cb);
  Ret<void> readSystemFile(const char* path, const StringCallback& cb);
  Ret<int32_t> writeSystemFile(const char* path, int32_t open_flags, const char* data);
  Ret<int32_t> copyFile(const char* src_path, const char* dst_path);
  Ret<int32_t> uzipFile(const char* zip_path, const char* dest_dir, const char* third);
  Ret<int32_t> selinuxRestorecon(const char* path, uint32_t flags);
  Ret<int32_t> chmodSystemFile(const char* path, uint32_t mode);
  Ret<int32_t> removeSystemFile(const char* path);
  Ret<int32_t> sizeofSystemFile(const char* path);
  Ret<int32_t> fwriteSystemFile(const char* path, const char* mode, const char* data);
  Ret<void> freadSystemFile(const char* path, const StringCallback& cb);
  Ret<int32_t> fwriteDataFile(const char* path, const char* mode, const ExternalBytes& data,
                              int32_t size);
  Ret<int32_t> kpWriteFile(const ExternalBytes& data, int32_t size);
  Ret<void> md5SystemFile(const char* path, const BytesCallback& cb);
  Ret<void> sendFingerprintMessage(const char* message, const StringCallback& cb);

  struct Impl;

 private:
  explicit IOrbaAtcmd(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

// vendor.factory.hardware.orbaem@1.0::IOrbaEm: the methods the library calls (the interface has
// more; see hal/interfaces).
class ORBA_HAL_CLIENT_API IOrbaEm {
 public:
  static const char* const descriptor;

  static bool isRegistered(const char* instance);
  static std::unique_ptr<IOrbaEm> getService(const char* instance, bool getStub);

  ~IOrbaEm();
  IOrbaEm(const IOrbaEm&) = delete;
  IOrbaEm& operator=(const IOrbaEm&) = delete;

  Ret<bool> doAction(const char* action, const char* arg1, const char* arg2, const char* arg3);
  Ret<void> sendToEngineer(const char* message, const StringCallback& cb);
  Ret<void> sendToUserEngineer(const char* message, const StringCallback& cb);
  Ret<bool> checkCallback(const char* edition_tag);
  Ret<void> testMicEcho(uint32_t mode, const StringCallback& cb);

  struct Impl;

 private:
  explicit IOrbaEm(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

// Method slots: the 1-based declaration order in the .hal files, which is also what the host
// transport sends as the method number.
enum class AtcmdSlot : uint32_t {
  kGetSystemProperty = 1,
  kSetSystemProperty = 2,
  kExecSystemCmd = 3,
  kReadSystemFile = 4,
  kWriteSystemFile = 5,
  kCopyFile = 6,
  kUzipFile = 7,
  kSelinuxRestorecon = 8,
  kChmodSystemFile = 9,
  kRemoveSystemFile = 10,
  kSizeofSystemFile = 11,
  kFwriteSystemFile = 12,
  kFreadSystemFile = 13,
  kFwriteDataFile = 14,
  kKpWriteFile = 15,
  kMd5SystemFile = 16,
  kSendFingerprintMessage = 17,
};

enum class EmSlot : uint32_t {
  kDoAction = 4,
  kSendToEngineer = 5,
  kSendToUserEngineer = 6,
  kCheckCallback = 7,
  kTestMicEcho = 9,
};

}  // namespace orba::hal

#endif
