// Which cameras the project has, where each module's serial number and material code are
// stored, and what the camera HAL says about a module's OTP.

#include <orbafactory/camera.h>

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include <orbafactory/config.h>
#include <orbafactory/foundation.h>
#include <orbafactory/sysaccess.h>
#include <platform/devpath.h>
#include <platform/log.h>

namespace {

constexpr char kCameraDataDir[] = "/mnt/vendor/nvcfg/camera/";

struct LegacyFile {
  const char* types[3];  // substrings of the camera type; the first row with a match wins
  const char* file;
};

// "sn_data_wide" is special: a module without it keeps its data in "sn_data_aux".
constexpr LegacyFile kLegacyFiles[] = {
    {{"rear_camera_main"}, "sn_data_main"},
    {{"rear_camera_wide", "rear_camera_sub"}, "sn_data_wide"},
    {{"rear_camera_rtb"}, "sn_data_aux"},
    {{"rear_camera_tele"}, "sn_data_tele"},
    {{"rear_camera_peri"}, "sn_data_tele1"},
    {{"front_camera_main"}, "sn_data_front_main"},
    {{"front_camera_rtb", "front_camera_wide", "front_camera_sub"}, "sn_data_front_aux"},
    {{"front_camera_aux-main"}, "front_camera_aux-main_sn"},
};

bool Exists(const char* path) { return access(DevPath(path), F_OK) == 0; }

const char* LegacyFileFor(const char* cam_type) {
  for (const LegacyFile& f : kLegacyFiles) {
    for (const char* t : f.types) {
      if (t == nullptr || strstr(cam_type, t) == nullptr) continue;
      if (strcmp(f.file, "sn_data_wide") == 0 &&
          !Exists((std::string(kCameraDataDir) + "sn_data_wide").c_str())) {
        return "sn_data_aux";
      }
      return f.file;
    }
  }
  return nullptr;
}

// The error text for the code in an OTP status value's third character.
const char* OtpErrorInfo(char code) {
  switch (code) {
    case '1': return "otp checksum error";
    case '2': return "otp awb data error";
    case '3': return "otp lsc data error";
    case '4': return "otp af data error";
    case '5': return "otp pdaf data error";
    case '6': return "otp module info error";
    case 'F': return "otp not burned";
    default: return "otp unknown error";
  }
}

}  // namespace

extern "C" ORBA_EXPORT int is_support_target_camera(int front, const char* type) {
  bool is_front = (front & 1) != 0;
  char value[256] = {};
  if (get_feature_value("\"camera_type\"", value, sizeof(value) - 1) != 0) {
    ORBA_LOGE("get_feature_value error...");
    return 0;
  }
  char cameras[256] = {};
  if (parse_parameters(value, is_front ? "front" : "back", cameras, sizeof(cameras) - 1) != 0) {
    ORBA_LOGE("get %s camera error.", is_front ? "front" : "rear");
    return 0;
  }
  bool found = type != nullptr && strstr(cameras, type) != nullptr;
  ORBA_LOGD("face = %s, type = %s, ret = %s", is_front ? "front" : "rear",
            type != nullptr ? type : "(null)", found ? "true" : "false");
  return found ? 1 : 0;
}

extern "C" ORBA_EXPORT int combine_camera_sn_path(const char* flag, const char* cam_type,
                                                  char* path, int size) {
  ORBA_LOGD("entered!! flag=%s, cam_type=%s", flag != nullptr ? flag : "(null)",
            cam_type != nullptr ? cam_type : "(null)");
  const char* suffix = nullptr;
  if (flag != nullptr && strstr(flag, "sn_code") != nullptr) suffix = "_sn";
  if (flag != nullptr && suffix == nullptr && strstr(flag, "material_code") != nullptr) {
    suffix = "_material";
  }
  if (suffix == nullptr) {
    ORBA_LOGE("invalid flag:%s!!", flag != nullptr ? flag : "(null)");
    return -1;
  }
  if (cam_type == nullptr || path == nullptr || size <= 0) return -1;
  int n;
  if (is_support_new_camera_interface() == 1) {
    n = snprintf(path, static_cast<size_t>(size), "%s%s%s", kCameraDataDir, cam_type, suffix);
  } else {
    const char* file = LegacyFileFor(cam_type);
    if (file == nullptr) {
      ORBA_LOGE("invalid cam_type!!");
      return -1;
    }
    n = snprintf(path, static_cast<size_t>(size), "%s%s", kCameraDataDir, file);
  }
  if (n < 0 || n >= size) {
    ORBA_LOGE("path does not fit in %d bytes", size);
    path[0] = '\0';
    return -1;
  }
  return 0;
}

