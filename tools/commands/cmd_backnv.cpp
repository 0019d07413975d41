// orbafactory backnv dump: the secondary sensors' record, on the device or on a pulled image.

#include <stdint.h>
#include <string.h>

#include <orbafactory/persist.h>

#include "command.h"
#include "cmd_nv.h"

namespace {

using orba::cli::Args;

int32_t Int(const uint8_t* r, size_t o) {
  int32_t v;
  memcpy(&v, r + o, sizeof(v));
  return v;
}

double Float(const uint8_t* r, size_t o) {
  float v;
  memcpy(&v, r + o, sizeof(v));
  return static_cast<double>(v);
}

int DumpBody(const Args&, orba::cli::Reply& reply) {
  uint8_t r[BACK_NV_ITEM_SIZE] = {};
  if (get_back_nv_item(r) != 0) {
    return orba::cli::Fail(reply, "cannot read the back-NV record");
  }
  char version[33] = {};
  memcpy(version, r + 52, 32);
  using orba::cli::Value;
  // The keys of the record's text view, with the places its formats give.
  reply.Record({
      {"ps_cali_data_b", Int(r, 16)},
      {"ps_cali_flag_b", Int(r, 20)},
      {"ps_cali_offset_b", Int(r, 24)},
      {"ps_cali_data_short_b", Int(r, 28)},
      {"als_cali_data_b", Int(r, 44)},
      {"als_cali_flag_b", Int(r, 48)},
      {"als_cali_ver_b", version},
      {"cct_cali_data_b", Value::Real(Float(r, 84), 6)},
      {"ps_cali_data_low", Int(r, 100)},
      {"ps_cali_flag_low", Int(r, 104)},
      {"ps_cali_offset_low", Int(r, 108)},
      {"ps_cali_data_short_low", Int(r, 112)},
      {"als_cali_data_back", Int(r, 128)},
      {"als_cali_flag_back", Int(r, 132)},
      {"cct_data_lux1_back", Int(r, 136)},
      {"light_sensor_leak_cali_factor_k1_back", Value::Real(Float(r, 140), 2)},
      {"light_sensor_leak_offset_value_back", Value::Real(Float(r, 144), 2)},
      {"light_sensor_leak_cali_flag_back", Int(r, 148)},
  });
  return orba::cli::kOk;
}

int Dump(const Args& in, orba::cli::Reply& reply) {
  Args args = in;
  orba::cli::ImageOptions options;
  if (!orba::cli::TakeImageOptions(reply, &args, &options)) return orba::cli::kUsage;
  if (!args.empty()) {
    return orba::cli::Error(reply, orba::cli::kUsage, "backnv dump: unexpected '%s'",
                            args[0].c_str());
  }
  return orba::cli::WithBackupPartition(reply, options, DumpBody, args);
}

const orba::cli::Family kBackNv{
    "backnv",
    "the secondary sensors' record in the backup partition",
    {
        {"dump", "[--image FILE [--write-back]]",
         "every field, one name=value line each; --image works on a copy of a pulled partition "
         "image, --write-back stores a copy repaired by the read into FILE",
         0, 3, Dump, "backnv dump"},
    }};
orba::cli::Registrar registrar(kBackNv);

}  // namespace
