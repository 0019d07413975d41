// ZIP reader costs, side by side with a reference on the same files:
// - opening a 65,535-entry archive and looking up every member, against libziparchive;
// - extracting a 100 MiB deflated member, against zlib's raw inflate called directly on the
//   member's bytes (the floor any reader can reach), with libziparchive for scale.

#include <android/log.h>
#include <benchmark/benchmark.h>
#include <orbafactory/minzip.h>
#include <platform/host/device_root.h>
#include <stdio.h>
#include <stdlib.h>
#include <zlib.h>

#include <fstream>
#include <string>
#include <vector>

#include "ziparchive_reference.h"

namespace {

constexpr size_t kBigSize = 100u << 20;
constexpr char kMany[] = "/bench/many.zip";
constexpr char kBig[] = "/bench/big.zip";

// Member names are shuffled in the directory so that the index has to sort them, as it would for
// an archive assembled in no particular order.
const char* const kGenerate = R"(
import random, sys, zipfile, zlib
many, big, names = sys.argv[1], sys.argv[2], sys.argv[3]
rnd = random.Random(1)
entries = ['res/d%03d/item_%05d.bin' % (i % 500, i) for i in range(65535)]
rnd.shuffle(entries)
with zipfile.ZipFile(many, 'w') as z:
    for i, n in enumerate(entries):
        z.writestr(n, ('payload %d\n' % i) * (1 + i % 4),
                   compress_type=zipfile.ZIP_DEFLATED if i % 2 else zipfile.ZIP_STORED)
with open(names, 'w') as f:
    f.write('\n'.join(entries) + '\n')
words = [('%x' % rnd.getrandbits(rnd.choice((8, 16, 24, 32)))).encode() for _ in range(4096)]
chunks, size, i = [], 0, 0
while size < %BIG%:
    line = b' '.join(words[(i * 7 + k * 13) % 4096] for k in range(i % 11 + 1)) + b'\n'
    chunks.append(line); size += len(line); i += 1
data = b''.join(chunks)[:%BIG%]
with zipfile.ZipFile(big, 'w', compression=zipfile.ZIP_DEFLATED) as z:
    z.writestr('big.bin', data)
)";

struct Fixture {
  std::string root;
  std::vector<std::string> names;
  bool ok = false;

  Fixture() {
    char templ[] = "/tmp/orba-zipbench-XXXXXX";
    root = mkdtemp(templ);
    setenv(ORBA_DEVICE_ROOT_ENV, root.c_str(), 1);
    orba_device_root_reset();
    __android_log_set_minimum_priority(ANDROID_LOG_WARN);
    std::string script = kGenerate;
    const std::string big = std::to_string(kBigSize);
    for (size_t p; (p = script.find("%BIG%")) != std::string::npos;) script.replace(p, 5, big);
    const std::string script_path = root + "/gen.py";
    std::ofstream(script_path) << script;
    const std::string cmd = "mkdir -p '" + root + "/bench' && python3 '" + script_path + "' '" +
                            root + kMany + "' '" + root + kBig + "' '" + root + "/names.txt'";
    if (system(cmd.c_str()) != 0) return;
    std::ifstream in(root + "/names.txt");
    for (std::string line; std::getline(in, line);) names.push_back(line);
    ok = names.size() == 65535;
  }
  ~Fixture() {
    const std::string cmd = "rm -rf '" + root + "'";
    if (system(cmd.c_str()) != 0) fprintf(stderr, "could not remove %s\n", root.c_str());
  }
  std::string Host(const char* device_path) const { return root + device_path; }
};

Fixture* g_fixture = nullptr;

void BM_Minzip_OpenFindAll(benchmark::State& state) {
  const Fixture& f = *g_fixture;
  for (auto _ : state) {
    MemoryMap map;
    ZipArchive za;
    if (sysMapFile(kMany, &map) != 0 || mzOpenZipArchive(map.base, map.length, &za) != 0) {
      state.SkipWithError("open failed");
      break;
    }
    size_t found = 0;
    for (const std::string& n : f.names) found += mzFindZipEntry(&za, n.c_str()) != nullptr;
    mzCloseZipArchive(&za);
    sysReleaseMap(&map);
    if (found != f.names.size()) state.SkipWithError("lookup missed");
    benchmark::DoNotOptimize(found);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(f.names.size()));
}

