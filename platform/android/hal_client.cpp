// Phone backend of the HAL clients: a thin layer over the hidl-gen generated proxies. Each
// reference holds one sp<> from getService and releases it with the wrapper; nothing is cached.

#include <platform/hal.h>

#include <hidl/HidlTransportSupport.h>
#include <hidl/ServiceManagement.h>
#include <vendor/factory/hardware/orbaatcmd/1.0/IOrbaAtcmd.h>
#include <vendor/factory/hardware/orbaem/1.0/IOrbaEm.h>

namespace orba::hal {
namespace {

using android::sp;
using android::hardware::hidl_string;
using android::hardware::hidl_vec;
using android::hardware::Return;
namespace gen_atcmd = vendor::factory::hardware::orbaatcmd::V1_0;
namespace gen_em = vendor::factory::hardware::orbaem::V1_0;

const char* Str(const char* s) { return s != nullptr ? s : ""; }

bool Probe(const char* descriptor, const char* instance) {
  sp<android::hidl::base::V1_0::IBase> base =
      android::hardware::details::getRawServiceInternal(descriptor, Str(instance),
                                                        /*retry=*/false, /*getStub=*/false);
  return base != nullptr;
}

template <typename T>
Ret<T> Wrap(const Return<T>& r, T failure) {
  return r.isOk() ? Ret<T>(true, static_cast<T>(r)) : Ret<T>(false, failure);
}

Ret<void> WrapVoid(const Return<void>& r) { return Ret<void>(r.isOk()); }

auto StringCb(const StringCallback& cb) {
  return [&cb](const hidl_string& s) {
    if (cb) cb(std::string_view(s.c_str(), s.size()));
  };
}

hidl_vec<uint8_t> External(const ExternalBytes& data) {
  hidl_vec<uint8_t> v;
  v.setToExternal(const_cast<uint8_t*>(data.data()), data.size());
  return v;
}

}  // namespace

struct IOrbaAtcmd::Impl {
  sp<gen_atcmd::IOrbaAtcmd> service;
};

struct IOrbaEm::Impl {
  sp<gen_em::IOrbaEm> service;
};

// ---- IOrbaAtcmd ---------------------------------------------------------------------------

const char* const IOrbaAtcmd::descriptor = gen_atcmd::IOrbaAtcmd::descriptor;

bool IOrbaAtcmd::isRegistered(const char* instance) { return Probe(descriptor, instance); }

std::unique_ptr<IOrbaAtcmd> IOrbaAtcmd::getService(const char* instance, bool getStub) {
  sp<gen_atcmd::IOrbaAtcmd> s = gen_atcmd::IOrbaAtcmd::getService(Str(instance), getStub);
  if (s == nullptr) return nullptr;
  auto impl = std::make_unique<Impl>();
  impl->service = s;
  return std::unique_ptr<IOrbaAtcmd>(new IOrbaAtcmd(std::move(impl)));
}

IOrbaAtcmd::IOrbaAtcmd(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
IOrbaAtcmd::~IOrbaAtcmd() = default;

Ret<void> IOrbaAtcmd::getSystemProperty(const char* key, const char* default_value,
                                        const StringCallback& cb) {
  return WrapVoid(impl_->service->getSystemProperty(Str(key), Str(default_value), StringCb(cb)));
}

Ret<void> IOrbaAtcmd::setSystemProperty(const char* key, const char* value) {
  return WrapVoid(impl_->service->setSystemProperty(Str(key), Str(value)));
}

Ret<void> IOrbaAtcmd::execSystemCmd(const char* command, const StringCallback& cb) {
  return WrapVoid(impl_->service->execSystemCmd(Str(command), StringCb(cb)));
}

Ret<void> IOrbaAtcmd::readSystemFile(const char* path, const StringCallback& cb) {
  return WrapVoid(impl_->service->readSystemFile(Str(path), StringCb(cb)));
}

Ret<int32_t> IOrbaAtcmd::writeSystemFile(const char* path, int32_t open_flags, const char* data) {
  return Wrap<int32_t>(impl_->service->writeSystemFile(Str(path), open_flags, Str(data)), -1);
}

Ret<int32_t> IOrbaAtcmd::copyFile(const char* src_path, const char* dst_path) {
  return Wrap<int32_t>(impl_->service->copyFile(Str(src_path), Str(dst_path)), -1);
}

Ret<int32_t> IOrbaAtcmd::uzipFile(const char* zip_path, const char* dest_dir, const char* third) {
  return Wrap<int32_t>(impl_->service->uzipFile(Str(zip_path), Str(dest_dir), Str(third)), -1);
}

Ret<int32_t> IOrbaAtcmd::selinuxRestorecon(const char* path, uint32_t flags) {
  return Wrap<int32_t>(impl_->service->selinuxRestorecon(Str(path), flags), -1);
}

Ret<int32_t> IOrbaAtcmd::chmodSystemFile(const char* path, uint32_t mode) {
  return Wrap<int32_t>(impl_->service->chmodSystemFile(Str(path), mode), -1);
}

Ret<int32_t> IOrbaAtcmd::removeSystemFile(const char* path) {
  return Wrap<int32_t>(impl_->service->removeSystemFile(Str(path)), -1);
}

Ret<int32_t> IOrbaAtcmd::sizeofSystemFile(const char* path) {
  return Wrap<int32_t>(impl_->service->sizeofSystemFile(Str(path)), -1);
}

Ret<int32_t> IOrbaAtcmd::fwriteSystemFile(const char* path, const char* mode, const char* data) {
  return Wrap<int32_t>(impl_->service->fwriteSystemFile(Str(path), Str(mode), Str(data)), -1);
}

Ret<void> IOrbaAtcmd::freadSystemFile(const char* path, const StringCallback& cb) {
  return WrapVoid(impl_->service->freadSystemFile(Str(path), StringCb(cb)));
}

Ret<int32_t> IOrbaAtcmd::fwriteDataFile(const char* path, const char* mode,
                                        const ExternalBytes& data, int32_t size) {
  return Wrap<int32_t>(
      impl_->service->fwriteDataFile(Str(path), Str(mode), External(data), size), -1);
}

Ret<int32_t> IOrbaAtcmd::kpWriteFile(const ExternalBytes& data, int32_t size) {
  return Wrap<int32_t>(impl_->service->kpWriteFile(External(data), size), -1);
}

Ret<void> IOrbaAtcmd::md5SystemFile(const char* path, const BytesCallback& cb) {
  return WrapVoid(impl_->service->md5SystemFile(Str(path), [&cb](const hidl_vec<uint8_t>& v) {
    if (cb) cb(v.data(), v.size());
  }));
}

Ret<void> IOrbaAtcmd::sendFingerprintMessage(const char* message, const StringCallback& cb) {
  return WrapVoid(impl_->service->sendFingerprintMessage(Str(message), StringCb(cb)));
}

// ---- IOrbaEm ------------------------------------------------------------------------------

const char* const IOrbaEm::descriptor = gen_em::IOrbaEm::descriptor;

bool IOrbaEm::isRegistered(const char* instance) { return Probe(descriptor, instance); }

std::unique_ptr<IOrbaEm> IOrbaEm::getService(const char* instance, bool getStub) {
  sp<gen_em::IOrbaEm> s = gen_em::IOrbaEm::getService(Str(instance), getStub);
  if (s == nullptr) return nullptr;
  auto impl = std::make_unique<Impl>();
  impl->service = s;
  return std::unique_ptr<IOrbaEm>(new IOrbaEm(std::move(impl)));
}

IOrbaEm::IOrbaEm(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
IOrbaEm::~IOrbaEm() = default;

Ret<bool> IOrbaEm::doAction(const char* action, const char* arg1, const char* arg2,
                            const char* arg3) {
  return Wrap<bool>(impl_->service->doAction(Str(action), Str(arg1), Str(arg2), Str(arg3)),
                    false);
}

Ret<void> IOrbaEm::sendToEngineer(const char* message, const StringCallback& cb) {
  return WrapVoid(impl_->service->sendToEngineer(Str(message), StringCb(cb)));
}

Ret<void> IOrbaEm::sendToUserEngineer(const char* message, const StringCallback& cb) {
  return WrapVoid(impl_->service->sendToUserEngineer(Str(message), StringCb(cb)));
}

Ret<bool> IOrbaEm::checkCallback(const char* edition_tag) {
  return Wrap<bool>(impl_->service->checkCallback(Str(edition_tag)), false);
}

Ret<void> IOrbaEm::testMicEcho(uint32_t mode, const StringCallback& cb) {
  return WrapVoid(impl_->service->testMicEcho(mode, StringCb(cb)));
}

}  // namespace orba::hal
