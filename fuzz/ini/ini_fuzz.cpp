// Feeds arbitrary text to both loaders, then walks, queries, edits and dumps whatever they
// accepted, checking the answers against the slot arrays themselves.

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <string>
#include <vector>

#include <orbafactory/config.h>
#include <platform/host/device_root.h>

namespace {

std::string g_root;

int QuietErrors(const char* fmt, ...) {
  char buf[4096];
  va_list args;
  va_start(args, fmt);
  int n = vsnprintf(buf, sizeof(buf), fmt, args);
  va_end(args);
  return n;
}

void Check(bool ok) {
  if (!ok) __builtin_trap();
}

void Exercise(dictionary* d) {
  FILE* sink = fopen("/dev/null", "w");
  dictionary_dump(d, sink);
  iniparser_dump(d, sink);
  iniparser_dump_ini(d, sink);

  // Every key is found at its own slot, whatever the index beside the arrays says.
  int used = 0;
  for (int64_t i = 0; i < d->size; ++i) {
    if (d->key[i] == nullptr) continue;
    ++used;
    Check(dictionary_get(d, d->key[i], "absent") == d->val[i]);
    Check(iniparser_find_entry(d, d->key[i]) == 1 || strlen(d->key[i]) > 1024);
    iniparser_getint(d, d->key[i], 0);
    iniparser_getdouble(d, d->key[i], 0.0);
    iniparser_getboolean(d, d->key[i], -1);
    char k[32], v[32];
    int rc = dictionary_getstring_andkey(d, k, 31, v, 31, static_cast<int>(i));
    Check(rc == (d->val[i] != nullptr ? 0 : -3));
  }
  Check(used == d->n);

  int nsec = iniparser_getnsec(d);
  for (int s = 0; s < nsec; ++s) {
    const char* name = iniparser_getsecname(d, s);
    Check(name != nullptr);
    int nkeys = iniparser_getsecnkeys(d, name);
    std::vector<const char*> keys(static_cast<size_t>(nkeys) + 1);
    Check(iniparser_getseckeys(d, name, keys.data()) == keys.data());
    iniparser_dumpsection_ini(d, name, sink);
  }
  fclose(sink);

  // Edits: drop every other entry, then write it back under another value.
  std::vector<std::string> keys;
  for (int64_t i = 0; i < d->size; ++i) {
    if (d->key[i] != nullptr) keys.push_back(d->key[i]);
  }
  for (size_t i = 0; i < keys.size(); i += 2) dictionary_unset(d, keys[i].c_str());
  for (size_t i = 0; i < keys.size(); i += 2) Check(dictionary_set(d, keys[i].c_str(), "x") == 0);
  static const char kAbsent[] = "absent";
  for (const std::string& k : keys) Check(dictionary_get(d, k.c_str(), kAbsent) != kAbsent);
  Check(static_cast<size_t>(d->n) == keys.size());

  // What the dump writes must load again.
  std::string path = "/fuzz.ini";
  if (iniparser_dump_path(d, path.c_str()) == 0) iniparser_freedict(iniparser_load(path.c_str()));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  char templ[] = "/tmp/orba-ini-fuzz-XXXXXX";
  g_root = mkdtemp(templ);
  setenv(ORBA_DEVICE_ROOT_ENV, g_root.c_str(), 1);
  orba_device_root_reset();
  iniparser_set_error_callback(QuietErrors);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::vector<char> text(data, data + size);
  text.push_back('\0');
  if (dictionary* d = iniparser_load_buffer(text.data())) {
    Exercise(d);
    iniparser_freedict(d);
  }

  std::string file = g_root + "/input.ini";
  FILE* f = fopen(file.c_str(), "w");
  if (f != nullptr) {
    fwrite(data, 1, size, f);
    fclose(f);
    if (dictionary* d = iniparser_load("/input.ini")) {
      Exercise(d);
      iniparser_freedict(d);
    }
  }
  return 0;
}
