// Which camera module the project has, and the "a,b" parameter pairs its tests take.

#include <orbafactory/camera.h>

#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <orbafactory/config.h>
#include <platform/devpath.h>
#include <platform/log.h>

namespace {

struct MotorTypeName {
  const char* feature;
  int type;
};

constexpr MotorTypeName kMotorTypes[] = {
    {"fully_auto_pop", 1},
    {"fully_auto_pop_rotate", 2},
    {"semi_auto_pop", 3},
    {"fully_manual_pop", 4},
};

}  // namespace

extern "C" ORBA_EXPORT int is_support_new_camera_interface(void) {
  if (access(DevPath("/mnt/vendor/nvcfg/camera/rear_camera_main_sn"), F_OK) == 0) return 1;
  int ret = access(DevPath("/vendor/etc/camera/camera_config.xml"), F_OK);
  ORBA_LOGD("ret = %d", ret);
  return ret == 0 ? 1 : 0;
}

extern "C" ORBA_EXPORT int get_camera_motor_type(void) {
  char value[32] = {};
  int motor_type = 0;
  if (get_feature_value("camera_motor_type", value, sizeof(value) - 1) == 0) {
    for (const MotorTypeName& m : kMotorTypes) {
      if (strcmp(value, m.feature) == 0) motor_type = m.type;
    }
  }
  ORBA_LOGD("motor_type = %d", motor_type);
  return motor_type;
}

namespace {
// "A,B": the first number, and the second where the caller asks for it; a missing one reads 0.
template <typename T>
int SplitTwo(char* text, T* first, T* second, T (*convert)(const char*)) {
  if (text == nullptr || first == nullptr) return -1;
  char* save = nullptr;
  char* token = strtok_r(text, ",", &save);
  *first = token != nullptr ? convert(token) : T{};
  if (second != nullptr) {
    token = strtok_r(nullptr, ",", &save);
    *second = token != nullptr ? convert(token) : T{};
  }
  return 0;
}
}  // namespace

extern "C" ORBA_EXPORT int get_parameters(char* text, int* first, int* second) {
  return SplitTwo(text, first, second, atoi);
}

extern "C" ORBA_EXPORT int get_parameters_double(char* text, double* first, double* second) {
  return SplitTwo(text, first, second, atof);
}
