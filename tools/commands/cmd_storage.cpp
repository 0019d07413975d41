// orbafactory storage: the flash chip's identity and the device's security state.

#include <unistd.h>

#include <orbafactory/devices.h>
#include <platform/devpath.h>

#include "command.h"

namespace {

using orba::cli::Args;

int Maker(const Args&, orba::cli::Reply& reply) {
  char name[64] = {};
  // On failure the library leaves its report where the name goes.
  if (get_emmc_manufacture(name) != 0) return reply.Failure(orba::cli::kFailed, name, {});
  reply.Answer({{"maker", name}});
  return orba::cli::kOk;
}

int Bom(const Args&, orba::cli::Reply& reply) {
  char bom[128] = {};
  if (get_emmc_bom(bom) != 0) return reply.Failure(orba::cli::kFailed, bom, {});
  reply.Answer({{"bom", bom}});
  return orba::cli::kOk;
}

int Id(const Args&, orba::cli::Reply& reply) {
  // The UFS id node is found relative to the working directory; the AT daemon runs in "/".
  if (chdir(DevPath("/")) != 0) {
    return orba::cli::Error(reply, orba::cli::kNoDevice,
                            "storage id: cannot enter the device root");
  }
  char id[128] = {};
  if (get_emmcid(id) != 1) return orba::cli::Fail(reply, "storage id: no chip id");
  reply.Answer({{"id", id}});
  return orba::cli::kOk;
}

int SecureBoot(const Args&, orba::cli::Reply& reply) {
  reply.Answer({{"secure_boot", secure_boot_is_open() != 0}});
  return orba::cli::kOk;
}

int Rpmb(const Args&, orba::cli::Reply& reply) {
  reply.Answer({{"provisioned", is_rpmb_provisioned() != 0}});
  return orba::cli::kOk;
}

const orba::cli::Family kStorage{
    "storage",
    "flash chip identity, secure boot and RPMB state",
    {
        {"maker", "", "the flash chip's maker (eMMC CID or UFS vendor): Toshiba, Samsung, Hynix, "
         "Micron or Kioxia; exit 1 with the library's report otherwise", 0, 0, Maker,
         "storage maker"},
        {"bom", "", "the chip's BOM code (or its key when the BOM table lacks it)", 0, 0, Bom,
         "storage bom"},
        {"id", "", "the chip id (UFS id, else eMMC CID)", 0, 0, Id, "storage id"},
        {"secure-boot", "", "true when secure boot is enabled, else false", 0, 0, SecureBoot,
         "storage secure-boot"},
        {"rpmb", "", "true when the RPMB key is provisioned, else false (retries while not "
         "ready)", 0, 0, Rpmb, "storage rpmb"},
    }};
orba::cli::Registrar registrar(kStorage);

}  // namespace