void BM_Libziparchive_OpenFindAll(benchmark::State& state) {
  const Fixture& f = *g_fixture;
  const std::string path = f.Host(kMany);
  for (auto _ : state) {
    const size_t found = orba::bench::ReferenceOpenFindAll(path.c_str(), f.names);
    if (found != f.names.size()) state.SkipWithError("lookup missed");
    benchmark::DoNotOptimize(found);
  }
  state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(f.names.size()));
}

// The big archive stays mapped and indexed; only the extraction is timed.
struct BigMember {
  MemoryMap map = {};
  ZipArchive za = {};
  const ZipEntry* entry = nullptr;
  std::vector<unsigned char> out;
  BigMember() {
    if (sysMapFile(kBig, &map) != 0) return;
    if (mzOpenZipArchive(map.base, map.length, &za) != 0) return;
    entry = mzFindZipEntry(&za, "big.bin");
    if (entry != nullptr) out.resize(static_cast<size_t>(entry->uncompressed_length));
  }
  ~BigMember() {
    if (za.entries != nullptr) mzCloseZipArchive(&za);
    sysReleaseMap(&map);
  }
};

void BM_Minzip_Extract100MiB(benchmark::State& state) {
  BigMember big;
  if (big.entry == nullptr) {
    state.SkipWithError("no member");
    return;
  }
  for (auto _ : state) {
    if (!mzExtractZipEntryToBuffer(&big.za, big.entry, big.out.data())) {
      state.SkipWithError("extract failed");
      break;
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * big.entry->uncompressed_length);
}

void BM_ZlibRawInflate100MiB(benchmark::State& state) {
  BigMember big;
  if (big.entry == nullptr) {
    state.SkipWithError("no member");
    return;
  }
  const unsigned char* in = big.map.base + big.entry->offset;
  for (auto _ : state) {
    z_stream zs = {};
    inflateInit2(&zs, -MAX_WBITS);
    zs.next_in = const_cast<unsigned char*>(in);
    zs.avail_in = static_cast<uInt>(big.entry->compressed_length);
    zs.next_out = big.out.data();
    zs.avail_out = static_cast<uInt>(big.out.size());
    const int rc = inflate(&zs, Z_FINISH);
    inflateEnd(&zs);
    if (rc != Z_STREAM_END) {
      state.SkipWithError("inflate failed");
      break;
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * big.entry->uncompressed_length);
}

void BM_Minzip_Chunked100MiB(benchmark::State& state) {
  BigMember big;
  if (big.entry == nullptr) {
    state.SkipWithError("no member");
    return;
  }
  for (auto _ : state) {
    size_t total = 0;
    auto count = [](const unsigned char*, int length, void* cookie) {
      *static_cast<size_t*>(cookie) += static_cast<size_t>(length);
      return true;
    };
    if (!mzProcessZipEntryContents(&big.za, big.entry, count, &total)) {
      state.SkipWithError("process failed");
      break;
    }
    benchmark::DoNotOptimize(total);
  }
  state.SetBytesProcessed(state.iterations() * big.entry->uncompressed_length);
}

void BM_Libziparchive_Extract100MiB(benchmark::State& state) {
  const std::string path = g_fixture->Host(kBig);
  std::vector<uint8_t> out(kBigSize);
  for (auto _ : state) {
    if (!orba::bench::ReferenceExtract(path.c_str(), "big.bin", out.data(), out.size())) {
      state.SkipWithError("extract failed");
      break;
    }
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(kBigSize));
}

BENCHMARK(BM_Minzip_OpenFindAll)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Libziparchive_OpenFindAll)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Minzip_Extract100MiB)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZlibRawInflate100MiB)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Minzip_Chunked100MiB)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Libziparchive_Extract100MiB)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  Fixture fixture;
  if (!fixture.ok) {
    fprintf(stderr, "could not generate the benchmark archives under %s\n", fixture.root.c_str());
    return 1;
  }
  g_fixture = &fixture;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
