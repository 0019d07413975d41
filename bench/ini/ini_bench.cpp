// INI load and lookup, side by side with Debian's libiniparser on the same files: load alone,
// one getstring per key on a loaded dictionary, and the two together, at 100, 1,000 and 10,000
// keys. The reference folds keys to lower case, so it is asked with lower-case keys.

#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

#include <cctype>
#include <string>
#include <vector>

#include <orbafactory/config.h>
#include <platform/host/device_root.h>

namespace {

struct Reference {
  void* handle = nullptr;
  void* (*load)(const char*) = nullptr;
  const char* (*getstring)(const void*, const char*, const char*) = nullptr;
  void (*freedict)(void*) = nullptr;
};

const Reference& Ref() {
  static Reference ref = [] {
    Reference r;
    r.handle = dlopen("libiniparser.so.1", RTLD_NOW | RTLD_LOCAL | RTLD_DEEPBIND);
    if (r.handle == nullptr) return r;
    r.load = reinterpret_cast<void* (*)(const char*)>(dlsym(r.handle, "iniparser_load"));
    r.getstring = reinterpret_cast<const char* (*)(const void*, const char*, const char*)>(
        dlsym(r.handle, "iniparser_getstring"));
    r.freedict = reinterpret_cast<void (*)(void*)>(dlsym(r.handle, "iniparser_freedict"));
    return r;
  }();
  return ref;
}

constexpr int kKeysPerSection = 100;

// One file per key count under a private device root, with the keys to ask each parser.
struct Corpus {
  std::string device_path;  // what the library is given
  std::string host_path;    // what the reference is given
  std::vector<std::string> keys;
  std::vector<std::string> lower_keys;
};

class Files {
 public:
  Files() {
    char templ[] = "/tmp/orba-ini-bench-XXXXXX";
    root_ = mkdtemp(templ);
    setenv(ORBA_DEVICE_ROOT_ENV, root_.c_str(), 1);
    orba_device_root_reset();
  }
  ~Files() {
    for (const auto& c : made_) remove(c.host_path.c_str());
    rmdir(root_.c_str());
  }

  const Corpus& Get(int n) {
    for (const auto& c : made_) {
      if (static_cast<int>(c.keys.size()) == n) return c;
    }
    Corpus c;
    c.device_path = "/ini_" + std::to_string(n) + ".ini";
    c.host_path = root_ + c.device_path;
    std::string text;
    for (int i = 0; i < n; ++i) {
      std::string section = "Section" + std::to_string(i / kKeysPerSection);
      if (i % kKeysPerSection == 0) text += "[" + section + "]\n";
      std::string key = "KeyName" + std::to_string(i);
      text += key + " = value " + std::to_string(i) + "\n";
      c.keys.push_back(section + ":" + key);
      std::string lower = c.keys.back();
      for (char& ch : lower) ch = static_cast<char>(tolower(static_cast<unsigned char>(ch)));
      c.lower_keys.push_back(lower);
    }
    FILE* f = fopen(c.host_path.c_str(), "w");
    fwrite(text.data(), 1, text.size(), f);
    fclose(f);
    made_.push_back(std::move(c));
    return made_.back();
  }

 private:
  std::string root_;
  std::vector<Corpus> made_;
};

Files& Corpora() {
  static Files files;
  return files;
}

bool RefReady(benchmark::State& state) {
  if (Ref().load != nullptr && Ref().getstring != nullptr && Ref().freedict != nullptr) return true;
  state.SkipWithError("libiniparser.so.1 not available");
  return false;
}

void Ours_Load(benchmark::State& state) {
  const Corpus& c = Corpora().Get(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    dictionary* d = iniparser_load(c.device_path.c_str());
    if (d == nullptr) state.SkipWithError("load failed");
    iniparser_freedict(d);
  }
  state.SetComplexityN(state.range(0));
}

void Ref_Load(benchmark::State& state) {
  if (!RefReady(state)) return;
  const Corpus& c = Corpora().Get(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    void* d = Ref().load(c.host_path.c_str());
    if (d == nullptr) state.SkipWithError("load failed");
    Ref().freedict(d);
  }
  state.SetComplexityN(state.range(0));
}

void Ours_GetEach(benchmark::State& state) {
  const Corpus& c = Corpora().Get(static_cast<int>(state.range(0)));
  dictionary* d = iniparser_load(c.device_path.c_str());
  for (auto _ : state) {
    for (const std::string& k : c.keys) benchmark::DoNotOptimize(iniparser_getstring(d, k.c_str(), nullptr));
  }
  if (iniparser_getstring(d, c.keys.back().c_str(), nullptr) == nullptr) state.SkipWithError("key lost");
  iniparser_freedict(d);
  state.SetComplexityN(state.range(0));
}

void Ref_GetEach(benchmark::State& state) {
  if (!RefReady(state)) return;
  const Corpus& c = Corpora().Get(static_cast<int>(state.range(0)));
  void* d = Ref().load(c.host_path.c_str());
  for (auto _ : state) {
    for (const std::string& k : c.lower_keys) benchmark::DoNotOptimize(Ref().getstring(d, k.c_str(), nullptr));
  }
  if (Ref().getstring(d, c.lower_keys.back().c_str(), nullptr) == nullptr) state.SkipWithError("key lost");
  Ref().freedict(d);
  state.SetComplexityN(state.range(0));
}

void Ours_LoadAndGetEach(benchmark::State& state) {
  const Corpus& c = Corpora().Get(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    dictionary* d = iniparser_load(c.device_path.c_str());
    for (const std::string& k : c.keys) benchmark::DoNotOptimize(iniparser_getstring(d, k.c_str(), nullptr));
    iniparser_freedict(d);
  }
  state.SetComplexityN(state.range(0));
}

void Ref_LoadAndGetEach(benchmark::State& state) {
  if (!RefReady(state)) return;
  const Corpus& c = Corpora().Get(static_cast<int>(state.range(0)));
  for (auto _ : state) {
    void* d = Ref().load(c.host_path.c_str());
    for (const std::string& k : c.lower_keys) benchmark::DoNotOptimize(Ref().getstring(d, k.c_str(), nullptr));
    Ref().freedict(d);
  }
  state.SetComplexityN(state.range(0));
}

#define ORBA_INI_BENCH(fn) \
  BENCHMARK(fn)->RangeMultiplier(10)->Range(100, 10000)->Unit(benchmark::kMicrosecond)->Complexity()

ORBA_INI_BENCH(Ours_Load);
ORBA_INI_BENCH(Ref_Load);
ORBA_INI_BENCH(Ours_GetEach);
ORBA_INI_BENCH(Ref_GetEach);
ORBA_INI_BENCH(Ours_LoadAndGetEach);
ORBA_INI_BENCH(Ref_LoadAndGetEach);

}  // namespace

BENCHMARK_MAIN();
