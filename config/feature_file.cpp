// Device features from /etc/em_features.xml, one feature a line:
//   <feature name="camera_motor_type">pop</feature>

#include <string.h>

#include <orbafactory/config.h>
#include <orbafactory/sysaccess.h>
#include <platform/log.h>

namespace {

constexpr char kFeaturePath[] = "/etc/em_features.xml";
constexpr size_t kFeatureFileSize = 8192;

}  // namespace

extern "C" ORBA_EXPORT int get_feature_value(const char* feature, char* dst, int dst_size) {
  if (feature == nullptr || dst == nullptr || dst_size < 0) {
    ORBA_LOGE("null argument");
    return -1;
  }
  char text[kFeatureFileSize] = {};
  int ret = orbaatcmd_fread_system_file(kFeaturePath, text, kFeatureFileSize - 1);
  // Callers have always taken an unreadable file as "no answer yet" with their default in dst.
  if (ret != 0 || strlen(text) < 10) {
    ORBA_LOGD("read error:%s %d", kFeaturePath, ret);
    return 0;
  }
  const char* name = strstr(text, feature);
  if (name == nullptr) {
    ORBA_LOGD("not found %s : %s", kFeaturePath, feature);
    return -1;
  }
  const char* open = strchr(name, '>');
  const char* close = strchr(name, '<');
  if (open == nullptr || close == nullptr || close - open <= 1) {
    ORBA_LOGD("pars error %s:%s", kFeaturePath, feature);
    return -1;
  }
  size_t length = static_cast<size_t>(close - open - 1);
  size_t n = length < static_cast<size_t>(dst_size) ? length : static_cast<size_t>(dst_size);
  // strncpy semantics: the rest of dst is cleared, and a value that fills it has no terminator.
  memset(dst, 0, static_cast<size_t>(dst_size));
  memcpy(dst, open + 1, n);
  ORBA_LOGD("find %s:%.*s", feature, static_cast<int>(n), open + 1);
  return 0;
}
