// orbafactory identity: what the library's predicates make of this phone, in one view.

#include <stdio.h>

#include <cutils/properties.h>
#include <orbafactory/config.h>
#include <orbafactory/sysaccess.h>

#include "command.h"

namespace {

using orba::cli::Args;

const char* YesNo(int value) { return value > 0 ? "yes" : "no"; }

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
  reply.Stream(orba::cli::Format("project:        %s%s\n", model[0] != '\0' ? model : "(unset)",
         is_foreign_project() ? " (export variant)" : ""));
  reply.Stream(orba::cli::Format("hardware:       %s\n", hardware[0] != '\0' ? hardware : "(unset)"));
  reply.Stream(orba::cli::Format("platform:       %s (%d)\n", PlatformName(platform), platform));
  reply.Stream(orba::cli::Format("edition:        %s\n", Edition()));
  reply.Stream(orba::cli::Format("engineer mode:  %s\n", is_bsp_version() ? "absent (board-support build)" : "installed"));
  reply.Stream(orba::cli::Format("android:        %s (sdk %d)\n", release[0] != '\0' ? release : "(unset)",
         get_android_sdk_version()));
  reply.Stream(orba::cli::Format("factory boot:   %s\n", YesNo(is_factory_boot())));
  reply.Stream(orba::cli::Format("multi-sim:      %s\n", YesNo(is_multi_sim_enabled())));
  reply.Stream(orba::cli::Format("fingerprint:    %s\n", YesNo(is_finger_support())));
  return orba::cli::kOk;
}

const orba::cli::Family kIdentity{
    "identity",
    "project, platform, edition and Android version of the device",
    {{"", "", "print the device's identity as the test steps see it; exit 1 when the device states no "
      "Android version", 0, 0, Identity}}};
orba::cli::Registrar registrar(kIdentity);

}  // namespace
