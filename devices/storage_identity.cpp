// Which flash chip the phone carries: maker, bill-of-materials code and chip id, from the eMMC
// card identification register or, on UFS phones, the SCSI vendor and model attributes.

#include <ctype.h>
#include <string.h>
#include <strings.h>
#include <unistd.h>

#include <orbafactory/config.h>
#include <orbafactory/devices.h>
#include <platform/devpath.h>
#include <platform/log.h>

namespace {

constexpr const char* kEmmcCid = "/sys/block/mmcblk0/device/cid";
constexpr const char* kUfsVendor = "/sys/block/sda/device/vendor";
constexpr const char* kUfsModel = "/sys/block/sda/device/model";
// Relative on purpose: the UFS id node is looked up from the caller's working directory.
constexpr const char* kUfsId = "sys/ufs/ufsid";
constexpr const char* kBomFile = "/system/etc/emmc_bom";
constexpr int kAttrSize = 100;
constexpr int kIdSize = 256;
constexpr int kIdMax = 100;
// The product-name field of the CID register, in hexadecimal text.
constexpr size_t kCidNameStart = 6;
constexpr size_t kCidNameLen = 12;

enum Maker { kToshiba, kSamsung, kHynix, kMicron, kKioxia, kUnknown };

bool ReadAttr(const char* path, char* buf, int size) {
  memset(buf, 0, static_cast<size_t>(size));
  return read_policy_file(0, path, buf, size) == 0;
}

Maker FromCidPrefix(const char* prefix) {
  if (strcmp(prefix, "11") == 0) return kToshiba;
  if (strcmp(prefix, "15") == 0) return kSamsung;
  if (strcmp(prefix, "90") == 0) return kHynix;
  if (strcmp(prefix, "13") == 0 || strcmp(prefix, "fe") == 0) return kMicron;
  return kUnknown;
}

// Vendor strings come padded and in the maker's own spelling; only Kioxia, a newer name that
// appears in either case, is compared without case.
Maker FromUfsVendor(const char* vendor) {
  if (strstr(vendor, "TOSHIBA") != nullptr) return kToshiba;
  if (strstr(vendor, "SAMSUNG") != nullptr) return kSamsung;
  if (strstr(vendor, "HYNIX") != nullptr || strstr(vendor, "SKhynix") != nullptr) return kHynix;
  if (strstr(vendor, "MICRON") != nullptr) return kMicron;
  if (strcasestr(vendor, "KIOXIA") != nullptr) return kKioxia;
  return kUnknown;
}

void RemoveSpaces(char* text) {
  char* out = text;
  for (const char* in = text; *in != '\0'; ++in) {
    if (*in != ' ') *out++ = *in;
  }
  *out = '\0';
}

}  // namespace

extern "C" {

const char EMMC_MANUFACTURE[6][8] = {"Toshiba", "Samsung", "Hynix", "Micron", "Kioxia", "Unkonwn"};

int get_emmc_manufacture(char* dst) {
  char buf[kAttrSize];
  Maker maker;
  if (ReadAttr(kEmmcCid, buf, sizeof(buf))) {
    char prefix[3] = {buf[0], buf[1], '\0'};
    ORBA_LOGD("get emmc cid prefix: '%s'", prefix);
    maker = FromCidPrefix(prefix);
  } else {
    if (!ReadAttr(kUfsVendor, buf, sizeof(buf))) {
      ORBA_LOGE("get ufs '%s' failed", kUfsVendor);
      strcpy(dst, "get ufs vendor fail");
      return -1;
    }
    ORBA_LOGD("get ufs vendor: '%s'", buf);
    maker = FromUfsVendor(buf);
  }
  strcpy(dst, EMMC_MANUFACTURE[maker]);
  if (maker == kUnknown) return -1;
  ORBA_LOGD("manufacture: '%s'", dst);
  return 0;
}

int get_emmc_bom(char* dst) {
  char key[kAttrSize];
  char buf[kAttrSize];
  if (ReadAttr(kEmmcCid, buf, sizeof(buf))) {
    memset(key, 0, sizeof(key));
    size_t len = strlen(buf);
    if (len > kCidNameStart) {
      size_t n = len - kCidNameStart < kCidNameLen ? len - kCidNameStart : kCidNameLen;
      memcpy(key, buf + kCidNameStart, n);
    }
  } else if (ReadAttr(kUfsModel, buf, sizeof(buf))) {
    RemoveSpaces(buf);
    memcpy(key, buf, sizeof(key));
  } else {
    ORBA_LOGE("get ufs '%s' failed", kUfsModel);
    strcpy(dst, "get ufs model fail");
    return -1;
  }
  ORBA_LOGD("bom_key: %s, len: %d", key, static_cast<int>(strlen(key)));
  const char* value = get_property_file_item_value(kBomFile, key);
  if (value == nullptr) value = "0";
  strcpy(dst, value);
  ORBA_LOGD("bom_value: %s, len=%d", dst, static_cast<int>(strlen(dst)));
  if (strcmp(dst, "0") == 0) strcpy(dst, key);
  return 0;
}

int get_emmcid(char* dst) {
  char buf[kIdSize];
  const char* source = access(DevPath(kUfsId), F_OK) == 0 ? kUfsId : kEmmcCid;
  if (!ReadAttr(source, buf, sizeof(buf))) {
    ORBA_LOGE("get cid failed");
    return 0;
  }
  strncpy(dst, buf, kIdMax);
  dst[kIdMax] = '\0';
  return 1;
}

}  // extern "C"
