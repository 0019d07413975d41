// orbafactory storage: the flash chip's identity and the device's security state.

#include <stdio.h>
#include <unistd.h>

#include <orbafactory/devices.h>
#include <platform/devpath.h>

#include "command.h"

namespace {

using orba::cli::Args;

int Maker(const Args&, orba::cli::Reply& reply) {
  char name[64] = {};
  int ret = get_emmc_manufacture(name);
  reply.Stream(orba::cli::Format("%s\n", name));
  return ret == 0 ? orba::cli::kOk : orba::cli::kFailed;
}

int Bom(const Args&, orba::cli::Reply& reply) {
  char bom[128] = {};
  int ret = get_emmc_bom(bom);
  reply.Stream(orba::cli::Format("%s\n", bom));
  return ret == 0 ? orba::cli::kOk : orba::cli::kFailed;
}

int Id(const Args&, orba::cli::Reply& reply) {
  // The UFS id node is found relative to the working directory; the AT daemon runs in "/".
  if (chdir(DevPath("/")) != 0) {
    return orba::cli::Error(reply, orba::cli::kNoDevice, "storage id: cannot enter the device root");
  }
  char id[128] = {};
  if (get_emmcid(id) != 1) return orba::cli::Fail(reply, "storage id: no chip id");
  reply.Stream(orba::cli::Format("%s\n", id));
  return orba::cli::kOk;
}

int SecureBoot(const Args&, orba::cli::Reply& reply) {
  int on = secure_boot_is_open();
  reply.Stream(orba::cli::Format("%s\n", on ? "enabled" : "not enabled"));
  return orba::cli::kOk;
}

int Rpmb(const Args&, orba::cli::Reply& reply) {
  int provisioned = is_rpmb_provisioned();
  reply.Stream(orba::cli::Format("%s\n", provisioned ? "provisioned" : "not provisioned"));
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
