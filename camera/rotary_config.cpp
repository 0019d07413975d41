// The rotary module's tuning, from the project's feature lines.

#include <orbafactory/camera.h>

#include <stdlib.h>
#include <string.h>

#include <orbafactory/config.h>
#include <platform/log.h>

namespace {

enum class Kind { kInt, kDouble, kIntPair, kDoublePair };

struct Key {
  const char* name;
  Kind kind;
  size_t offset;
};

struct Feature {
  const char* name;  // quoted, as the feature file's name attribute carries it
  const Key* keys;
  size_t count;
};

#define FIELD(f) offsetof(RotaryUtil, f)

constexpr Key kFluencyKeys[] = {
    {"fluency_pop", Kind::kIntPair, FIELD(fluency_pop)},
    {"fluency_retract", Kind::kIntPair, FIELD(fluency_retract)},
};
// deg_0_z lands in the deg 0 x field, after deg_0_x: stations have always relied on the value it
// leaves there, and the deg 0 z field keeps its default.
constexpr Key kRotaryScopeKeys[] = {
    {"max_rotary_angle", Kind::kDoublePair, FIELD(max_rotary_angle)},
    {"deg_0_x", Kind::kIntPair, FIELD(deg_0_x)},
    {"deg_0_y", Kind::kIntPair, FIELD(deg_0_y)},
    {"deg_0_z", Kind::kIntPair, FIELD(deg_0_x)},
    {"deg_180_x", Kind::kIntPair, FIELD(deg_180_x)},
    {"deg_180_y", Kind::kIntPair, FIELD(deg_180_y)},
    {"deg_180_z", Kind::kIntPair, FIELD(deg_180_z)},
    {"angle_0", Kind::kDoublePair, FIELD(angle_0)},
    {"angle_180", Kind::kDoublePair, FIELD(angle_180)},
};
constexpr Key kPopScopeKeys[] = {
    {"pop_half_up", Kind::kIntPair, FIELD(pop_half_up)},
    {"pop_half_down", Kind::kIntPair, FIELD(pop_half_down)},
    {"pop_up", Kind::kIntPair, FIELD(pop_up)},
    {"pop_down", Kind::kIntPair, FIELD(pop_down)},
    {"retract_up", Kind::kIntPair, FIELD(retract_up)},
    {"retract_down", Kind::kIntPair, FIELD(retract_down)},
};
constexpr Key kParameterKeys[] = {
    {"popTime", Kind::kInt, FIELD(pop_time)},
    {"pushTime", Kind::kInt, FIELD(push_time)},
    {"rotaryInterval", Kind::kInt, FIELD(rotary_interval)},
    {"popInterval", Kind::kInt, FIELD(pop_interval)},
    {"popTimeOut", Kind::kInt, FIELD(pop_timeout)},
    {"rotaryTimeOut", Kind::kInt, FIELD(rotary_timeout)},
    {"anglePrecision", Kind::kDouble, FIELD(angle_precision)},
};

#undef FIELD

constexpr Feature kFeatures[] = {
    {"\"rotary_motor_fluency_parameters\"", kFluencyKeys, sizeof(kFluencyKeys) / sizeof(Key)},
    {"\"rotary_motor_rotary_scope\"", kRotaryScopeKeys, sizeof(kRotaryScopeKeys) / sizeof(Key)},
    {"\"rotary_motor_pop_scope\"", kPopScopeKeys, sizeof(kPopScopeKeys) / sizeof(Key)},
    {"\"rotary_motor_parameters\"", kParameterKeys, sizeof(kParameterKeys) / sizeof(Key)},
};

void Store(RotaryUtil* util, const Key& key, char* value) {
  char* field = reinterpret_cast<char*>(util) + key.offset;
  switch (key.kind) {
    case Kind::kInt:
    case Kind::kDouble: {
      char* comma = strchr(value, ',');
      if (comma != nullptr) *comma = '\0';
      if (key.kind == Kind::kInt) {
        int v = atoi(value);
        memcpy(field, &v, sizeof(v));
      } else {
        double v = atof(value);
        memcpy(field, &v, sizeof(v));
      }
      break;
    }
    case Kind::kIntPair: {
      int v[2] = {0, 0};
      get_parameters(value, &v[0], &v[1]);
      memcpy(field, v, sizeof(v));
      break;
    }
    case Kind::kDoublePair: {
      double v[2] = {0, 0};
      get_parameters_double(value, &v[0], &v[1]);
      memcpy(field, v, sizeof(v));
      break;
    }
  }
}

}  // namespace

extern "C" ORBA_EXPORT void init_rotary_util(RotaryUtil* util) {
  if (util == nullptr) return;
  memset(util, 0, sizeof(*util));
  util->pop_time = 800;
  util->push_time = 800;
  util->rotary_interval = 2;
  util->pop_interval = 30;
  util->pop_timeout = 2000;
  util->rotary_timeout = 3000;
  util->angle_precision = 0.2;
  util->pop_half_up[0] = 180;
  util->pop_half_up[1] = 360;
  for (const Feature& f : kFeatures) {
    char text[2048] = {};
    if (get_feature_value(f.name, text, sizeof(text) - 1) != 0 || text[0] == '\0') continue;
    for (size_t i = 0; i < f.count; ++i) {
      char value[100] = {};
      if (parse_parameters(text, f.keys[i].name, value, sizeof(value) - 1) != 0) continue;
      Store(util, f.keys[i], value);
    }
  }
}
