#include <platform/host/device_root.h>

#include <android/log.h>
#include <limits.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <atomic>
#include <deque>
#include <mutex>
#include <string>

namespace {

std::mutex g_root_mutex;
std::atomic<const char*> g_root{nullptr};
std::atomic<uint32_t> g_generation{1};

// Every root this process has used, kept until exit: a thread may still be reading an old one
// while a test resets the root. Guarded by g_root_mutex; deque elements never move.
std::deque<std::string>& Roots() {
  // Never destroyed: a detached thread (a sensor reader, a touch test) may still resolve a path
  // while the process runs its exit handlers.
  static auto* roots = new std::deque<std::string>;
  return *roots;
}

const char* Keep(const char* root) { return Roots().emplace_back(root).c_str(); }

const char* LoadRoot() {
  const char* env = getenv(ORBA_DEVICE_ROOT_ENV);
  if (env == nullptr || env[0] == '\0') return "";
  char buf[PATH_MAX];
  if (env[0] == '/') {
    snprintf(buf, sizeof(buf), "%s", env);
  } else {
    char cwd[PATH_MAX];
    if (getcwd(cwd, sizeof(cwd)) == nullptr) return "";
    if (strlen(cwd) + 1 + strlen(env) >= sizeof(buf)) return "";
    strcpy(buf, cwd);
    strcat(buf, "/");
    strcat(buf, env);
  }
  size_t n = strlen(buf);
  while (n > 1 && buf[n - 1] == '/') buf[--n] = '\0';
  if (n == 1) buf[0] = '\0';  // a root of "/" would be the host itself
  return Keep(buf);
}

// Appends the normalised form of an absolute path: no empty or "." components, and ".." never
// climbs above "/", which is what the kernel does with "/.." on the phone.
bool AppendNormalised(const char* path, char* out, size_t out_size, size_t len) {
  size_t base = len;
  const char* p = path;
  while (*p != '\0') {
    while (*p == '/') ++p;
    if (*p == '\0') break;
    const char* end = p;
    while (*end != '\0' && *end != '/') ++end;
    size_t comp = static_cast<size_t>(end - p);
    if (comp == 1 && p[0] == '.') {
      // nothing
    } else if (comp == 2 && p[0] == '.' && p[1] == '.') {
      while (len > base && out[len - 1] != '/') --len;
      if (len > base) --len;  // the slash itself
    } else {
      if (len + 1 + comp >= out_size) return false;
      out[len++] = '/';
      memcpy(out + len, p, comp);
      len += comp;
    }
    p = end;
  }
  bool keep_trailing_slash = len > base && path[strlen(path) - 1] == '/';
  if (len == base || keep_trailing_slash) {
    if (len + 1 >= out_size) return false;
    out[len++] = '/';
  }
  out[len] = '\0';
  return true;
}

}  // namespace

extern "C" const char* orba_device_root(void) {
  const char* root = g_root.load(std::memory_order_acquire);
  if (root != nullptr) return root;
  std::lock_guard<std::mutex> lock(g_root_mutex);
  root = g_root.load(std::memory_order_relaxed);
  if (root == nullptr) {
    root = LoadRoot();
    g_root.store(root, std::memory_order_release);
  }
  return root;
}

extern "C" uint32_t orba_device_root_generation(void) {
  return g_generation.load(std::memory_order_acquire);
}

extern "C" void orba_device_root_reset(void) {
  std::lock_guard<std::mutex> lock(g_root_mutex);
  g_root.store(nullptr, std::memory_order_release);
  g_generation.fetch_add(1, std::memory_order_acq_rel);
}

extern "C" int orba_resolve_device_path(const char* path, char* out, size_t out_size) {
  if (out == nullptr || out_size == 0) return -1;
  out[0] = '\0';
  if (path == nullptr) return -1;
  if (path[0] != '/') {
    size_t n = strlen(path);
    if (n >= out_size) return -1;
    memcpy(out, path, n + 1);
    return 0;
  }
  const char* root = orba_device_root();
  if (root[0] == '\0') {
    __android_log_print(ANDROID_LOG_ERROR, "_O_EM_LOG",
                        "%d:%s(): no simulated device: set ORBA_DEVICE_ROOT (see "
                        "'orbafactory-sim env'); refusing to touch the host path %s\n",
                        __LINE__, __func__, path);
    return -1;
  }
  size_t len = strlen(root);
  if (len >= out_size) return -1;
  memcpy(out, root, len);
  if (!AppendNormalised(path, out, out_size, len)) {
    out[0] = '\0';
    __android_log_print(ANDROID_LOG_ERROR, "_O_EM_LOG", "%d:%s(): path too long: %s\n",
                        __LINE__, __func__, path);
    return -1;
  }
  return 0;
}

extern "C" void orba_device_socket_name(const char* name, char* out, size_t out_size) {
  if (out == nullptr || out_size == 0) return;
  // FNV-1a of the root: short, stable, and distinct for distinct devices in practice.
  uint32_t h = 2166136261u;
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(orba_device_root()); *p;
       ++p) {
    h = (h ^ *p) * 16777619u;
  }
  snprintf(out, out_size, "orba.%08x.%s", h, name != nullptr ? name : "");
}
