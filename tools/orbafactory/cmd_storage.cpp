// orbafactory storage: the flash chip's identity and the device's security state.

#include <stdio.h>
#include <unistd.h>

#include <orbafactory/devices.h>
#include <platform/devpath.h>

#include "cli.h"

namespace {

using orba::cli::Args;

int Maker(const Args&) {
  char name[64] = {};
  int ret = get_emmc_manufacture(name);
  printf("%s\n", name);
  return ret == 0 ? orba::cli::kOk : orba::cli::kFailed;
}

int Bom(const Args&) {
  char bom[128] = {};
  int ret = get_emmc_bom(bom);
  printf("%s\n", bom);
  return ret == 0 ? orba::cli::kOk : orba::cli::kFailed;
}

int Id(const Args&) {
  // The UFS id node is found relative to the working directory; the AT daemon runs in "/".
  if (chdir(DevPath("/")) != 0) {
    return orba::cli::Error(orba::cli::kNoDevice, "storage id: cannot enter the device root");
  }
  char id[128] = {};
  if (get_emmcid(id) != 1) return orba::cli::Error(orba::cli::kFailed, "storage id: no chip id");
  printf("%s\n", id);
  return orba::cli::kOk;
}

int SecureBoot(const Args&) {
  int on = secure_boot_is_open();
  printf("%s\n", on ? "enabled" : "not enabled");
  return orba::cli::kOk;
}

int Rpmb(const Args&) {
  int provisioned = is_rpmb_provisioned();
  printf("%s\n", provisioned ? "provisioned" : "not provisioned");
  return orba::cli::kOk;
}

const orba::cli::Family kStorage{
    "storage",
    "flash chip identity, secure boot and RPMB state",
    {
        {"maker", "", "the flash chip's maker (eMMC CID or UFS vendor)", 0, 0, Maker},
        {"bom", "", "the chip's BOM code (or its key when the BOM table lacks it)", 0, 0, Bom},
        {"id", "", "the chip id (UFS id, else eMMC CID)", 0, 0, Id},
        {"secure-boot", "", "whether secure boot is enabled", 0, 0, SecureBoot},
        {"rpmb", "", "whether the RPMB key is provisioned (retries while not ready)", 0, 0, Rpmb},
    }};
orba::cli::Registrar registrar(kStorage);

}  // namespace
