// The UWB calibration store library writes calibration results where the radio stack reads them
// at boot. It is loaded for each call and unloaded after, by its bare name, so the vendor
// libraries of the device decide which store it has.

#include <dlfcn.h>
#include <errno.h>
#include <stdint.h>

#include <orbafactory/uwb.h>
#include <platform/devpath.h>
#include <platform/log.h>

namespace {

constexpr const char* kStoreLibrary = "libuwbrwpersist.so";

class StoreLibrary {
 public:
  // A bare library name, not a path: the vendor linker namespace finds it.
  StoreLibrary() : handle_(dlopen(DevLibrary(kStoreLibrary), RTLD_LAZY)) {
    if (handle_ == nullptr) ORBA_LOGE("dlopen uwb save data lib fail. errno:%d", errno);
  }
  ~StoreLibrary() {
    if (handle_ != nullptr) dlclose(handle_);
  }
  StoreLibrary(const StoreLibrary&) = delete;
  StoreLibrary& operator=(const StoreLibrary&) = delete;

  bool loaded() const { return handle_ != nullptr; }
  void* Find(const char* name) const {
    void* sym = dlsym(handle_, name);
    if (sym == nullptr) ORBA_LOGE("get function sym fail.");
    return sym;
  }

 private:
  void* handle_;
};

int WriteToPersist(const char* name, uint64_t arg) {
  StoreLibrary store;
  if (!store.loaded()) return -1;
  auto fn = reinterpret_cast<int (*)(uint64_t)>(store.Find(name));
  return fn != nullptr ? fn(arg) : -1;
}

}  // namespace

extern "C" {

int Uwb_WriteAllCalDataToPersist(uint64_t arg) {
  return WriteToPersist("Uwb_WriteAllCalDataToPersist", arg);
}

int Uwb_WriteSmtCalDataToPersist(uint64_t arg) {
  return WriteToPersist("Uwb_WriteSmtCalDataToPersist", arg);
}

void set_property_for_uwb(void) {
  StoreLibrary store;
  if (!store.loaded()) return;
  auto fn = reinterpret_cast<void (*)(void)>(store.Find("set_property_for_uwb"));
  if (fn == nullptr) return;
  ORBA_LOGD("set property for uwb.");
  fn();
}

}  // extern "C"
