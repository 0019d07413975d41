// Board thermistors are not compiled in: the vendor image declares them in an INI file (name =
// node path % divisor, one section per thermistor type), and the device feature
// "ntc_temperature" says which of them this product actually fits.

#include <errno.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <orbafactory/config.h>
#include <orbafactory/devices.h>
#include <platform/devpath.h>
#include <platform/log.h>

#include "../config/dictionary_store.h"
#include "../config/dictionary_walk.h"
#include "../config/iniparser_load.h"

namespace {

constexpr const char* kNtcIni = "/vendor/etc/ntc.ini";
constexpr const char* kTypePrefix[] = {nullptr, "type_i:", "type_ii:"};
constexpr int kNameSize = 80;
constexpr int kValueSize = 256;
constexpr int kReadingSize = 20;
constexpr int kItemSize = 100;
constexpr int kFeatureSize = 511;
constexpr int kListSize = 256;
// An open or shorted thermistor reads as the bottom of its range.
constexpr float kOpenCircuit = -40.0f;

class Dictionary {
 public:
  explicit Dictionary(dictionary* d) : d_(d) {}
  ~Dictionary() {
    if (d_ != nullptr) orba::ini::DictDel(d_);
  }
  Dictionary(const Dictionary&) = delete;
  Dictionary& operator=(const Dictionary&) = delete;
  dictionary* get() const { return d_; }

 private:
  dictionary* d_;
};

enum class Entry { kAppended, kBadValue, kUnreadable };

// The response being built in the caller's `out_len` bytes. The walk's own bound (`remaining`,
// lowered by each item's full length) decides when to stop; `used` is what really went in, so no
// byte past `out_len` is ever written: an item that fills the buffer goes in without its
// terminator, and the final cut of the trailing comma terminates it inside the buffer.
struct Response {
  char* out;
  size_t out_len;
  size_t used;
  int remaining;

  void Append(const char* item) {
    size_t n = strlen(item);
    size_t room = out_len - used;
    size_t take = n < room ? n : room;
    memcpy(out + used, item, take);
    used += take;
    if (used < out_len) out[used] = '\0';
    remaining -= static_cast<int>(n);
  }
  void CutLast() {
    if (used > 0) out[--used] = '\0';
  }
};

// One "name = path%divisor" entry appended to the response as "name:reading,".
Entry AppendReading(const char* name, char* value, Response* response) {
  char* percent = strchr(value, '%');
  if (percent == nullptr || atoi(percent + 1) < 0) {
    ORBA_LOGI("ntc_pach error:%s", value);
    return Entry::kBadValue;
  }
  int divisor = atoi(percent + 1);
  *percent = '\0';
  char reading[kReadingSize] = {};
  if (read_policy_file(0, value, reading, sizeof(reading)) != 0) {
    ORBA_LOGD("read file:%s error:%s", value, strerror(errno));
    return Entry::kUnreadable;
  }
  // A zero divisor is not refused: the station sees inf or nan and knows the table is wrong.
  float celsius = static_cast<float>(atof(reading) / divisor);
  char item[kItemSize];
  snprintf(item, sizeof(item), "%s:%.1f,", name, celsius);
  ORBA_LOGD("item_buf: %s", item);
  response->Append(item);
  return Entry::kAppended;
}

}  // namespace

extern "C" {

int get_ntc_temperature_ini(char* out, int out_len, int type) {
  if (out == nullptr || out_len < 0 || (type != 1 && type != 2)) {
    ORBA_LOGD("unknow type:%d", type);
    return 0;
  }
  if (access(DevPath(kNtcIni), F_OK) != 0) {
    ORBA_LOGD("no config %s", kNtcIni);
    return 0;
  }
  Dictionary ini(orba::ini::IniLoad(kNtcIni));
  if (ini.get() == nullptr) {
    ORBA_LOGI("can not parse %s", kNtcIni);
    return -1;
  }
  const char* prefix = kTypePrefix[type];
  const size_t prefix_len = strlen(prefix);
  // Appending continues whatever the caller's buffer already holds, as far as its bound allows.
  Response response{out, static_cast<size_t>(out_len), strnlen(out, static_cast<size_t>(out_len)),
                    out_len};
  const int64_t slots = ini.get()->size;
  for (int64_t i = 0; out_len >= 1 && i < slots; ++i) {
    char key[kNameSize] = {};
    char value[kValueSize] = {};
    if (orba::ini::DictSlotEntry(ini.get(), key, kNameSize - 1, value, kValueSize - 1,
                                 static_cast<int>(i)) == 0) {
      ORBA_LOGD("ntc_name:%s,ntc_pach: %s", key, value);
      if (strncmp(key, prefix, prefix_len) == 0 &&
          AppendReading(key + prefix_len, value, &response) != Entry::kAppended) {
        return -1;
      }
    }
    if (response.remaining < 1) break;
  }
  response.CutLast();
  return 1;
}

int product_ntc_filted(const char* name, int type) {
  char feature[kFeatureSize + 1] = {};
  if (get_feature_value("\"ntc_temperature\"", feature, kFeatureSize) != 0) {
    ORBA_LOGD("get_feature_value error...");
    return 0;
  }
  char list[kListSize] = {};
  const char* key = type == 1 ? "I" : "II";
  if (parse_parameters(feature, key, list, kListSize - 1) != 0) {
    if (type == 1) {
      ORBA_LOGD("get NTC type of  I error.");
    } else {
      ORBA_LOGD("get NTC type of  II error.");
    }
    return -1;
  }
  if (name != nullptr && strstr(list, name) != nullptr) return 0;
  ORBA_LOGD("not support ntc: %s", name != nullptr ? name : "(null)");
  return -1;
}

int filter_ntc_value(char* dst, char* reading, const char* item) {
  ORBA_LOGD("readvalue:%s", reading);
  char name[kItemSize] = {};
  strncpy(name, item, sizeof(name) - 1);
  char* colon = strchr(name, ':');
  if (colon != nullptr) *colon = '\0';
  if (product_ntc_filted(name, 1) != 0 && product_ntc_filted(name, 2) != 0) {
    ORBA_LOGD("ignore this NTC");
    return 0;
  }
  double raw = atof(reading);
  float value = static_cast<float>(raw / 1000);
  if (value == kOpenCircuit || raw == kOpenCircuit) {
    ORBA_LOGD("ignore this NTC");
    return 0;
  }
  ORBA_LOGD("read_value:%f", value);
  // The item is the format: its own name and a conversion for the value.
  snprintf(reading, strlen(item) + 4, item, value);
  strcat(dst, reading);
  return 0;
}

}  // extern "C"
