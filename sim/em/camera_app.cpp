#include "camera_app.h"

#include <fcntl.h>
#include <sys/system_properties.h>

#include <android-base/file.h>
#include <android-base/strings.h>

#include <android-base/unique_fd.h>

#include "device_fs.h"

namespace orba::sim {
namespace {

constexpr char kPrefix[] = "eng_AT_camera#";

// Readings the simulated pipeline reports for a function; "" for the plain "FUNCTION 1".
struct FunctionAnswer {
  const char* function;
  const char* readings;
};

constexpr FunctionAnswer kAnswers[] = {
    {"open", "open 1#preview 1"},
    {"stop", "stop 1"},
    {"auto_focus", "af 1#vcm 512"},
    {"far_focus", "af 1#vcm 180"},
    {"near_focus", "af 1#vcm 860"},
    {"mid_focus", "af 1#vcm 512"},
    {"capture", "capture 1#path /sdcard/DCIM/Camera/factory.jpg"},
    {"raw_capture", "capture 1#path /sdcard/DCIM/Camera/factory.raw"},
    {"preview_capture", "capture 1#path /sdcard/DCIM/Camera/preview.jpg"},
    {"raw_sfr", "sfr 0.62#mtf50 0.31"},
    {"raw_rn", "rn 1.8"},
    {"raw_dsnu", "dsnu 0.9"},
    {"raw_light", "luma 128"},
    {"raw_dark", "luma 4"},
    {"raw_distance", "distance 300"},
    {"ntc_temp_read", "ntc_temp 36.5"},
    {"get_sensor_id", "sensor_id 0x0586"},
    {"otp_check", "otp 1"},
    {"otp_write", "otp_write 1"},
    {"ae_support", "ae 1"},
    {"light_factor_get", "light_factor 1.00"},
};

constexpr const char* kPlainFunctions[] = {
    "focus_control",   "raw_params",      "light_factor_set", "exposure_control",
    "pdaf_test",       "phone_test_true", "phone_test_false", "raw_tnfpn",
    "raw_blvv",        "raw_fullscan",    "roi_open",         "raw_ae",
    "raw_light_on",    "ae_cali",         "ae_test",          "check_eeporm_ic",
    "check_otp_burn_ret", "hal_reboot_start", "hal_reboot_check",
};

std::string Property(const char* name) {
  char value[PROP_VALUE_MAX] = {};
  __system_property_get(name, value);
  return value;
}

// The cameras the device has on one side, from the camera_type feature line.
std::string SideCameras(const std::string& side) {
  std::string features;
  android::base::unique_fd fd = OpenInDevice("/etc/em_features.xml", O_RDONLY);
  if (fd.get() < 0 || !android::base::ReadFdToString(fd.get(), &features)) return "";
  size_t line = features.find("name=\"camera_type\">");
  if (line == std::string::npos) return "";
  std::string key = side == "front" ? "front[" : "back[";
  size_t open = features.find(key, line);
  size_t close = open == std::string::npos ? open : features.find(']', open);
  if (close == std::string::npos) return "";
  return features.substr(open + key.size(), close - open - key.size());
}

bool HasCamera(const std::string& position, const std::string& type) {
  std::string name = (position == "front" ? "front_camera_" : "rear_camera_") + type;
  for (const std::string& c : android::base::Split(SideCameras(position), ",")) {
    if (c == name) return true;
  }
  return false;
}

}  // namespace

std::string CameraAppAnswer(const std::string& message) {
  if (!android::base::StartsWith(message, kPrefix)) {
    std::string fallback = Property("sim.camera.default_reply");
    return fallback.empty() ? "error" : fallback;
  }
  std::vector<std::string> parts = android::base::Split(message, "#");
  if (parts.size() < 5) return "fail#incomplete message";
  const std::string& position = parts[1];
  if (position != "front" && position != "rear") return "fail#no camera position " + position;
  for (const std::string& type : android::base::Split(parts[2], "&")) {
    if (!HasCamera(position, type)) return "fail#no " + position + " camera " + type;
  }
  const std::string& function = parts[3];
  for (const FunctionAnswer& a : kAnswers) {
    if (function == a.function) return std::string("success#") + a.readings;
  }
  for (const char* f : kPlainFunctions) {
    if (function == f) return "success#" + function + " 1";
  }
  if (android::base::StartsWith(function, "virt_") ||
      android::base::StartsWith(function, "fuse_")) {
    return "success#" + function + " 1";
  }
  return "fail#unsupported function " + function;
}

}  // namespace orba::sim
