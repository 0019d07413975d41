// Host backend of the HAL clients: every getService opens its own connection to the service's
// abstract socket, a call sends one request on it and reads one reply, and the connection is
// closed. A second call on the same reference simply connects again, so a reference behaves like
// a binder proxy that survives its first transaction.

#include <platform/hal.h>

#include <errno.h>
#include <string.h>
#include <unistd.h>

#include <string>

#include <android-base/unique_fd.h>
#include <platform/host/local_socket.h>
#include <platform/hal_wire.h>

namespace orba::hal {
namespace {

using android::base::unique_fd;

// Connects to the instance's socket; an invalid fd when nobody listens there.
unique_fd ConnectInstance(const char* descriptor, const char* instance) {
  return orba::platform::ConnectDeviceSocket(HalSocketName(descriptor, instance).c_str());
}

const char* Str(const char* s) { return s != nullptr ? s : ""; }

// One request/reply exchange. On success `reply` holds the reply body positioned after the
// transport status, which was 0.
class Call {
 public:
  explicit Call(uint32_t slot) { args_.PutUint32(slot); }
  WireWriter& args() { return args_; }

  bool Transact(unique_fd* fresh, const char* descriptor, const char* instance) {
    unique_fd fd = fresh->get() >= 0 ? std::move(*fresh) : ConnectInstance(descriptor, instance);
    std::string framed;
    if (fd.get() < 0 || !args_.Finish(&framed) || !WireSend(fd.get(), framed)) return false;
    if (!WireReceive(fd.get(), &body_)) return false;
    reader_ = WireReader(body_);
    int32_t status = -1;
    return reader_.GetInt32(&status) && status == 0;
  }
  WireReader& reply() { return reader_; }

 private:
  WireWriter args_;
  std::string body_;
  WireReader reader_{std::string_view()};
};

Ret<int32_t> IntResult(Call& call, bool ok) {
  int32_t v = -1;
  if (!ok || !call.reply().GetInt32(&v)) return Ret<int32_t>(false, -1);
  return Ret<int32_t>(true, v);
}

Ret<bool> BoolResult(Call& call, bool ok) {
  bool v = false;
  if (!ok || !call.reply().GetBool(&v)) return Ret<bool>(false, false);
  return Ret<bool>(true, v);
}

Ret<void> StringResult(Call& call, bool ok, const StringCallback& cb) {
  std::string_view s;
  if (!ok || !call.reply().GetString(&s)) return Ret<void>(false);
  if (cb) cb(s);
  return Ret<void>(true);
}

}  // namespace

struct IOrbaAtcmd::Impl {
  std::string instance;
  unique_fd fresh;  // the connection getService opened, until its first call
};

struct IOrbaEm::Impl {
  std::string instance;
  unique_fd fresh;
};

// ---- IOrbaAtcmd ---------------------------------------------------------------------------

const char* const IOrbaAtcmd::descriptor = "vendor.factory.hardware.orbaatcmd@1.0::IOrbaAtcmd";

bool IOrbaAtcmd::isRegistered(const char* instance) {
  return ConnectInstance(descriptor, Str(instance)).get() >= 0;
}

std::unique_ptr<IOrbaAtcmd> IOrbaAtcmd::getService(const char* instance, bool /*getStub*/) {
  unique_fd fd = ConnectInstance(descriptor, Str(instance));
  if (fd.get() < 0) return nullptr;
  auto impl = std::make_unique<Impl>();
  impl->instance = Str(instance);
  impl->fresh = std::move(fd);
  return std::unique_ptr<IOrbaAtcmd>(new IOrbaAtcmd(std::move(impl)));
}

IOrbaAtcmd::IOrbaAtcmd(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
IOrbaAtcmd::~IOrbaAtcmd() = default;

#define ATCMD_TRANSACT(call) (call).Transact(&impl_->fresh, descriptor, impl_->instance.c_str())

Ret<void> IOrbaAtcmd::getSystemProperty(const char* key, const char* default_value,
                                        const StringCallback& cb) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kGetSystemProperty));
  call.args().PutString(Str(key));
  call.args().PutString(Str(default_value));
  return StringResult(call, ATCMD_TRANSACT(call), cb);
}

Ret<void> IOrbaAtcmd::setSystemProperty(const char* key, const char* value) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kSetSystemProperty));
  call.args().PutString(Str(key));
  call.args().PutString(Str(value));
  return Ret<void>(ATCMD_TRANSACT(call));
}

Ret<void> IOrbaAtcmd::execSystemCmd(const char* command, const StringCallback& cb) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kExecSystemCmd));
  call.args().PutString(Str(command));
  return StringResult(call, ATCMD_TRANSACT(call), cb);
}

Ret<void> IOrbaAtcmd::readSystemFile(const char* path, const StringCallback& cb) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kReadSystemFile));
  call.args().PutString(Str(path));
  return StringResult(call, ATCMD_TRANSACT(call), cb);
}

Ret<int32_t> IOrbaAtcmd::writeSystemFile(const char* path, int32_t open_flags, const char* data) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kWriteSystemFile));
  call.args().PutString(Str(path));
  call.args().PutInt32(open_flags);
  call.args().PutString(Str(data));
  return IntResult(call, ATCMD_TRANSACT(call));
}

Ret<int32_t> IOrbaAtcmd::copyFile(const char* src_path, const char* dst_path) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kCopyFile));
  call.args().PutString(Str(src_path));
  call.args().PutString(Str(dst_path));
  return IntResult(call, ATCMD_TRANSACT(call));
}

Ret<int32_t> IOrbaAtcmd::uzipFile(const char* zip_path, const char* dest_dir, const char* third) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kUzipFile));
  call.args().PutString(Str(zip_path));
  call.args().PutString(Str(dest_dir));
  call.args().PutString(Str(third));
  return IntResult(call, ATCMD_TRANSACT(call));
}

