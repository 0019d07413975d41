// orbafactory identity: what the library's predicates make of this phone, in one view.

#include <cutils/properties.h>
#include <orbafactory/config.h>
#include <orbafactory/sysaccess.h>

#include "command.h"

namespace {

using orba::cli::Args;

const char* PlatformName(int platform) {
  switch (platform) {
    case 1:
      return "Qualcomm";
    case 2:
      return "MediaTek";
    case 3:
      return "Samsung";
    default:
      return "unknown";
  }
}

// The phone runs in one mode at a time; factory mode wins, as the test steps read it.
const char* Edition() {
  if (is_factory_mode_func()) return "factory";
  if (is_aftersale_mode()) return "aftersale";
  if (is_user_mode()) return "user";
  return "normal";
}

int Identity(const Args& /*args*/, orba::cli::Reply& reply) {
  char model[PROPERTY_VALUE_MAX] = {};
  char hardware[PROPERTY_VALUE_MAX] = {};
  char release[PROPERTY_VALUE_MAX] = {};
  if (orbaatcmd_get_system_property("ro.orba.product.model", model, "") != 0 ||
      orbaatcmd_get_system_property("ro.hardware.qzt", hardware, "") != 0 ||
      orbaatcmd_get_system_property("ro.build.version.release", release, "") != 0) {
    return orba::cli::Fail(reply, "identity: the device's properties cannot be read");
  }
  // Every Android build states its version; without one this is not a device's identity.
  if (release[0] == '\0') {
    return orba::cli::Error(reply, orba::cli::kFailed,
                            "identity: the device states no Android version "
                            "(ro.build.version.release): not a device, or not set up");
  }
  int platform = judge_platform();
  reply.Answer({
      {"project", model},
      {"export_variant", is_foreign_project() != 0},
      {"hardware", hardware},
      {"platform", PlatformName(platform)},
      {"platform_id", platform},
      {"edition", Edition()},
      {"engineer_mode", is_bsp_version() == 0},
      {"android", release},
      {"sdk", get_android_sdk_version()},
      {"factory_boot", is_factory_boot() > 0},
      {"multi_sim", is_multi_sim_enabled() > 0},
      {"fingerprint", is_finger_support() > 0},
  });
  return orba::cli::kOk;
}

const orba::cli::Family kIdentity{
    "identity",
    "project, platform, edition and Android version of the device",
    {{"", "",
      "the device's identity as the test steps see it, in one answer: project, export_variant, "
      "hardware, platform (Qualcomm, MediaTek, Samsung or unknown), platform_id, edition "
      "(factory, aftersale, user or normal), engineer_mode (false on a board-support build), "
      "android, sdk, factory_boot, multi_sim, fingerprint; exit 1 when the device states no "
      "Android version",
      0, 0, Identity, "identity"}}};
orba::cli::Registrar registrar(kIdentity);

}  // namespace
