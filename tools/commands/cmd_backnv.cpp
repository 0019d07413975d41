// orbafactory backnv dump: the secondary sensors' record, on the device or on a pulled image.

#include <stdint.h>
#include <stdio.h>
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
  // The keys and formats of the record's text view, one field a line.
  reply.Stream(orba::cli::Format("ps_cali_data_b=%d\nps_cali_flag_b=%d\nps_cali_offset_b=%d\nps_cali_data_short_b=%d\n"
         "als_cali_data_b=%d\nals_cali_flag_b=%d\nals_cali_ver_b=%s\ncct_cali_data_b=%f\n"
         "ps_cali_data_low=%d\nps_cali_flag_low=%d\nps_cali_offset_low=%d\n"
         "ps_cali_data_short_low=%d\n",
         Int(r, 16), Int(r, 20), Int(r, 24), Int(r, 28), Int(r, 44), Int(r, 48), version,
         Float(r, 84), Int(r, 100), Int(r, 104), Int(r, 108), Int(r, 112)));
  reply.Stream(orba::cli::Format("als_cali_data_back=%d\nals_cali_flag_back=%d\ncct_data_lux1_back=%d\n"
         "light_sensor_leak_cali_factor_k1_back=%.2f\nlight_sensor_leak_offset_value_back=%.2f\n"
         "light_sensor_leak_cali_flag_back=%d\n",
         Int(r, 128), Int(r, 132), Int(r, 136), Float(r, 140), Float(r, 144), Int(r, 148)));
  return orba::cli::kOk;
}

int Dump(const Args& in, orba::cli::Reply& reply) {
  Args args = in;
  orba::cli::ImageOptions options;
  if (!orba::cli::TakeImageOptions(reply, &args, &options)) return orba::cli::kUsage;
  if (!args.empty()) {
    return orba::cli::Error(reply, orba::cli::kUsage, "backnv dump: unexpected '%s'", args[0].c_str());
  }
  return orba::cli::WithBackupPartition(reply, options, DumpBody, args);
}

const orba::cli::Family kBackNv{
    "backnv",
    "the secondary sensors' record in the backup partition",
    {
        {"dump", "[--image FILE [--write-back]]",
         "every field; --image works on a copy of a pulled partition image, --write-back stores "
         "a copy repaired by the read into FILE",
         0, 3, Dump},
    }};
orba::cli::Registrar registrar(kBackNv);

}  // namespace
