// MD5 and SHA-256 throughput against OpenSSL (through EVP_Digest, whose name does not clash with
// the library's MD5_*), on 16 KiB and 1 MiB buffers.

#include <benchmark/benchmark.h>
#include <dlfcn.h>
#include <openssl/evp.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include <vector>

#include <orbafactory/digest.h>

namespace {

// The library's entry points, resolved in its own handle only.
struct Library {
  void (*md5_init)(Md5Context*);
  void (*md5_update)(Md5Context*, const unsigned char*, unsigned);
  void (*md5_final)(unsigned char*, Md5Context*);
  const uint8_t* (*sha256_hash)(const void*, int, uint8_t*);
};
Library lib;

template <typename Fn>
bool Resolve(void* handle, const char* name, Fn* fn) {
  *fn = reinterpret_cast<Fn>(dlsym(handle, name));
  return *fn != nullptr;
}

bool LoadLibrary() {
  void* handle = dlopen(ORBA_LIBRARY_PATH, RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    fprintf(stderr, "digest_bench: %s\n", dlerror());
    return false;
  }
  return Resolve(handle, "MD5_Init", &lib.md5_init) && Resolve(handle, "MD5_Update", &lib.md5_update) &&
         Resolve(handle, "MD5_Final", &lib.md5_final) && Resolve(handle, "SHA256_hash", &lib.sha256_hash);
}

const std::vector<unsigned char>& Buffer(size_t size) {
  static std::vector<unsigned char> buf;
  if (buf.size() < size) {
    buf.resize(size);
    for (size_t i = 0; i < size; ++i) buf[i] = static_cast<unsigned char>(i * 131 + 7);
  }
  return buf;
}

void BM_Md5_Library(benchmark::State& state) {
  const size_t size = static_cast<size_t>(state.range(0));
  const auto& buf = Buffer(size);
  unsigned char out[16];
  for (auto _ : state) {
    Md5Context ctx;
    lib.md5_init(&ctx);
    lib.md5_update(&ctx, buf.data(), static_cast<unsigned>(size));
    lib.md5_final(out, &ctx);
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}

void BM_Md5_OpenSSL(benchmark::State& state) {
  const size_t size = static_cast<size_t>(state.range(0));
  const auto& buf = Buffer(size);
  unsigned char out[EVP_MAX_MD_SIZE];
  unsigned int len = 0;
  for (auto _ : state) {
    EVP_Digest(buf.data(), size, out, &len, EVP_md5(), nullptr);
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}

void BM_Sha256_Library(benchmark::State& state) {
  const size_t size = static_cast<size_t>(state.range(0));
  const auto& buf = Buffer(size);
  uint8_t out[32];
  for (auto _ : state) {
    lib.sha256_hash(buf.data(), static_cast<int>(size), out);
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}

void BM_Sha256_OpenSSL(benchmark::State& state) {
  const size_t size = static_cast<size_t>(state.range(0));
  const auto& buf = Buffer(size);
  unsigned char out[EVP_MAX_MD_SIZE];
  unsigned int len = 0;
  for (auto _ : state) {
    EVP_Digest(buf.data(), size, out, &len, EVP_sha256(), nullptr);
    benchmark::DoNotOptimize(out);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * size));
}

BENCHMARK(BM_Md5_Library)->Arg(16 << 10)->Arg(1 << 20);
BENCHMARK(BM_Md5_OpenSSL)->Arg(16 << 10)->Arg(1 << 20);
BENCHMARK(BM_Sha256_Library)->Arg(16 << 10)->Arg(1 << 20);
BENCHMARK(BM_Sha256_OpenSSL)->Arg(16 << 10)->Arg(1 << 20);

// Both sides must compute the same thing, or the comparison means nothing.
bool SameDigests() {
  const auto& buf = Buffer(1 << 20);
  unsigned char ours[32], theirs[EVP_MAX_MD_SIZE];
  unsigned int len = 0;
  Md5Context ctx;
  lib.md5_init(&ctx);
  lib.md5_update(&ctx, buf.data(), 1 << 20);
  lib.md5_final(ours, &ctx);
  EVP_Digest(buf.data(), 1 << 20, theirs, &len, EVP_md5(), nullptr);
  if (len != 16 || memcmp(ours, theirs, 16) != 0) return false;
  lib.sha256_hash(buf.data(), 1 << 20, ours);
  EVP_Digest(buf.data(), 1 << 20, theirs, &len, EVP_sha256(), nullptr);
  return len == 32 && memcmp(ours, theirs, 32) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (!LoadLibrary()) return 1;
  if (!SameDigests()) {
    fprintf(stderr, "digest_bench: the library and OpenSSL disagree\n");
    return 1;
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
