#ifndef ORBA_FACTORYDATA_TF_LIST_H
#define ORBA_FACTORYDATA_TF_LIST_H

#include <orbafactory/factorydata.h>

namespace orba::tfdata {

// Detection goes through the privileged service and reads the storage's real location;
// parsing opens the user-visible view of the same files.
constexpr const char kIniDetectPath[] = "/data/media/0/.clear_sdcard.ini";
constexpr const char kCfgDetectPath[] = "/data/media/0/.clear_sdcard.cfg";
constexpr const char kIniManifest[] = "/sdcard/.clear_sdcard.ini";
constexpr const char kCfgManifest[] = "/sdcard/.clear_sdcard.cfg";
constexpr const char kVariantProperty[] = "ro.orba.oem.name";
constexpr const char kMediaDir[] = "/data/media/0";

// Builds a list in order, one zero-filled node at a time. What is not released is freed.
class ListBuilder {
 public:
  ListBuilder() = default;
  ~ListBuilder() {
    if (head_ != nullptr) tf_data_list_free(head_);
  }
  ListBuilder(const ListBuilder&) = delete;
  ListBuilder& operator=(const ListBuilder&) = delete;

  // Continues an existing list, which the builder then owns.
  void Adopt(tf_data_list* head);
  // Appends "/sdcard/<relative>". Returns the node's path.
  const char* AppendRelative(const char* relative);
  bool empty() const { return head_ == nullptr; }
  // Hands the list to the caller.
  tf_data_list* Release();

 private:
  tf_data_list* head_ = nullptr;
  tf_data_list* tail_ = nullptr;
};

// The manifest readers behind the exported entry points.
tf_data_list* ListFromIni(const char* section, bool allow_all);
tf_data_list* ListFromCfg();
// The list for the manifest on the device (INI section from the variant property), or null.
tf_data_list* ListForDevice(int type);

}  // namespace orba::tfdata

#endif
