// The dual-camera calibration and verification runs: which result files a pair of cameras
// writes, the message that starts the run, and reading the results back.

#include <orbafactory/camera.h>

#include <stdio.h>
#include <string.h>
#include <strings.h>

#include <orbafactory/config.h>
#include <platform/devpath.h>
#include <platform/log.h>

namespace {

constexpr char kCameraDataDir[] = "/mnt/vendor/nvcfg/camera/";
constexpr size_t kLineMax = 256;

// Each pair of cameras and the rear run's result file suffixes, searched in order. Only the
// main&wide pair also runs on the front side, and newer projects keep its rear results apart.
struct PairRule {
  const char* first;
  const char* second;
  const char* ret_suffix;
  const char* result_suffix;
  const char* tag;
};

constexpr PairRule kPairRules[] = {
    {"main", "rtb", "_ret", "_result", "main&rtb"},
    {"main", "wide", "_ret", "_result", "main&wide"},
    {"main", "tele", "_ret2", "_result2", "main&tele"},
    {"wide", "tele", "_ret3", "_result3", "wide&tele"},
    {"tele", "peri", "_ret5", "_result5", "tele&peri"},
    {"main", "peri", "_ret6", "_result6", "main&peri"},
};

bool Fill(char* out, int size, const char* fmt, const char* a, const char* b, const char* c) {
  if (out == nullptr || size <= 0) return false;
  int n = snprintf(out, static_cast<size_t>(size), fmt, a, b, c);
  return n >= 0 && n < size;
}

bool Both(const char* pair, const char* a, const char* b) {
  return strcasestr(pair, a) != nullptr && strcasestr(pair, b) != nullptr;
}

}  // namespace

extern "C" ORBA_EXPORT int parse_double_camere_test_files(const char* ret_file,
                                                          const char* result_file, char* ret,
                                                          char* avg_err, char* max_err,
                                                          char* err_range, char* result) {
  ORBA_LOGD("Entered: ret_file = %s, result_file = %s\r\n", ret_file ? ret_file : "(null)",
            result_file ? result_file : "(null)");
  if (ret_file == nullptr || result_file == nullptr || ret == nullptr || avg_err == nullptr ||
      max_err == nullptr || err_range == nullptr || result == nullptr) {
    return -1;
  }
  char line[kLineMax] = {};
  FILE* f = fopen(DevPath(ret_file), "re");
  if (f == nullptr) {
    ORBA_LOGE("open %s failed", ret_file);
    return -1;
  }
  bool got = fgets(line, sizeof(line), f) != nullptr;
  fclose(f);
  if (!got) {
    ORBA_LOGE(" %s fgets failed", ret_file);
    return -1;
  }
  strcpy(ret, line);

  memset(line, 0, sizeof(line));
  f = fopen(DevPath(result_file), "re");
  if (f == nullptr) {
    ORBA_LOGE("open %s failed", result_file);
    return -1;
  }
  got = fgets(line, sizeof(line), f) != nullptr;
  fclose(f);
  if (!got) {
    ORBA_LOGE(" %s fgets is null", result_file);
    return -1;
  }
  line[strcspn(line, "\r\n")] = '\0';
  char* save = nullptr;
  char* fields[4] = {};
  for (int i = 0; i < 4; ++i) fields[i] = strtok_r(i == 0 ? line : nullptr, ",", &save);
  if (fields[3] == nullptr) {
    ORBA_LOGE("result_file data format error!!");
    return -1;
  }
  strcpy(avg_err, fields[0]);
  strcpy(max_err, fields[1]);
  strcpy(err_range, fields[2]);
  strcpy(result, fields[3]);
  ORBA_LOGD("avg_err: %s , max_err: %s, err_range: %s, result: %s", avg_err, max_err, err_range,
            result);
  return 0;
}