Ret<int32_t> IOrbaAtcmd::selinuxRestorecon(const char* path, uint32_t flags) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kSelinuxRestorecon));
  call.args().PutString(Str(path));
  call.args().PutUint32(flags);
  return IntResult(call, ATCMD_TRANSACT(call));
}

Ret<int32_t> IOrbaAtcmd::chmodSystemFile(const char* path, uint32_t mode) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kChmodSystemFile));
  call.args().PutString(Str(path));
  call.args().PutUint32(mode);
  return IntResult(call, ATCMD_TRANSACT(call));
}

Ret<int32_t> IOrbaAtcmd::removeSystemFile(const char* path) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kRemoveSystemFile));
  call.args().PutString(Str(path));
  return IntResult(call, ATCMD_TRANSACT(call));
}

Ret<int32_t> IOrbaAtcmd::sizeofSystemFile(const char* path) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kSizeofSystemFile));
  call.args().PutString(Str(path));
  return IntResult(call, ATCMD_TRANSACT(call));
}

Ret<int32_t> IOrbaAtcmd::fwriteSystemFile(const char* path, const char* mode, const char* data) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kFwriteSystemFile));
  call.args().PutString(Str(path));
  call.args().PutString(Str(mode));
  call.args().PutString(Str(data));
  return IntResult(call, ATCMD_TRANSACT(call));
}

Ret<void> IOrbaAtcmd::freadSystemFile(const char* path, const StringCallback& cb) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kFreadSystemFile));
  call.args().PutString(Str(path));
  return StringResult(call, ATCMD_TRANSACT(call), cb);
}

Ret<int32_t> IOrbaAtcmd::fwriteDataFile(const char* path, const char* mode,
                                        const ExternalBytes& data, int32_t size) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kFwriteDataFile));
  call.args().PutString(Str(path));
  call.args().PutString(Str(mode));
  call.args().PutBytes(data.data(), data.size());
  call.args().PutInt32(size);
  return IntResult(call, ATCMD_TRANSACT(call));
}

Ret<int32_t> IOrbaAtcmd::kpWriteFile(const ExternalBytes& data, int32_t size) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kKpWriteFile));
  call.args().PutBytes(data.data(), data.size());
  call.args().PutInt32(size);
  return IntResult(call, ATCMD_TRANSACT(call));
}

Ret<void> IOrbaAtcmd::md5SystemFile(const char* path, const BytesCallback& cb) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kMd5SystemFile));
  call.args().PutString(Str(path));
  std::string_view bytes;
  if (!ATCMD_TRANSACT(call) || !call.reply().GetBytes(&bytes)) return Ret<void>(false);
  if (cb) cb(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
  return Ret<void>(true);
}

Ret<void> IOrbaAtcmd::sendFingerprintMessage(const char* message, const StringCallback& cb) {
  Call call(static_cast<uint32_t>(AtcmdSlot::kSendFingerprintMessage));
  call.args().PutString(Str(message));
  return StringResult(call, ATCMD_TRANSACT(call), cb);
}

#undef ATCMD_TRANSACT

// ---- IOrbaEm ------------------------------------------------------------------------------

const char* const IOrbaEm::descriptor = "vendor.factory.hardware.orbaem@1.0::IOrbaEm";

bool IOrbaEm::isRegistered(const char* instance) {
  return ConnectInstance(descriptor, Str(instance)).get() >= 0;
}

std::unique_ptr<IOrbaEm> IOrbaEm::getService(const char* instance, bool /*getStub*/) {
  unique_fd fd = ConnectInstance(descriptor, Str(instance));
  if (fd.get() < 0) return nullptr;
  auto impl = std::make_unique<Impl>();
  impl->instance = Str(instance);
  impl->fresh = std::move(fd);
  return std::unique_ptr<IOrbaEm>(new IOrbaEm(std::move(impl)));
}

IOrbaEm::IOrbaEm(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
IOrbaEm::~IOrbaEm() = default;

#define EM_TRANSACT(call) (call).Transact(&impl_->fresh, descriptor, impl_->instance.c_str())

Ret<bool> IOrbaEm::doAction(const char* action, const char* arg1, const char* arg2,
                            const char* arg3) {
  Call call(static_cast<uint32_t>(EmSlot::kDoAction));
  call.args().PutString(Str(action));
  call.args().PutString(Str(arg1));
  call.args().PutString(Str(arg2));
  call.args().PutString(Str(arg3));
  return BoolResult(call, EM_TRANSACT(call));
}

Ret<void> IOrbaEm::sendToEngineer(const char* message, const StringCallback& cb) {
  Call call(static_cast<uint32_t>(EmSlot::kSendToEngineer));
  call.args().PutString(Str(message));
  return StringResult(call, EM_TRANSACT(call), cb);
}

Ret<void> IOrbaEm::sendToUserEngineer(const char* message, const StringCallback& cb) {
  Call call(static_cast<uint32_t>(EmSlot::kSendToUserEngineer));
  call.args().PutString(Str(message));
  return StringResult(call, EM_TRANSACT(call), cb);
}

Ret<bool> IOrbaEm::checkCallback(const char* edition_tag) {
  Call call(static_cast<uint32_t>(EmSlot::kCheckCallback));
  call.args().PutString(Str(edition_tag));
  return BoolResult(call, EM_TRANSACT(call));
}

Ret<void> IOrbaEm::testMicEcho(uint32_t mode, const StringCallback& cb) {
  Call call(static_cast<uint32_t>(EmSlot::kTestMicEcho));
  call.args().PutUint32(mode);
  return StringResult(call, EM_TRANSACT(call), cb);
}

#undef EM_TRANSACT

}  // namespace orba::hal