extern "C" ORBA_EXPORT void get_camera_info_code(const char* flag, const char* cam_type,
                                                 char* out, int size) {
  if (out == nullptr || size <= 0) return;
  memset(out, 0, static_cast<size_t>(size));
  if (flag == nullptr || cam_type == nullptr) return;
  char type[128] = {};
  if (strstr(cam_type, "rear_camera_peri") != nullptr) {
    strcpy(type, is_above_PD_project(5404) ? "rear_camera_tele5x" : "rear_camera_tele1");
  } else {
    strncpy(type, cam_type, sizeof(type) - 1);
  }
  char path[64] = {};
  if (combine_camera_sn_path(flag, type, path, sizeof(path)) != 0) return;
  ORBA_LOGD("file_path = %s", path);
  chmod(DevPath(path), 0664);
  if (!Exists(path) && strstr(path, "rear_camera_tele_") != nullptr) {
    memset(path, 0, sizeof(path));
    if (combine_camera_sn_path(flag, "rear_camera_tele2p5x", path, sizeof(path)) != 0) return;
  }
  // The mode is set before the file is looked for, so a missing file shows in the log as the
  // chmod that failed on it; the existence test only catches a file gone after the chmod.
  if (chmod(DevPath(path), 0664) != 0) {
    ORBA_LOGE("chmod error : %s", strerror(errno));
    return;
  }
  if (!Exists(path)) {
    ORBA_LOGE("file_path not exist:%s", path);
    return;
  }
  orbaatcmd_set_system_property("sys.engineermode.operate_camera_file", "1");
  char text[64] = {};
  if (read_policy_file(0, path, text, sizeof(text)) != 0) {
    ORBA_LOGE("read_policy_file error : %s", strerror(errno));
    return;
  }
  if (strstr(flag, "sn_code") != nullptr) {
    unsigned char serial[sizeof(text)] = {};
    hex2Ascii(text, serial);
    ORBA_LOGD("result:%s", reinterpret_cast<char*>(serial));
    strncpy(out, reinterpret_cast<char*>(serial), static_cast<size_t>(size) - 1);
  } else {
    strncpy(out, text, static_cast<size_t>(size) - 1);
  }
}

extern "C" ORBA_EXPORT int get_target_camera_otp_status(char* dst, int dst_size,
                                                        const char* key) {
  ORBA_LOGD("entered!!");
  if (dst == nullptr || dst_size <= 31) {
    ORBA_LOGE("lens is too short!");
    return 0;
  }
  const char* name = key != nullptr ? key : " ";
  char value[92] = {};
  orbaatcmd_get_system_property(name, value, " ");
  ORBA_LOGD("getprop: %s", value);
  int good = value[0] == '0' || value[0] == ' ' ? 1 : 0;
  if (good) {
    ORBA_LOGD("11111");
  } else {
    size_t used = strnlen(dst, static_cast<size_t>(dst_size));
    if (used < static_cast<size_t>(dst_size)) {
      // Bounded by the caller's size: a report that does not fit is cut, never overrun.
      snprintf(dst + used, static_cast<size_t>(dst_size) - used, "\r\n\"%s\"\r\n\r\n\"%s\"\r\n%s",
               name, value, OtpErrorInfo(strlen(value) >= 3 ? value[2] : '\0'));
    }
  }
  ORBA_LOGD("otp_sys = %s, ret = %s", value, good ? "true" : "false");
  return good;
}