extern "C" ORBA_EXPORT int get_dual_virtual_info(char* message, char* path_ret,
                                                 char* path_result, int size,
                                                 const char* function, int front,
                                                 const char* cam_type1, const char* cam_type2,
                                                 bool wait_for_result) {
  ORBA_LOGD("entered: function = %s, front = %d, cam_type1 = %s, cam_type2 = %s, "
            "wait_for_result=%d",
            function ? function : "(null)", front, cam_type1 ? cam_type1 : "(null)",
            cam_type2 ? cam_type2 : "(null)", wait_for_result ? 1 : 0);
  const char* run = nullptr;
  if (function != nullptr && strcmp(function, "cali") == 0) run = "dual_calibration";
  if (function != nullptr && strcmp(function, "test") == 0) run = "dual_verification";
  if (run == nullptr) {
    ORBA_LOGE("function error!!");
    return -1;
  }
  char pair[256] = {};
  snprintf(pair, sizeof(pair), "%s %s", cam_type1 ? cam_type1 : "", cam_type2 ? cam_type2 : "");
  const PairRule* rule = nullptr;
  for (const PairRule& r : kPairRules) {
    if (rule == nullptr && Both(pair, r.first, r.second)) rule = &r;
  }
  if (rule == nullptr) {
    ORBA_LOGE("camera type not support!!");
    return -1;
  }
  bool main_wide = strcmp(rule->tag, "main&wide") == 0;
  const char* ret_suffix = rule->ret_suffix;
  const char* result_suffix = rule->result_suffix;
  if (front != 0) {
    if (!main_wide) {
      ORBA_LOGE("not support error!!");
      return -1;
    }
    ret_suffix = "_ret_front";
    result_suffix = "_result_front";
  } else if (main_wide && (is_above_PD_project(5250) || is_above_TD_project(5190))) {
    ret_suffix = "_ret4";
    result_suffix = "_result4";
  }
  char prefix[64] = {};
  snprintf(prefix, sizeof(prefix), "eng_AT_camera#%s#%s#virt_", front != 0 ? "front" : "rear",
           rule->tag);
  // The "#NULL" ends the parameters, as every camera message's parameters end.
  const char* split =
      wait_for_result ? "#is_dualcamera_split_comd false" : "#is_dualcamera_split_comd true";
  bool ok = Fill(path_ret, size, "%s%s%s", kCameraDataDir, run, ret_suffix) &&
            Fill(path_result, size, "%s%s%s", kCameraDataDir, run, result_suffix) &&
            Fill(message, size, "%s%s%s#NULL", prefix, function, split);
  int ret = ok ? 0 : -1;
  ORBA_LOGD("ret = %d, path_ret = %s, path_result = %s, message = %s", ret,
            ret == 0 ? path_ret : "", ret == 0 ? path_result : "", ret == 0 ? message : "");
  return ret;
}

extern "C" ORBA_EXPORT int get_dual_fusion_info(char* message, char* path_ret, char* path_result,
                                                int size, const char* function, int front,
                                                const char* cam_type1, const char* cam_type2) {
  ORBA_LOGD("entered: function = %s, front = %d, cam_type1 = %s, cam_type2 = %s",
            function ? function : "(null)", front, cam_type1 ? cam_type1 : "(null)",
            cam_type2 ? cam_type2 : "(null)");
  bool cali = function != nullptr && strcmp(function, "cali") == 0;
  if (!cali && (function == nullptr || strcmp(function, "test") != 0)) {
    ORBA_LOGE("function error!!");
    return -1;
  }
  const char* run = cali ? "dual_fuse_cali" : "dual_fuse_test";
  char pair[256] = {};
  snprintf(pair, sizeof(pair), "%s %s", cam_type1 ? cam_type1 : "", cam_type2 ? cam_type2 : "");
  int ret = -1;
  if (Both(pair, "main", "tele")) {
    if (front != 0) {
      ORBA_LOGE("not support error!!");
    } else {
      // The triple-camera files of this pair carry no run name.
      bool ok = Fill(path_ret, size, "%s%s%s", kCameraDataDir, "_triple_calibration_ret", "") &&
                Fill(path_result, size, "%s%s%s", kCameraDataDir, "_triple_calibration_result",
                     "") &&
                Fill(message, size, "%s%s%s", cali ? "wide_tele_calibration" : "wide_tele_check",
                     "", "");
      ret = ok ? 0 : -1;
    }
  } else if (Both(pair, "main", "wide")) {
    ORBA_LOGE("not support error!!");
  } else if (Both(pair, "tele", "peri")) {
    if (front != 0) {
      ORBA_LOGE("not support error!!");
    } else {
      bool ok = Fill(path_ret, size, "%s%s%s", kCameraDataDir, run, "_tele_peri_ret") &&
                Fill(path_result, size, "%s%s%s", kCameraDataDir, run, "_tele_peri_result") &&
                Fill(message, size, "%s%s%s", "eng_AT_camera#rear#tele&peri#fuse_", function,
                     "#NULL#NULL");
      ret = ok ? 0 : -1;
    }
  } else {
    ORBA_LOGE("camera type error, not support!!");
  }
  ORBA_LOGD("ret = %d, path_ret = %s, path_result = %s, message = %s", ret,
            ret == 0 ? path_ret : "", ret == 0 ? path_result : "", ret == 0 ? message : "");
  return ret;
}
